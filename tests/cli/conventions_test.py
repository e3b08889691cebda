#!/usr/bin/env python3
"""What holds for every command: exit codes, streams, values, targets. COMMAND [--renew]."""

import os
import pty
import resource
import signal
import struct
import subprocess
import time

import harness
from harness import CUBE_FACES, CUBE_POINTS, CommandTest, grid, off, stl

# Each with an input and an output, and what else it has to be given.
CHANGING = {"repair": [], "fill": [], "orient": [], "debris": [],
            "convert": [], "spikes": [], "smooth": [], "simplify": ["--ratio", "90%"],
            "subdivide": [], "denoise": []}


class Reading(CommandTest):
    def test_a_missing_file_is_3(self):
        for command, more in CHANGING.items():
            self.expect_refused(3, command, "missing.stl", "out.stl", *more, says="missing.stl")
        self.expect(3, "info", "missing.stl", says="does not exist")

    def test_a_folder_is_3(self):
        (self.folder / "folder.stl").mkdir()
        self.expect_refused(3, "repair", "folder.stl", "out.stl", says="is a folder")

    def test_an_empty_file_is_3(self):
        self.put("empty.stl", b"")
        self.expect_refused(3, "convert", "empty.stl", "out.ply", says="is empty")

    def test_a_text_is_no_mesh(self):
        self.put("letter.stl", b"Dear reader,\nthis is no mesh.\n")
        self.expect_refused(3, "repair", "letter.stl", "out.stl", says="no mesh")

    def test_every_shortened_file_is_3(self):
        whole = stl(CUBE_POINTS, CUBE_FACES)
        for size in (1, 79, 83, 84, 100, len(whole) - 1):
            self.put("short.stl", whole[:size])
            self.expect_refused(3, "fill", "short.stl", "out.stl")

    def test_a_face_of_a_missing_point_is_3(self):
        self.put("wild.off", b"OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n")
        self.expect_refused(3, "repair", "wild.off", "out.stl")

    def test_an_unreadable_file_is_3(self):
        if os.geteuid() == 0:
            self.skipTest("root reads everything")
        self.put("secret.stl", b"x").chmod(0)
        self.expect_refused(3, "info", "secret.stl")

    def test_empty_standard_input_is_3(self):
        self.expect_refused(3, "convert", "-", "out.stl", says="standard input is empty")

    def test_the_content_tells_the_format(self):
        (self.folder / "cube.off").rename(self.folder / "cube.stl")
        self.assertTrue(self.health("cube.stl")["healthy"])


class Writing(CommandTest):
    def test_a_missing_folder_is_4(self):
        for command, more in CHANGING.items():
            self.expect_refused(4, command, "cube.off", "nowhere/out.stl", *more,
                                says="no such folder")

    def test_a_folder_is_4(self):
        (self.folder / "folder.stl").mkdir()
        self.expect_refused(4, "repair", "cube.off", "folder.stl", says="it is a folder")

    def test_the_target_is_looked_at_before_the_input_is_read(self):
        self.expect_refused(4, "repair", "missing.stl", "nowhere/out.stl")

    def test_a_device_is_4(self):
        (self.folder / "full.stl").symlink_to("/dev/full")
        self.expect_refused(4, "convert", "cube.off", "full.stl", says="no regular file")

    def test_a_read_only_folder_is_4(self):
        if os.geteuid() == 0:
            self.skipTest("root writes everywhere")
        closed = self.folder / "closed"
        closed.mkdir(mode=0o555)
        self.expect_refused(4, "convert", "cube.off", "closed/out.stl")

    def test_a_full_disk_is_4_and_leaves_the_target(self):
        self.put("out.obj", b"as it was")
        points, faces = grid(60)
        self.put("large.off", off(points, faces))

        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (20000, 20000))

        for command, more in CHANGING.items():
            self.expect_refused(4, command, "large.off", "out.obj", *more,
                                preexec_fn=limit, says="out.obj can't be written")

    def test_full_standard_output_is_4(self):
        for arguments in (["info", "cube.off"], ["info", "--json", "cube.off"], ["--help"],
                          ["convert", "cube.off", "-", "--to", "stl"]):
            with open("/dev/full", "wb") as full:
                self.expect(4, *arguments, stdout=full, says="standard output can't be written")

    def test_a_report_that_cannot_be_written_leaves_the_target(self):
        self.put("out.stl", b"as it was")
        with open("/dev/full", "wb") as full:
            self.expect_refused(4, "repair", "cube.off", "out.stl", "--json", stdout=full)

    def test_a_reader_that_has_gone_is_4(self):
        reading, writing = os.pipe()
        os.close(reading)
        self.expect(4, "info", "cube.off", stdout=writing)
        os.close(writing)

    def test_closed_standard_output_is_4(self):
        done = subprocess.run(["bash", "-c", '"$0" info cube.off >&-', harness.COMMAND],
                              cwd=self.folder, stderr=subprocess.PIPE, check=False)
        self.assertEqual(done.returncode, 4, done.stderr)
        self.assertIn(b"it is closed", done.stderr)

    def test_a_link_stays_a_link(self):
        self.put("aim.stl", b"as it was")
        (self.folder / "link.stl").symlink_to("aim.stl")
        self.expect(0, "convert", "cube.off", "link.stl")
        self.assertTrue((self.folder / "link.stl").is_symlink())
        self.assertEqual((self.folder / "aim.stl").stat().st_size, 84 + 50 * 12)

    def test_the_input_may_be_the_target(self):
        self.expect(0, "fill", "open.off", "open.off")
        self.assertTrue(self.health("open.off")["closed"])

    def test_no_file_beside_the_target_is_left(self):
        before = set(os.listdir(self.folder))
        for command, more in CHANGING.items():
            self.expect(0, command, "cube.off", "out.ply", *more)
        self.assertEqual(set(os.listdir(self.folder)) - before, {"out.ply"})

    def test_names_beyond_ascii_work(self):
        self.expect(0, "convert", "cube.stl", "ü 日本.ply")
        self.assertEqual(self.health("ü 日本.ply")["faces"], 12)

    def test_names_that_are_no_utf8_work(self):
        name = os.fsencode(self.folder) + b"/\xff.stl"
        with open(name, "wb") as file:
            file.write(stl(CUBE_POINTS, CUBE_FACES))
        done = subprocess.run([harness.COMMAND.encode(), b"info", b"--json", name],
                              stdout=subprocess.PIPE, check=False)
        self.assertEqual(done.returncode, 0)
        self.assertIn('"faces": 12', done.stdout.decode("utf-8"))


