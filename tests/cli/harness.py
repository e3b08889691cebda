"""What the tests of the command share: small meshes, and the command as a process."""

import json
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

COMMAND = ""      # set by main()
SANITIZED = False
RENEW = False
GOLDEN = pathlib.Path(__file__).resolve().parent / "golden"

CUBE_POINTS = [(x, y, z) for z in (0, 1) for y in (0, 1) for x in (0, 1)]
CUBE_FACES = [(0, 2, 3), (0, 3, 1), (4, 5, 7), (4, 7, 6), (0, 1, 5), (0, 5, 4),
              (2, 6, 7), (2, 7, 3), (0, 4, 6), (0, 6, 2), (1, 3, 7), (1, 7, 5)]


def off(points, faces):
    lines = ["OFF", f"{len(points)} {len(faces)} 0"]
    lines += [" ".join(repr(float(c)) for c in p) for p in points]
    lines += ["3 " + " ".join(map(str, f)) for f in faces]
    return ("\n".join(lines) + "\n").encode()


def stl(points, faces):
    facets = [struct.pack("<12fH", 0, 0, 0, *(c for corner in face for c in points[corner]), 0)
              for face in faces]
    return bytes(80) + struct.pack("<I", len(faces)) + b"".join(facets)


def grid(count, size=1.0):
    """A closed box with its top cut into count x count squares that rise and fall a little."""
    points, faces = [], []
    for top in (0, 1):
        for j in range(count + 1):
            for i in range(count + 1):
                wave = 0.05 * size * ((i * 7 + j * 3) % 5) / 5 if top else 0
                points.append((size * i / count, size * j / count, size * 0.5 * top + wave))
    row = count + 1
    lower, upper = 0, row * row
    for j in range(count):
        for i in range(count):
            a, b = j * row + i, j * row + i + 1
            c, d = a + row, b + row
            faces += [(upper + a, upper + b, upper + d), (upper + a, upper + d, upper + c),
                      (lower + a, lower + d, lower + b), (lower + a, lower + c, lower + d)]
    rim = ([i for i in range(row)] + [j * row + count for j in range(1, row)] +
           [count * row + i for i in range(count - 1, -1, -1)] +
           [j * row for j in range(count - 1, 0, -1)])
    for k, p in enumerate(rim):
        q = rim[(k + 1) % len(rim)]
        faces += [(lower + p, lower + q, upper + q), (lower + p, upper + q, upper + p)]
    return points, faces


def key_paths(value, path=""):
    """The names in a document with the kinds of their values; of a list, its first element."""
    if isinstance(value, dict):
        for name, inner in value.items():
            yield from key_paths(inner, f"{path}.{name}" if path else name)
    elif isinstance(value, list):
        yield f"{path}[]"
        if value:
            yield from key_paths(value[0], f"{path}[0]")
    else:
        yield f"{path}: {type(value).__name__}"


class CommandTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="scanmesh cli "))
        self.addCleanup(shutil.rmtree, self.folder)
        self.put("cube.off", off(CUBE_POINTS, CUBE_FACES))
        self.put("open.off", off(CUBE_POINTS, CUBE_FACES[2:]))
        self.put("cube.stl", stl(CUBE_POINTS, CUBE_FACES))

    def put(self, name, content):
        path = self.folder / name
        path.write_bytes(content)
        return path

    def run_command(self, *arguments, stdin=b"", **options):
        """Returns the finished process; its standard streams are bytes."""
        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "timeout": 120}
        streams.update(options)
        return subprocess.run([COMMAND, *map(os.fspath, arguments)], input=stdin,
                              cwd=self.folder, check=False, **streams)

    def expect(self, code, *arguments, says=None, **options):
        """Runs the command and holds it to its exit code and, if given, to a word of its talk."""
        done = self.run_command(*arguments, **options)
        told = (done.stderr or b"").decode(errors="replace")
        self.assertEqual(done.returncode, code, f"{arguments}: {told}")
        if says is not None:
            self.assertIn(says, told)
        return done

    def expect_refused(self, code, *arguments, says=None, **options):
        """The same, and nothing is written: neither to standard output nor into the folder."""
        before = self.listing()
        done = self.expect(code, *arguments, says=says, **options)
        self.assertEqual(done.stdout or b"", b"")
        self.assertNotEqual(done.stderr, b"")
        self.assertEqual(self.listing(), before)
        return done

    def listing(self):
        return {path.name: None if path.is_dir() else path.read_bytes()
                for path in self.folder.iterdir() if path.is_file() or path.is_dir()}

    def document(self, *arguments, code=0):
        return json.loads(self.expect(code, *arguments, "--json").stdout)

    def health(self, name):
        return self.document("info", name)["files"][0]

    def hold_golden(self, name, text):
        path = GOLDEN / name
        if RENEW:
            path.write_text(text, encoding="utf-8")
        self.assertEqual(text, path.read_text(encoding="utf-8") if path.exists() else "")


def main():
    global COMMAND, SANITIZED, RENEW
    arguments = sys.argv[1:]
    SANITIZED = "--sanitized" in arguments
    RENEW = "--renew" in arguments
    rest = [a for a in arguments if a not in ("--sanitized", "--renew")]
    COMMAND = os.path.abspath(rest[0])
    import harness  # this file by its module's name, where the tests read the values
    harness.COMMAND, harness.SANITIZED, harness.RENEW = COMMAND, SANITIZED, RENEW
    unittest.main(module="__main__", argv=[sys.argv[0], *rest[1:]])
