"""The runner reports every difference of a driver, unless it is recorded as a deviation."""

import unittest

import run
import vectors

CASES = vectors.parse("""
A result
  type   quor.protobuf.JQ.Result
  bytes  08 01
  json   {"ok": true}

A result that is cut off
  type   quor.protobuf.JQ.Result
  bytes  08
  refused the bytes end too early

A result and an unknown field
  type   quor.protobuf.JQ.Result
  bytes  10 05 08 02
  json   {"ok": true}
  writes 08 01 10 05

A time beyond JSON
  type   quor.protobuf.JQ.Job
  bytes  22 06 10 80 94 eb dc 03
  json   none
""", "f.txt")

RIGHT = ['accepted 0801 {"ok":true}', "refused", 'accepted 08011005 {"ok": true}',
         "accepted 2206108094ebdc03"]


def answers(**changed):
    """The right answers, except those given as answer_<number>."""
    return [changed.get(f"answer_{number}", line) for number, line in enumerate(RIGHT)]


def problems(lines, deviations=""):
    return run.check(CASES, lines, run.read_deviations(deviations, "d.txt"))


class Differences(unittest.TestCase):
    def assert_one_problem(self, found, *parts):
        self.assertEqual(1, len(found), found)
        for part in parts:
            self.assertIn(part, found[0])

    def test_right_answers_are_not_a_problem(self):
        self.assertEqual([], problems(RIGHT))

    def test_a_driver_without_json_is_not_a_problem(self):
        self.assertEqual([], problems([" ".join(line.split()[:2]) for line in RIGHT]))

    def test_other_bytes_are_a_problem(self):
        self.assert_one_problem(problems(answers(answer_2='accepted 0801 {"ok": true}')),
                                "f.txt:12: A result and an unknown field",
                                "quor.protobuf.JQ.Result",
                                "expected  writes 08 01 10 05", "found     wrote 08 01")

    def test_no_bytes_instead_of_some_are_a_problem(self):
        self.assert_one_problem(problems(answers(answer_0='accepted - {"ok": true}')),
                                "found     wrote no bytes")

    def test_other_json_is_a_problem(self):
        self.assert_one_problem(problems(answers(answer_0='accepted 0801 {"ok":false}')),
                                'expected  JSON {"ok": true}', 'found     JSON {"ok":false}')

    def test_json_that_is_missing_in_one_answer_is_a_problem(self):
        self.assert_one_problem(problems(answers(answer_0="accepted 0801")),
                                "found     JSON missing")

    def test_json_that_cannot_be_read_is_a_problem(self):
        self.assert_one_problem(problems(answers(answer_0='accepted 0801 {"ok":1,"ok":1}')),
                                'found     JSON {"ok":1,"ok":1}')

    def test_a_refusal_of_good_bytes_is_a_problem(self):
        self.assert_one_problem(problems(answers(answer_0="refused")),
                                "expected  accepted, and writes 08 01", "found     refused")

    def test_an_acceptance_of_bad_bytes_is_a_problem(self):
        self.assert_one_problem(problems(answers(answer_1="accepted 08 {}")),
                                "expected  refused: the bytes end too early",
                                "found     accepted, and wrote 08")

    def test_an_unknown_type_is_a_problem(self):
        self.assert_one_problem(problems(answers(answer_1="unknown-type")),
                                "f.txt:7", "not an answer: unknown-type")

    def test_a_missing_answer_is_a_problem(self):
        self.assert_one_problem(problems(RIGHT[:-1]), "4 questions, but 3 answers")


class Deviations(unittest.TestCase):
    def line(self, pattern, instead):
        return f"some driver | short name | {pattern} | {instead} | a reason"

    def test_a_recorded_deviation_is_not_a_problem(self):
        for lines, pattern, instead in [
                (answers(answer_0="refused"), "A result", "refused"),
                (answers(answer_1="accepted 08 {}"), "*cut off", "accepts"),
                (answers(answer_2='accepted 0801 {"ok": true}'), "quor.*.Result", "writes 08 01"),
                (answers(answer_2='accepted 0801 {"ok": true}'), "*", "writes known fields only"),
                (answers(answer_2='accepted 10050801 {"ok":true}'), "*", "writes same value"),
                (answers(answer_2='accepted 77 {"ok":true}'), "*", "writes otherwise"),
                (answers(answer_0='accepted 0801 {"ok":1}'), "A result", 'json {"ok": 1}'),
                (answers(answer_0='accepted 0801 {"ok":1}'), "A result", "json otherwise")]:
            with self.subTest(instead):
                self.assertEqual([], problems(lines, self.line(pattern, instead)))

    def test_another_difference_than_the_recorded_one_is_a_problem(self):
        for lines, pattern, instead in [
                (answers(answer_0="refused"), "A result", "accepts"),
                (answers(answer_0="refused"), "*cut off", "refused"),
                (answers(answer_2='accepted 0802 {"ok": true}'), "*", "writes 08 01"),
                (answers(answer_2='accepted 1005 {"ok": true}'), "*", "writes known fields only"),
                (answers(answer_2='accepted 0801 {"ok":true}'), "*", "writes same value"),
                (answers(answer_2='accepted 77 {"ok":true}'), "*", "writes same value"),
                (answers(answer_0='accepted 0801 {"ok":2}'), "A result", 'json {"ok": 1}')]:
            with self.subTest(lines=lines, instead=instead):
                # The difference itself, and the recorded deviation that did not occur.
                self.assertEqual(2, len(problems(lines, self.line(pattern, instead))))

    def test_a_recorded_deviation_that_is_gone_is_a_problem(self):
        self.assertEqual(["d.txt:1: no longer deviates by 'short name' (A result: refused)"],
                         problems(RIGHT, self.line("A result", "refused")))

    def test_a_line_without_five_columns_is_refused(self):
        with self.assertRaises(vectors.Malformed) as raised:
            run.read_deviations("# fine\n\na | b | c | refused\n", "d.txt")
        self.assertIn("d.txt:3: a deviation has five columns", str(raised.exception))

    def test_a_deviation_of_an_unknown_kind_is_refused(self):
        for instead in ("ignores", "writes", "json", "refused always"):
            with self.subTest(instead):
                with self.assertRaises(vectors.Malformed) as raised:
                    run.read_deviations(self.line("*", instead), "d.txt")
                self.assertIn(f"d.txt:1: '{instead}' is none of", str(raised.exception))


if __name__ == "__main__":
    unittest.main()