class Calling(CommandTest):
    def test_wrong_calls_are_2(self):
        for arguments in ([], ["foo"], ["--foo"], ["info"], ["repair"], ["repair", "cube.off"],
                          ["repair", "cube.off", "out.stl", "third.stl"],
                          ["repair", "cube.off", "out.stl", "--foo"],
                          ["info", "cube.off", "--threads"], ["repair", "--json=7", "a", "b"],
                          ["Repair", "cube.off", "out.stl"], ["manual", "foo"]):
            self.expect_refused(2, *arguments)

    def test_an_unknown_or_missing_extension_is_2(self):
        for command, more in CHANGING.items():
            for name in ("out.abc", "out", "out.", "", ".stl"):
                self.expect_refused(2, command, "cube.off", name, *more)

    def test_values_that_are_no_numbers_are_2(self):
        for value in ("abc", "", "1x", "nan", "inf", "-inf", "1,5", "0x10", "1e999", " 1", "-1",
                      "0", "5%%", "%", "-3%"):
            self.expect_refused(2, "fill", "open.off", "out.stl", "--longest-ring", value,
                                says="--longest-ring")

    def test_counts_are_whole_and_within_their_range(self):
        for value in ("abc", "", "0", "-1", "1.5", "1e3", "1025", "99999999999999999999"):
            self.expect_refused(2, "info", "cube.off", "--threads", value, says="--threads")

    def test_shares_are_within_0_and_1(self):
        for value in ("-1", "1.01", "101%", "nan", "abc"):
            self.expect_refused(2, "debris", "cube.off", "out.stl", "--share", value)
        for value in ("0", "1", "100%", "1e-3"):
            self.expect(0, "debris", "cube.off", "out.stl", "--share", value)

    def test_words_are_those_in_the_help(self):
        self.expect_refused(2, "repair", "cube.off", "out.stl", "--keep", "some",
                            says="none of all, largest")

    def test_an_option_is_given_once(self):
        self.expect_refused(2, "info", "cube.off", "--threads", "1", "--threads", "2")

    def test_options_that_contradict_each_other_are_2(self):
        self.expect_refused(2, "repair", "open.off", "o.stl", "--keep-holes", "--ring-edges", "3")
        self.expect_refused(2, "convert", "cube.off", "out.stl", "--to", "ply")
        self.expect_refused(2, "convert", "cube.off", "out.stl", "--from", "off")
        self.expect_refused(2, "convert", "cube.off", "-", "--to", "stl", "--json")
        self.expect_refused(2, "convert", "cube.off", "-", says="--to")
        self.expect_refused(2, "compare", "-", "-")

    def test_a_name_that_begins_with_a_hyphen_follows_two(self):
        (self.folder / "cube.off").rename(self.folder / "-x.off")
        self.expect(0, "info", "--", "-x.off")

    def test_a_file_may_have_the_name_of_a_command(self):
        (self.folder / "cube.off").rename(self.folder / "repair")
        self.expect(0, "info", "repair")

    def test_threads_change_nothing_but_time(self):
        self.expect(0, "repair", "open.off", "one.ply", "--threads", "1")
        self.expect(0, "repair", "open.off", "two.ply", "--threads", "2")
        self.assertEqual((self.folder / "one.ply").read_bytes(),
                         (self.folder / "two.ply").read_bytes())


