"""The reference implementation agrees with every case written by hand, and the generated cases are
up to date."""

import sys
import unittest

import reference
import vectors

sys.path.insert(0, str(vectors.FOLDER))
import generate  # noqa: E402


class ByHand(unittest.TestCase):
    def test_each_case_is_read_and_written_as_expected(self):
        for case in vectors.load_by_hand():
            with self.subTest(case.name, place=case.place):
                if case.refused:
                    with self.assertRaises(reference.Refused):
                        reference.read(case.type, case.bytes)
                    continue
                message = reference.read(case.type, case.bytes)
                self.assertEqual(case.writes.hex(" "), reference.write(message).hex(" "))
                text = reference.json_text(message)
                self.assertEqual(case.json,
                                 vectors.NO_JSON if text == "none" else vectors.read_json(text))


class Generated(unittest.TestCase):
    def test_the_files_are_as_the_generator_writes_them(self):
        self.assertEqual([], generate.out_of_date(), "run tests/vectors/generate.py")


if __name__ == "__main__":
    unittest.main()
