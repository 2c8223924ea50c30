"""SECURITY.md lists only declared fields, and all fields that hold captured values of PHP code."""

import re
import unittest

from docs_test import ROOT, rows, section

PAGE = ROOT / "SECURITY.md"


def declared_fields():
    """The type of each field, by package, message and name, as in Tarq.SqlQuery.query."""
    fields, package, message = {}, None, None
    for line in (ROOT / "tests/schema/declarations.txt").read_text(encoding="utf-8").splitlines():
        if not line.startswith(" "):
            package = line.split()[1].rsplit(".", 1)[1]
        elif line.startswith("  message "):
            message = line.split()[1]
        elif found := re.match(r"    \d+ (\w+): (.*)", line):
            fields[f"{package}.{message}.{found.group(1)}"] = found.group(2)
    return fields


def named_fields():
    return [field for row in rows(section(PAGE, "## Messages that carry secrets"))
            for field in re.findall(r"`([\w.]+)`", row[0])]


class Secrets(unittest.TestCase):
    def test_each_listed_field_is_declared(self):
        declared = declared_fields()
        self.assertGreater(len(declared), 150)
        for field in named_fields():
            self.assertIn(field, declared)

    def test_no_field_is_listed_twice(self):
        named = named_fields()
        self.assertEqual(sorted(set(named)), sorted(named))

    def test_every_field_with_values_of_php_code_is_listed(self):
        holders = {"QuorPHP.QVal", "QuorPHP.QuorArray"}
        # QuorArray contains this field, and the fields that hold a QuorArray are listed.
        expected = {field for field, kind in declared_fields().items()
                    if holders & set(re.findall(r"[\w.]+", kind))} - {"QuorPHP.QuorArrayValue.value"}
        self.assertGreater(len(expected), 4)
        self.assertLessEqual(expected, set(named_fields()))


if __name__ == "__main__":
    unittest.main()