class Talking(CommandTest):
    def test_help_is_data(self):
        for arguments in (["--help"], ["-h"], ["repair", "--help"], ["repair", "-h"]):
            done = self.expect(0, *arguments)
            self.assertEqual(done.stderr, b"")
            self.assertIn(b"Usage: scanmesh", done.stdout)

    def test_version_is_data(self):
        done = self.expect(0, "--version")
        self.assertRegex(done.stdout.decode(), r"^scanmesh \d+\.\d+\.\d+\n$")

    def test_talk_is_on_standard_error(self):
        done = self.expect(0, "repair", "open.off", "out.stl")
        self.assertEqual(done.stdout, b"")
        self.assertIn(b"repaired", done.stderr)

    def test_quiet_says_nothing_but_errors(self):
        for command, more in CHANGING.items():
            done = self.expect(0, command, "cube.off", "out.stl", "--quiet", *more)
            self.assertEqual(done.stderr + done.stdout, b"")
        self.expect(3, "repair", "missing.stl", "out.stl", "-q", says="missing.stl")

    def test_a_pipe_holds_the_mesh_alone(self):
        piped = self.expect(0, "repair", "-", "-", "--to", "stl",
                            stdin=(self.folder / "open.off").read_bytes())
        self.expect(0, "repair", "open.off", "file.stl")
        self.assertEqual(piped.stdout, (self.folder / "file.stl").read_bytes())

    def test_a_document_is_all_there_is(self):
        for command, more in CHANGING.items():
            done = self.run_command(command, "cube.off", "out.stl", "--json", *more)
            self.assertEqual(done.stderr, b"")
            self.assertTrue(done.stdout.startswith(b"{\n") and done.stdout.endswith(b"\n}\n"))

    def test_numbers_are_those_of_the_c_locale(self):
        done = self.expect(0, "info", "cube.off",
                           env={**os.environ, "LC_ALL": "de_DE.UTF-8", "LANG": "de_DE.UTF-8"})
        self.assertRegex(done.stdout.decode(), r"diagonal +1\.73205")

    def test_progress_is_drawn_on_a_terminal_only(self):
        points, faces = grid(40)
        self.put("large.off", off(points, faces))
        for quiet, drawn in (([], True), (["--quiet"], False)):
            leader, follower = pty.openpty()
            self.expect(0, "repair", "large.off", "out.stl", *quiet, stderr=follower)
            os.close(follower)
            talk = b""
            try:
                while block := os.read(leader, 65536):
                    talk += block
            except OSError:
                pass  # the end of a terminal
            os.close(leader)
            self.assertEqual(b"] " in talk and b"%" in talk, drawn)
        done = self.expect(0, "repair", "large.off", "out.stl")
        self.assertNotIn(b"\r", done.stderr)


class Ending(CommandTest):
    def test_an_interrupt_is_130_and_leaves_nothing(self):
        self.put("out.stl", b"as it was")
        # It waits for its input.
        process = subprocess.Popen([harness.COMMAND, "repair", "-", "out.stl"], cwd=self.folder,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        before = self.listing()
        self.wait_until_it_listens(process.pid)
        process.send_signal(signal.SIGINT)
        output, talk = process.communicate(timeout=60)  # the input ends here at the latest
        self.assertEqual(process.returncode, 130, talk)
        self.assertEqual(output, b"")
        self.assertEqual(self.listing(), before)

    def test_an_interrupt_ends_the_work(self):
        points, faces = grid(120)
        crossing = [(x + 0.31, y + 0.27, z + 0.13) for x, y, z in points]
        faces += [tuple(c + len(points) for c in f) for f in faces]
        self.put("large.off", off(points + crossing, faces))
        process = subprocess.Popen([harness.COMMAND, "repair", "large.off", "out.stl"],
                                   cwd=self.folder, stderr=subprocess.PIPE)
        self.wait_until_it_listens(process.pid)
        time.sleep(0.15)
        process.send_signal(signal.SIGINT)
        _, talk = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130, talk)
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["cube.off", "cube.stl", "large.off", "open.off"])

    def test_want_of_memory_is_5(self):
        if harness.SANITIZED:
            self.skipTest("instruments need the address space")
        facet = stl(CUBE_POINTS, CUBE_FACES[:1])[84:]
        self.put("large.stl", bytes(80) + struct.pack("<I", 1000000) + facet * 1000000)

        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (100 << 20, 100 << 20))

        self.expect_refused(5, "convert", "large.stl", "out.obj", "--threads", "1",
                            preexec_fn=limit, says="out of memory",
                            env={**os.environ, "OMP_NUM_THREADS": "1"})

    def wait_until_it_listens(self, pid):
        """Until the process catches SIGINT, as its status shows."""
        for _ in range(2000):
            with open(f"/proc/{pid}/status", encoding="ascii") as status:
                caught = next(line for line in status if line.startswith("SigCgt:"))
            if int(caught.split()[1], 16) & (1 << (signal.SIGINT - 1)):
                return
            time.sleep(0.005)
        self.fail("the command never listened")


if __name__ == "__main__":
    harness.main()
