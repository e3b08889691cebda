#!/usr/bin/env python3
"""Keeping and comparing runs of the benchmarks.  bench_ratios_test.py PATH/TO/bench_ratios.py"""
import os
import subprocess
import sys
import tempfile
import unittest

SCRIPT = ""


def run_of(ratio):
    return f"""Opening 100 faces, median of 3:

|          | seconds | result, faces | ratio to it |
| -------- | -------:| -------------:| -----------:|
| scanmesh |   0.027 |           100 |             |
| Other    |   1,000.5 |         100 |       {ratio} |
"""


class BenchRatios(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.TemporaryDirectory()
        self.addCleanup(self.place.cleanup)

    def path(self, name):
        return os.path.join(self.place.name, name)

    def call(self, *words, text=""):
        return subprocess.run([sys.executable, SCRIPT, *words], input=text, capture_output=True,
                              text=True, check=False)

    def keep(self, name, *runs):
        for ratio in runs:
            self.assertEqual(self.call("keep", self.path(name), text=run_of(ratio)).returncode, 0)
        return self.path(name)

    def test_a_kept_run_shows_its_ratios_and_no_other_column(self):
        shown = self.call("keep", self.path("runs"), text=run_of(0.464)).stdout
        self.assertIn("| Opening 100 faces, median of 3 | Other | 0.464 |", shown)
        self.assertEqual(len(shown.splitlines()), 3)

    def test_text_without_a_table_is_refused(self):
        self.assertNotEqual(self.call("keep", self.path("runs"), text="nothing\n").returncode, 0)
        self.assertFalse(os.path.exists(self.path("runs")))

    def test_a_ratio_that_became_worse_is_told_and_ends_with_1(self):
        compared = self.call("compare", self.keep("old", 0.5), self.keep("new", 0.6))
        self.assertEqual(compared.returncode, 1)
        self.assertIn("| 0.500 | 0.600 | +20 % | 5 % |", compared.stdout)
        self.assertIn("1 worse, 0 better, 0 the same", compared.stdout)

    def test_a_better_ratio_is_told_and_ends_with_0(self):
        compared = self.call("compare", self.keep("old", 0.5), self.keep("new", 0.4))
        self.assertEqual(compared.returncode, 0)
        self.assertIn("0 worse, 1 better, 0 the same", compared.stdout)

    def test_what_differs_less_than_the_noise_of_the_runs_is_the_same(self):
        old = self.keep("old", 0.4, 0.5, 0.6)  # 20 % off the median: noise of 40 %
        self.assertEqual(self.call("compare", old, self.keep("same", 0.69)).returncode, 0)
        self.assertEqual(self.call("compare", old, self.keep("worse", 0.71)).returncode, 1)

    def test_a_file_without_runs_is_refused(self):
        compared = self.call("compare", self.path("none"), self.keep("new", 0.5))
        self.assertIn("nothing kept", compared.stderr)
        self.assertEqual(compared.returncode, 1)


if __name__ == "__main__":
    SCRIPT = sys.argv.pop(1)
    unittest.main()
