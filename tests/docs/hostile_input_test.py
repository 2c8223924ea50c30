"""The programs of docs/hostile-input.md are tested, and its memory figures are up to date.

QMSG_HOSTILE_TABLE: the program that prints the tables.
"""

import os
import subprocess
import unittest

from docs_test import ROOT, blocks, rows

PAGE = ROOT / "docs/hostile-input.md"
TESTED = ROOT / "tests/adversarial/advice_test.cc"


def tables(text):
    """A list of rows for each table."""
    found = []
    for part in text.split("\n\n"):
        if table := rows(part):
            found.append(table)
    return found


def number(cell):
    try:
        return float(cell)
    except ValueError:
        return None


class Programs(unittest.TestCase):
    def test_each_program_is_part_of_a_test(self):
        tested = TESTED.read_text(encoding="utf-8")
        programs = blocks(PAGE, "cpp")
        self.assertGreater(len(programs), 4)
        for program in programs:
            self.assertIn(program, tested)


class Tables(unittest.TestCase):
    def test_shapes_and_memory_are_as_measured(self):
        run = subprocess.run([os.environ["QMSG_HOSTILE_TABLE"], "--no-times"], capture_output=True,
                             text=True, check=True)
        shown = tables(PAGE.read_text(encoding="utf-8"))
        for table in tables(run.stdout):
            same_width = [candidate for candidate in shown
                          if [row[0] for row in candidate] == [row[0] for row in table]]
            self.assertEqual(len(same_width), 1, f"no table on the page has the rows of {table}")
            for expected, row in zip(table, same_width[0]):
                with self.subTest(row=row[0]):
                    self.assertEqual(len(row), len(expected))
                    for measured, cell in zip(expected, row):
                        self.check_cell(measured, cell)

    def check_cell(self, measured, cell):
        if measured == "":  # a time, which differs from run to run
            self.assertRegex(cell, r"\d")
        elif number(measured) is None:
            self.assertEqual(cell, measured)
        else:
            self.assertAlmostEqual(number(cell), number(measured),
                                   delta=max(1, 0.02 * number(measured)))


if __name__ == "__main__":
    unittest.main()
