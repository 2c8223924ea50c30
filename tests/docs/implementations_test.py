"""docs/implementations.md lists every deviation that tests/conformance records."""

import re
import sys
import unittest

from docs_test import ROOT, rows, section

CONFORMANCE = ROOT / "tests/conformance"
sys.path.insert(0, str(CONFORMANCE))
# pylint: disable=wrong-import-position
import random_conformance
import run

PAGE = ROOT / "docs/implementations.md"


def deviations():
    recorded = run.read_deviations(run.DEVIATIONS.read_text(encoding="utf-8"), run.DEVIATIONS.name)
    return recorded + random_conformance.read_deviations(
        random_conformance.DEVIATIONS.read_text(encoding="utf-8"), recorded)


def names(drivers):
    return " ".join(f"`{driver}`" for driver in sorted(drivers))


def table():
    """The expected rows without their last column, which is written by hand."""
    reasons_of = {}
    for known in deviations():
        reasons = reasons_of.setdefault(known.what, {})
        reasons.setdefault(known.reason, set()).update(known.drivers)
    for what, reasons in sorted(reasons_of.items()):
        everyone = {driver for drivers in reasons.values() for driver in drivers}
        told = [reason if len(drivers) == len(everyone) else f"{names(drivers)}: {reason}"
                for reason, drivers in sorted(reasons.items())]
        yield [f"`{what}`", names(everyone), "<br>".join(told)]


class Implementations(unittest.TestCase):
    maxDiff = None

    def test_the_table_of_deviations_is_that_of_the_data(self):
        shown = rows(section(PAGE, "## Deviations"))
        expected = list(table())
        self.assertEqual([row[:3] for row in shown], expected,
                         "expected:\n" + "\n".join(f"| {' | '.join(row)} |" for row in expected))

    def test_each_deviation_says_what_it_means_for_a_user(self):
        for *row, meaning in rows(section(PAGE, "## Deviations")):
            with self.subTest(row[0]):
                self.assertEqual(len(row), 3)
                self.assertGreater(len(meaning.split()), 2)

    def test_every_driver_is_listed(self):
        listed = [re.findall(r"`([\w-]+)`", row[0])
                  for row in rows(section(PAGE, "## Implementations"))]
        built = (CONFORMANCE / "CMakeLists.txt").read_text()
        declared = re.search(r"set\(drivers(.*?)\)", built, re.S).group(1).split()
        expected = []
        for driver in declared:
            folder, *modes = driver.split(":")
            expected.append([f"{folder}-{mode}" for mode in modes] or [folder])
        self.assertEqual(listed, expected)


if __name__ == "__main__":
    unittest.main()
