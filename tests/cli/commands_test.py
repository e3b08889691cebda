#!/usr/bin/env python3
"""What each command does, its help and the names in its document. COMMAND [--renew]."""

import os
import subprocess

import harness
from harness import CUBE_FACES, CUBE_POINTS, CommandTest, grid, key_paths, off

COMMANDS = ["info", "repair", "fill", "orient", "debris", "spikes", "smooth", "simplify",
            "subdivide", "compare", "convert"]


class Help(CommandTest):
    def test_help_is_as_it_was(self):
        self.hold_golden("help.txt", self.expect(0, "--help").stdout.decode())
        for command in COMMANDS:
            text = self.expect(0, command, "--help").stdout.decode()
            self.hold_golden(f"help_{command}.txt", text)

    def test_every_command_is_listed_with_an_example(self):
        listed = self.expect(0, "--help").stdout.decode()
        for command in COMMANDS:
            self.assertIn(f"\n  {command} ", listed)
            text = self.expect(0, command, "--help").stdout.decode()
            self.assertIn(f"\n  scanmesh {command} ", text)

    def test_the_manual_page_names_all(self):
        page = self.expect(0, "manual", "page").stdout.decode()
        self.assertTrue(page.startswith(".TH SCANMESH 1 "))
        for command in COMMANDS:
            self.assertIn(f"\n.SS scanmesh {command}\n", page)
        self.assertIn("\\-\\-longest\\-ring", page)

    def test_completion_knows_commands_options_and_values(self):
        script = self.put("completion", self.expect(0, "manual", "bash").stdout)

        def completed(*words):
            line = " ".join(f"'{word}'" for word in words)
            lines = (f"source {script.name}; COMP_WORDS=({line}); COMP_CWORD={len(words) - 1}; "
                     "_scanmesh; printf '%s\\n' \"${COMPREPLY[@]}\"")
            return subprocess.run(["bash", "-c", lines], cwd=self.folder, text=True, check=True,
                                  stdout=subprocess.PIPE).stdout.split()

        self.assertEqual(completed("scanmesh", "re"), ["repair", "reconstruct"])
        self.assertEqual(completed("scanmesh", "repair", "a", "--longest"), ["--longest-ring"])
        self.assertEqual(completed("scanmesh", "repair", "--keep", ""), ["all", "largest"])
        self.assertEqual(completed("scanmesh", "info", "cube.s"), ["cube.stl"])


class Documents(CommandTest):
    def test_the_names_are_as_they_were(self):
        self.put("doubled.off", off(CUBE_POINTS, CUBE_FACES[2:] + [CUBE_FACES[3]]))
        calls = {
            "info": ["open.off", "missing.off"],
            "repair": ["doubled.off", "out.stl"],
            "fill": ["open.off", "out.stl"],
            "orient": ["open.off", "out.stl"],
            "debris": ["open.off", "out.stl"],
            "spikes": ["open.off", "out.stl"],
            "smooth": ["open.off", "out.stl"],
            "simplify": ["open.off", "out.stl", "--faces", "8"],
            "subdivide": ["open.off", "out.stl"],
            "compare": ["open.off", "cube.off"],
            "convert": ["open.off", "out.stl"],
        }
        self.assertEqual(list(calls), COMMANDS)
        for command, arguments in calls.items():
            document = self.document(command, *arguments, code=3 if command == "info" else 0)
            self.assertEqual((document["schema"], document["command"]), (1, command))
            self.hold_golden(f"keys_{command}.txt", "\n".join(key_paths(document)) + "\n")


