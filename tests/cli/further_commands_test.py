#!/usr/bin/env python3
"""The commands for denoising, and for building meshes of others. COMMAND [--renew]."""

import math

import harness
from harness import CommandTest, grid, key_paths, off

COMMANDS = ["denoise", "reconstruct", "stitch", "trim"]


def sphere_samples(count=400):
    """Lines of x y z nx ny nz, spread evenly."""
    lines = []
    for i in range(count):
        z = 1 - 2 * (i + 0.5) / count
        angle = i * math.pi * (3 - math.sqrt(5))
        radius = math.sqrt(1 - z * z)
        p = (radius * math.cos(angle), radius * math.sin(angle), z)
        lines.append(" ".join(repr(c) for c in p + p))
    return ("\n".join(lines) + "\n").encode()


def sheet(start, count, cell):
    """A wavy sheet from (start, start) on, count x count cells."""
    row = count + 1
    points = []
    for j in range(row):
        for i in range(row):
            x, y = start + cell * i, start + cell * j
            points.append((x, y, 2 * math.sin(0.07 * x) * math.cos(0.06 * y)))
    faces = []
    for j in range(count):
        for i in range(count):
            a = j * row + i
            faces += [(a, a + 1, a + row + 1), (a, a + row + 1, a + row)]
    return points, faces


class Further(CommandTest):
    def setUp(self):
        super().setUp()
        points, faces = grid(12)
        points = [(x, y, 0.5 if z > 0.4 else 0) for x, y, z in points]
        self.put("box.off", off(points, faces))
        self.put("points.xyz", sphere_samples())
        self.put("coarse.off", off(*sheet(0, 24, 2.0)))
        self.put("fine.off", off(*sheet(18.3, 24, 0.5)))
        self.calls = {
            "denoise": ["box.off", "out.stl"],
            "reconstruct": ["points.xyz", "out.stl"],
            "stitch": ["coarse.off", "fine.off", "out.stl"],
            "trim": ["box.off", "out.stl", "--circle", "0.5,0.5,0.5,0,0,1,0.2"],
        }

    def test_help_is_as_it_was(self):
        for command in COMMANDS:
            text = self.expect(0, command, "--help").stdout.decode()
            self.assertIn(f"\n  scanmesh {command} ", text)
            self.hold_golden(f"help_{command}.txt", text)

    def test_the_names_are_as_they_were(self):
        for command, arguments in self.calls.items():
            document = self.document(command, *arguments)
            self.assertEqual((document["schema"], document["command"]), (1, command))
            self.hold_golden(f"keys_{command}.txt", "\n".join(key_paths(document)) + "\n")

    def test_inputs_and_targets_are_held_to_the_conventions(self):
        for command, arguments in self.calls.items():
            at = arguments.index("out.stl")
            before, after = arguments[:at], arguments[at + 1:]
            self.expect_refused(3, command, "missing.xyz", *before[1:], "out.stl", *after)
            self.expect_refused(4, command, *before, "nowhere/out.stl", *after)
            self.expect_refused(2, command, *before, "out.abc", *after)

    def test_strength_is_within_0_and_1(self):
        for value in ("-0.1", "1.1", "nan", "abc", ""):
            self.expect_refused(2, "denoise", "box.off", "out.stl", "--strength", value)

    def test_points_without_normals_are_3_and_it_says_so(self):
        self.put("bare.xyz", b"0 0 0\n1 0 0\n0 1 0\n")
        self.expect_refused(3, "reconstruct", "bare.xyz", "out.stl", says="without normals")

    def test_the_method_is_one_of_two(self):
        for method in ("pivoting", "octree"):
            self.expect(0, "reconstruct", "points.xyz", "out.stl", "--method", method)
            self.assertGreater(self.health("out.stl")["faces"], 0)
        self.expect_refused(2, "reconstruct", "points.xyz", "out.stl", "--method", "best")

    def test_stitch_takes_two_inputs_and_a_target(self):
        document = self.document("stitch", "coarse.off", "fine.off", "out.stl")
        self.assertGreater(document["faces"], document["fine_faces"])
        self.assertEqual(self.health("out.stl")["components"], 1)
        self.assertEqual(self.health("out.stl")["rings"], 1)
        self.expect_refused(3, "stitch", "box.off", "missing.off", "out.stl")
        self.expect_refused(2, "stitch", "-", "-", "out.stl")
        self.expect_refused(2, "stitch", "box.off", "out.stl")

    def test_trim_takes_a_file_of_openings_with_comments(self):
        self.put("openings.txt", b"# holes\n\ncircle 0.5 0.5 0.5 0 0 1 0.1  # the first\r\n"
                                 b"slot 0.25,0.25,0.5 0,0,1 1,0,0 0.1 0.05\n")
        document = self.document("trim", "box.off", "out.stl", "openings.txt")
        self.assertEqual(document["openings"], 2)

    def test_a_bad_line_of_openings_is_named(self):
        for line in (b"hexagon 1 2 3", b"circle 1 2 3", b"circle 0 0 0 0 0 0 1",
                     b"circle 0 0 0 0 0 1 -1",
                     b"circle 0 0 0 0 0 1 nan", b"slot 0 0 0 0 0 1 0 0 0 1 1", b"circle a b c"):
            self.put("openings.txt", b"# one\n" + line + b"\n")
            self.expect_refused(3, "trim", "box.off", "out.stl", "openings.txt", says="line 2")
        self.put("openings.txt", b"# nothing\n")
        self.expect_refused(3, "trim", "box.off", "out.stl", "openings.txt", says="no openings")

    def test_a_circle_has_seven_numbers(self):
        for circle in ("1,2,3", "a,b,c,d,e,f,g", "0,0,0,0,0,1,0", "0,0,0,0,0,1,inf", ""):
            self.expect_refused(2, "trim", "box.off", "out.stl", "--circle", circle)
        self.expect_refused(2, "trim", "box.off", "out.stl", says="--circle")

    def test_an_opening_beside_the_mesh_is_2(self):
        self.expect_refused(2, "trim", "box.off", "out.stl", "--circle", "99,99,99,0,0,1,1")


if __name__ == "__main__":
    harness.main()
