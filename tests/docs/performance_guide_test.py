"""The code of docs/performance-guide.md is measured and tested. Its tables have the measured rows.

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
    """Yields each table as (cells of its heading, rows of cells)."""
    for text in re.findall(r"(?:^\|.*\n)+", PAGE.read_text(encoding="utf-8"), re.M):
        heading, _, *lines = text.splitlines()
        yield cells(heading), [cells(line) for line in lines]


def figures():
    """{row of the program: its cell}. A table's columns are groups of rows, or its first column has
    full names."""
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
    def test_each_program_is_part_of_a_tested_source(self):
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

    def test_the_figures_are_those_of_the_measured_rows(self):
        self.assertEqual(sorted(figures()), sorted(self.measured))

    def test_the_first_row_of_a_group_is_1(self):
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
