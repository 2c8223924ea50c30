"""The random messages cover everything, and a disagreement of a driver is reported and reduced."""

import itertools
import unittest

import random_conformance
import random_messages
import reference
import run
import traits
import vectors


def messages(seed, count):
    return list(itertools.islice(random_messages.Generator(seed), count))


def right(case):
    return "refused" if case.refused else f"accepted {case.writes.hex() or '-'} {{}}"


def without_negative_zero(case):
    return right(case).replace("0000000000000080", "0000000000000000")


def without_utf8_check(case):
    if case.refused and "UTF-8" in case.refused:
        return f"accepted {case.bytes.hex()}"
    return right(case)


def driver(answer, deviations=""):
    recorded = run.read_deviations("d | bytes | * | accepts | They are not text to it", "d.txt")
    return random_conformance.Driver("d", lambda cases: [answer(case) for case in cases],
                                     random_conformance.read_deviations(deviations, recorded))


class RandomMessages(unittest.TestCase):
    def test_the_same_seed_gives_the_same_messages(self):
        self.assertEqual(messages(1, 100), messages(1, 100))
        self.assertNotEqual(messages(1, 100), messages(2, 100))

    def test_every_type_and_every_trait_occurs(self):
        made = messages(1, 20000)
        self.assertEqual(49, len({type_name for type_name, _ in made}))
        found = set().union(*(traits.of(*message) for message in made))
        self.assertEqual(set(traits.NAMES), found)

    def test_every_field_occurs_in_messages_that_are_accepted(self):
        seen = set()
        for message in messages(1, 20000):
            try:
                reference.read(*message, visit=lambda name, field, _: seen.add((name, field.number)))
            except reference.Refused:
                pass
        declared = {(name, number) for name, fields in reference.SCHEMA.messages.items()
                    for number in fields}
        self.assertEqual(set(), declared - seen)


class Disagreements(unittest.TestCase):
    cases = [random_conformance.expectation(*message) for message in messages(1, 5000)]

    def test_a_right_driver_has_none(self):
        self.assertEqual([], list(driver(right).disagreements(self.cases)))

    def test_a_driver_that_loses_a_sign_is_reported_with_that_sign_alone(self):
        wrong = driver(without_negative_zero)
        case, kind, expected, found = next(wrong.disagreements(self.cases))
        self.assertEqual("writes", kind)
        text = random_conformance.report(wrong, case, kind, expected, found, 1)
        self.assertRegex(text, r"in short  quor\.protobuf\.\w+\.\w+ (29|31)0000000000000080\n")

    def test_a_driver_that_accepts_too_much_is_reported(self):
        kinds = {kind for _, kind, *_ in driver(without_utf8_check).disagreements(self.cases)}
        self.assertEqual({"accepts"}, kinds)

    def test_a_recorded_deviation_is_none(self):
        known = driver(without_utf8_check, "d | bytes | no UTF-8 | accepts")
        self.assertEqual([], list(known.disagreements(self.cases)))
        self.assertIn("bytes", known.deviations_seen())

    def test_a_deviation_recorded_for_another_trait_is_one(self):
        self.assertTrue(list(driver(without_utf8_check, "d | bytes | group | accepts")
                             .disagreements(self.cases)))


class RecordedDeviations(unittest.TestCase):
    def refuses(self, line, reason):
        with self.assertRaisesRegex(vectors.Malformed, f"random_deviations.txt:1: {reason}"):
            driver(right, line)

    def test_malformed_lines_are_refused(self):
        self.refuses("d | bytes | group", "a deviation has four columns")
        self.refuses("d | bytes | grope | accepts", "'grope' is none of")
        self.refuses("d | other | group | accepts", "no reason, and deviations.txt has no 'other'")
        self.refuses("d | bytes | group | sings", "'sings' is none of")