class Info(CommandTest):
    def test_a_healthy_cube_is_healthy(self):
        cube = self.health("cube.off")
        self.assertTrue(cube["healthy"])
        self.assertEqual((cube["vertices"], cube["faces"]), (8, 12))
        self.assertAlmostEqual(cube["volume"], 1, places=12)
        self.assertEqual(cube["size"], [1.0, 1.0, 1.0])

    def test_equal_points_are_joined_unless_told_otherwise(self):
        self.assertEqual(self.health("cube.stl")["joined_points"], 28)
        self.assertTrue(self.health("cube.stl")["healthy"])
        apart = self.document("info", "cube.stl", "--no-weld")["files"][0]
        self.assertEqual((apart["joined_points"], apart["open_edges"]), (0, 36))

    def test_check_is_1_where_one_is_not_healthy(self):
        self.expect(0, "info", "--check", "cube.off")
        self.expect(1, "info", "--check", "cube.off", "open.off")
        self.expect(0, "info", "cube.off", "open.off")

    def test_the_others_are_told_where_one_cannot_be_read(self):
        done = self.expect(3, "info", "--check", "missing.off", "open.off", says="missing.off")
        self.assertIn(b"open_edges", done.stdout)
        files = self.document("info", "missing.off", "cube.off", code=3)["files"]
        self.assertIn("does not exist", files[0]["error"])
        self.assertTrue(files[1]["healthy"])

    def test_the_unit_is_guessed_from_the_size(self):
        for scale, unit in ((1e-4, None), (0.1, "m"), (5, "cm"), (100, "mm"), (1e5, "um"),
                            (1e9, None)):
            points = [tuple(scale * c for c in p) for p in CUBE_POINTS]
            self.put("scaled.off", off(points, CUBE_FACES))
            self.assertEqual(self.health("scaled.off")["unit_guess"], unit)

    def test_numbers_that_are_not_finite_are_null(self):
        points = [(float("nan"), 0, 0)] + CUBE_POINTS[1:]
        self.put("nan.off", off(points, CUBE_FACES))
        self.assertGreater(self.health("nan.off")["nonfinite_faces"], 0)


class Repair(CommandTest):
    def test_an_open_cube_is_closed(self):
        self.expect(0, "repair", "open.off", "out.stl")
        fixed = self.health("out.stl")
        self.assertTrue(fixed["healthy"])
        self.assertAlmostEqual(fixed["volume"], 1, places=12)

    def test_a_healthy_mesh_stays(self):
        document = self.document("repair", "cube.off", "out.off")
        self.assertEqual(document["state"], "healthy")
        self.assertEqual(self.health("out.off")["faces"], 12)

    def test_holes_that_are_to_stay_are_no_fault(self):
        self.expect(0, "repair", "open.off", "out.stl", "--keep-holes")
        self.assertEqual(self.health("out.stl")["open_edges"], 4)
        self.expect(0, "repair", "open.off", "out.stl", "--ring-edges", "3")
        self.assertEqual(self.health("out.stl")["rings"], 1)
        self.expect(0, "repair", "open.off", "out.stl", "--ring-edges", "4")
        self.assertEqual(self.health("out.stl")["rings"], 0)

    def test_a_length_may_be_a_share_of_the_diagonal(self):
        # The ring is 4 long, the diagonal 1.732: 231 %.
        for length, rings in (("3.9", 1), ("4.1", 0), ("230%", 1), ("232%", 0)):
            self.expect(0, "repair", "open.off", "out.stl", "--longest-ring", length)
            self.assertEqual(self.health("out.stl")["rings"], rings, length)

    def test_what_stays_ill_is_1_and_written(self):
        # Two cubes through one another, and told to leave that, with a hole that has to be filled.
        points = CUBE_POINTS + [(x + 0.4, y + 0.3, z + 0.2) for x, y, z in CUBE_POINTS]
        faces = CUBE_FACES + [tuple(c + 8 for c in f) for f in CUBE_FACES]
        self.put("crossing.off", off(points, faces))
        self.expect(0, "repair", "crossing.off", "out.stl", "--keep-intersections")
        self.assertGreater(self.health("out.stl")["self_intersections"], 0)
        self.expect(0, "repair", "crossing.off", "out.stl")
        self.assertTrue(self.health("out.stl")["healthy"])

    def test_the_largest_component_alone(self):
        points = CUBE_POINTS + [(3 + x / 2, y / 2, z / 2) for x, y, z in CUBE_POINTS]
        faces = CUBE_FACES + [tuple(c + 8 for c in f) for f in CUBE_FACES]
        self.put("two.off", off(points, faces))
        self.expect(0, "repair", "two.off", "out.stl")
        self.assertEqual(self.health("out.stl")["components"], 2)
        self.expect(0, "repair", "two.off", "out.stl", "--keep", "largest")
        self.assertEqual(self.health("out.stl")["components"], 1)

    def test_the_result_may_be_lightened(self):
        points, faces = grid(20)
        self.put("box.off", off(points, faces[4:]))
        document = self.document("repair", "box.off", "out.stl", "--faces", "500")
        light = self.health("out.stl")
        self.assertTrue(light["healthy"])
        self.assertTrue(document["simplified"]["healthy"])
        self.assertLessEqual(light["faces"], 500)
        self.assertGreaterEqual(light["faces"], 490)
        self.assertNotIn("simplified", self.document("repair", "box.off", "out.stl"))


