"""The code of docs/performance-guide.md is what is measured and tested, and its tables have the rows
that are measured.

QMSG_BENCH_GUIDE: the program that measures.
"""

import os
import re
import subprocess
import unittest

from docs_test import ROOT, blocks

PAGE = ROOT / "docs/performance-guide.md"
SOURCES = ("bench/guide.h", "examples/route-by-queue/queue_id.h")


def cells(line):
    return [cell.strip().strip("`") for cell in line.strip().strip("|").split("|")]


def tables():
    """Each table as the cells of its heading and those of its rows."""
    for text in re.findall(r"(?:^\|.*\n)+", PAGE.read_text(encoding="utf-8"), re.M):
        heading, _, *lines = text.splitlines()
        yield cells(heading), [cells(line) for line in lines]


def figures():
    """{row of the program: its cell}. A table's columns are groups of rows; or its first column has
    their full names."""
    found = {}
    for (first, *groups), lines in tables():
        for name, *values in lines:
            if first == "row":
                found[name] = values[0]
                continue
            for group, value in zip(groups, values, strict=True):
                if value:
                    found[f"{group}/{name}"] = value
    return found


class Programs(unittest.TestCase):
    def test_each_is_part_of_a_source_that_is_tested(self):
        sources = [(ROOT / source).read_text(encoding="utf-8") for source in SOURCES]
        programs = blocks(PAGE, "cpp")
        self.assertGreater(len(programs), 4)
        for program in programs:
            self.assertTrue(any(program in source for source in sources), program)


class Figures(unittest.TestCase):
    def setUp(self):
        listed = subprocess.run([os.environ["QMSG_BENCH_GUIDE"], "--benchmark_list_tests=true"],
                                capture_output=True, text=True, check=True)
        self.measured = listed.stdout.split()

    def test_are_those_that_are_measured(self):
        self.assertEqual(sorted(figures()), sorted(self.measured))

    def test_compare_with_the_first_row_of_their_group(self):
        shown, groups = figures(), set()
        for row in self.measured:
            with self.subTest(row=row):
                self.assertGreater(float(shown[row]), 0)
                group = row.split("/")[0]
                if group not in groups:
                    self.assertEqual(shown[row], "1")
                groups.add(group)


if __name__ == "__main__":
    unittest.main()
