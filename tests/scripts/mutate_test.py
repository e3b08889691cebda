#!/usr/bin/env python3
"""What the mutation script takes for code, and what it makes of it.  mutate_test.py PATH/TO/mutate.py"""
import importlib.util
import sys
import unittest

SCRIPT = ""


class Mutants(unittest.TestCase):
    def setUp(self):
        spec = importlib.util.spec_from_file_location("mutate", SCRIPT)
        self.mutate = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(self.mutate)

    def made_of(self, text):
        """The changed lines of a source, in order."""
        lines = text.split("\n")
        code = self.mutate.blanked(self.mutate.without_other_platforms(text)).split("\n")
        made, before = [], ""
        for i, (line, bare) in enumerate(zip(lines, code)):
            made += self.mutate.mutants_of_line("a.cpp", i + 1, line, bare.rstrip(), before)
            before = bare.strip() or before
        return [m.new.strip() for m in made]

    def test_comparisons_take_in_their_limit_or_leave_it_out(self):
        self.assertIn("return a <= b;", self.made_of("return a < b;"))
        self.assertIn("return a > b;", self.made_of("return a >= b;"))

    def test_statements_and_guards_are_dropped(self):
        self.assertIn(";", self.made_of("  hole.free();"))
        self.assertIn(";", self.made_of("  if (a == b) return 0;"))

    def test_declarations_stay(self):
        self.assertNotIn(";", self.made_of("  int count = 0;"))

    def test_numbers_grow_by_one_and_exponents_stay(self):
        self.assertEqual(self.made_of("constexpr int kRounds = 6;"), ["constexpr int kRounds = 7;"])
        self.assertEqual(self.made_of("constexpr float kTiny = 1e-30F;"), [])

    def test_comments_strings_and_directives_are_no_code(self):
        self.assertEqual(self.made_of('// a < b\nprint("a < b");\n#if A < 1\n#endif'), [";"])

    def test_branches_of_other_platforms_are_no_code(self):
        text = "#if defined(_WIN32)\n  a();\n#else\n  return a < b;\n#endif"
        self.assertEqual(self.made_of(text), ["return a <= b;"])
        text = "#if defined(__SSE2__)\n  return a < b;\n#else\n  a();\n#endif"
        self.assertEqual(self.made_of(text), ["return a <= b;"])

    def test_room_to_spare_is_no_behaviour(self):
        self.assertEqual(self.made_of("  list.reserve(7);\n  _vert* corner[3] = {};"), [])

    def test_the_list_of_equivalent_mutants_can_be_read(self):
        known = self.mutate.equivalents()
        self.assertGreater(len(known), 0)
        for path, old, new in known:
            self.assertTrue((self.mutate.ROOT / path).is_file(), path)
            self.assertNotEqual(old, new)


if __name__ == "__main__":
    SCRIPT = sys.argv.pop(1)
    unittest.main()