class Steps(CommandTest):
    def test_fill_tells_each_ring(self):
        document = self.document("fill", "open.off", "out.off")
        self.assertEqual((document["filled"], document["left"]), (1, 0))
        self.assertEqual(document["rings"][0]["length"], 4.0)
        self.assertTrue(self.health("out.off")["closed"])

    def test_a_ring_beyond_the_limit_is_left_without_fault(self):
        document = self.document("fill", "open.off", "out.off", "--ring-edges", "3")
        self.assertEqual((document["filled"], document["left"]), (0, 1))

    def test_orient_turns_a_cube_outside_out(self):
        self.put("inward.off", off(CUBE_POINTS, [f[::-1] for f in CUBE_FACES]))
        self.assertEqual(self.health("inward.off")["inward_components"], 1)
        self.assertEqual(self.document("orient", "inward.off", "out.off")["turned_faces"], 12)
        self.assertTrue(self.health("out.off")["healthy"])

    def test_debris_drops_the_small_component(self):
        points = CUBE_POINTS + [(3 + x / 20, y / 20, z / 20) for x, y, z in CUBE_POINTS]
        faces = CUBE_FACES + [tuple(c + 8 for c in f) for f in CUBE_FACES]
        self.put("two.off", off(points, faces))
        self.assertEqual(self.document("debris", "two.off", "out.off")["faces_removed"], 12)
        self.assertEqual(
            self.document("debris", "two.off", "o.off", "--share", "0.1%")["faces_removed"], 0)

    def test_spikes_levels_a_spike(self):
        points, faces = grid(20)
        points = [(x, y, 0.5 if z > 0.4 else 0) for x, y, z in points]
        spike = 21 * 21 + 10 * 21 + 10  # in the middle of the top
        points[spike] = (*points[spike][:2], 0.8)
        self.put("spike.off", off(points, faces))
        document = self.document("spikes", "spike.off", "out.off")
        self.assertGreaterEqual(document["largest_move"], 0.3)
        self.assertAlmostEqual(self.health("out.off")["size"][2], 0.5, places=6)

    def test_smooth_takes_each_filter_within_its_levels(self):
        points, faces = grid(12)
        self.put("box.off", off(points, faces))
        for name, least, most in (("taubin", 1, 50), ("bilateral", 0, 3), ("two-step", 0, 3),
                                  ("fast", 1, 6)):
            arguments = ["smooth", "box.off", "out.off", "--filter", name]
            self.assertEqual(self.document(*arguments)["filter"], name)
            for level in (least, most):
                self.expect(0, *arguments, "--level", str(level))
            if least == 1:
                self.expect_refused(2, *arguments, "--level", "0", says="takes 1 to")
            if most < 10:
                self.expect_refused(2, *arguments, "--level", "99", says="--level")

    def test_simplify_reaches_its_target_or_says_no(self):
        points, faces = grid(20)
        self.put("box.off", off(points, faces))
        total = len(faces)
        document = self.document("simplify", "box.off", "out.off", "--ratio", "50%")
        self.assertEqual(document["stop"], "target")
        self.assertLessEqual(document["faces"], total // 2)
        self.assertTrue(self.health("out.off")["healthy"])
        document = self.document("simplify", "box.off", "out.off", "--error", "1%")
        self.assertLessEqual(document["error"], 0.016)
        document = self.document("simplify", "cube.off", "out.off", "--faces", "0", code=1)
        self.assertEqual(document["stop"], "topology")
        self.expect_refused(2, "simplify", "cube.off", "out.off", says="--faces")
        self.expect_refused(2, "simplify", "cube.off", "out.off", "--faces", "abc")

    def test_subdivide_makes_four_of_each(self):
        self.assertEqual(self.document("subdivide", "cube.off", "o.off", "--steps", "2")["faces"],
                         12 * 16)
        for steps in ("0", "9", "-1", "two"):
            self.expect_refused(2, "subdivide", "cube.off", "out.off", "--steps", steps)

    def test_compare_judges_when_asked(self):
        points = [(x, y, z * 1.25) for x, y, z in CUBE_POINTS]
        self.put("taller.off", off(points, CUBE_FACES))
        document = self.document("compare", "cube.off", "taller.off")
        self.assertEqual(document["maximum"], 0.25)
        for within, code in (("0.25", 0), ("0.24", 1), ("20%", 0), ("1%", 1)):
            self.expect(code, "compare", "cube.off", "taller.off", "--within", within)
        self.expect(0, "compare", "cube.off", "cube.off", "--within", "1e-9")
        self.expect_refused(2, "compare", "cube.off", "cube.off", "--within", "0")


class Convert(CommandTest):
    def test_points_and_triangles_are_as_they_were(self):
        self.put("odd.off", off([(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 0), (1e-3, 1 / 3, 7)],
                                [(0, 2, 1), (3, 4, 1), (0, 2, 1)]))
        self.expect(0, "convert", "odd.off", "odd.ply")
        self.expect(0, "convert", "odd.ply", "back.off")
        first = (self.folder / "odd.off").read_text().split()
        back = (self.folder / "back.off").read_text().split()
        self.assertEqual([float(w) for w in back[1:]], [float(w) for w in first[1:]])

    def test_points_that_floats_would_round_are_told(self):
        self.put("third.off", off([(0, 0, 0), (1 / 3, 0, 0), (0, 1, 0)], [(0, 1, 2)]))
        self.assertEqual(self.document("convert", "third.off", "t.stl")["rounded_points"], 1)
        self.assertEqual(self.document("convert", "third.off", "t.ply")["rounded_points"], 0)

    def test_all_formats_are_written(self):
        for extension in ("stl", "ply", "obj", "off", "glb", "xyz", "wrl", "x3d", "dae", "STL"):
            self.expect(0, "convert", "cube.off", f"out.{extension}")
            self.assertGreater((self.folder / f"out.{extension}").stat().st_size, 100)

    def test_points_go_into_formats_of_points(self):
        self.put("points.xyz", b"0 0 0 0 0 1\n1 0 0 0 0 1\n")
        self.expect(0, "convert", "points.xyz", "points.ply")
        self.expect_refused(2, "convert", "points.xyz", "points.stl", says="ply or xyz")
        self.expect(0, "convert", "-", "-", "--from", "xyz", "--to", "xyz",
                    stdin=b"0 0 0 0 0 1\n")

    def test_text_and_doubles_are_options(self):
        self.expect(0, "convert", "cube.off", "out.stl", "--text")
        self.assertTrue((self.folder / "out.stl").read_bytes().startswith(b"solid"))
        self.expect(0, "convert", "cube.off", "out.ply", "--doubles")
        self.assertIn(b"property double x", (self.folder / "out.ply").read_bytes())


if __name__ == "__main__":
    harness.main()
