"""Feeds the same random messages to several drivers and compares their answers.

usage: random_conformance.py [--seed N] [--count N] DRIVER_NAME=COMMAND...

All have to accept or refuse the same messages and to write the same bytes back, except for the
deviations in deviations.txt and random_deviations.txt. The same seed gives the same messages.
"""

import argparse
import collections
import dataclasses
import functools
import itertools
import pathlib
import shlex
import sys

import run  # makes the reference implementation importable
import random_messages
import reference
import traits
import vectors

DEVIATIONS = run.HERE / "random_deviations.txt"
SHOWN = 3  # disagreements of a driver to print in full


def expectation(type_name, content):
    """The expected result, as a case without a name."""
    try:
        refused, writes = None, reference.write(reference.read(type_name, content))
    except reference.Refused as error:
        refused, writes = str(error), b""
    return vectors.Case(file="", line=0, name="", type=type_name, bytes=content, refused=refused,
                        json=vectors.NO_JSON, json_text=None, writes=writes)


def read_deviations(text, recorded):
    """The deviations in random_deviations.txt. `recorded`: those in deviations.txt."""
    reasons = {(driver, known.what): known.reason for known in recorded for driver in known.drivers}
    deviations = []
    for number, line in enumerate(text.splitlines(), 1):
        if not line or line.startswith("#"):
            continue
        place = (DEVIATIONS.name, number)
        columns = [column.strip() for column in line.split("|")]
        if len(columns) not in (4, 5) or not all(columns):
            raise vectors.Malformed(*place, "a deviation has four columns, or five: "
                                    "drivers | what | trait | instead | reason")
        drivers, what, trait, instead, *reason = columns
        if trait not in traits.NAMES:
            raise vectors.Malformed(*place, f"'{trait}' is none of: {', '.join(traits.NAMES)}")
        for driver in drivers.split():
            if not reason and (driver, what) not in reasons:
                raise vectors.Malformed(*place, f"no reason, and deviations.txt has no '{what}' "
                                        f"of {driver}")
            deviations.append(run.Deviation(
                place, [driver, what, trait, instead, *(reason or [reasons[driver, what]])]))
    return deviations


class Driver:
    """`ask`: a function that takes cases and gives the driver's answers, one line each."""

    def __init__(self, name, ask, deviations):
        self.name, self.ask, self.deviations = name, ask, deviations

    def disagreements(self, cases):
        """(case, kind, expected, found) for each disagreement that is not recorded."""
        if not cases:
            return
        for case, line in zip(cases, self.ask(cases), strict=True):
            answer = run.Answer(" ".join(line.split(" ", 2)[:2]))  # without JSON
            for kind, expected, found in run.compare(case, answer, driver_has_json=False):
                if not self._is_known(case, kind, answer):
                    yield case, kind, expected, found

    def _is_known(self, case, kind, answer):
        # A list: every deviation that explains it counts a hit.
        return any([known.explains(dataclasses.replace(case, name=trait), kind, answer)
                    for trait in traits.of(case.type, case.bytes) for known in self.deviations])

    def deviations_seen(self):
        seen = collections.Counter()
        for known in self.deviations:
            seen[known.what] += known.hits
        return "".join(f"\n  deviates as recorded: {what} ({hits})" for what, hits in seen.items())

    def shrunk(self, case, kind):
        """A small message that shows a disagreement of the same kind."""
        while True:
            smaller = [expectation(*part) for part in smaller_parts(case.type, case.bytes)]
            failing = [part for part, same, *_ in self.disagreements(smaller) if same == kind]
            if not failing:
                return case
            case = min(failing, key=lambda found: len(found.bytes))


def smaller_parts(type_name, content):
    """Sub-messages, and the bytes with each run of bytes left out."""
    yield from (part for part in traits.sub_messages(type_name, content)
                if part[0] in random_messages.TYPES)
    size = len(content)
    lengths = {length for length in (size // 2, size // 4, *range(1, 9)) if 0 < length <= size}
    for length in lengths:
        for start in range(size - length + 1):
            yield type_name, content[:start] + content[start + length:]


def report(driver, case, kind, expected, found, seed):
    smallest = driver.shrunk(case, kind)
    return (f"{driver.name} disagrees (seed {seed})\n"
            f"  {case.type} {case.bytes.hex() or '-'}\n"
            f"  expected  {expected}\n  found     {found}\n"
            f"  in short  {smallest.type} {smallest.bytes.hex() or '-'}\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=20000)
    parser.add_argument("drivers", nargs="+", metavar="DRIVER_NAME=COMMAND")
    options = parser.parse_args()
    try:
        recorded = run.read_deviations(run.DEVIATIONS.read_text(encoding="utf-8"),
                                       run.DEVIATIONS.name)
        deviations = read_deviations(DEVIATIONS.read_text(encoding="utf-8"), recorded)
    except vectors.Malformed as error:
        sys.exit(str(error))
    cases = [expectation(*message) for message in
             itertools.islice(random_messages.Generator(options.seed), options.count)]
    failed = False
    for argument in options.drivers:
        name, _, command = argument.partition("=")
        command = shlex.split(command)
        missing = pathlib.Path(command[0]).parent / "missing"
        if missing.exists():
            print(f"{name}: skipped. {missing.read_text().strip()}")
            continue
        driver = Driver(name, functools.partial(run.ask, command),
                        [known for known in deviations if name in known.drivers])
        found = list(driver.disagreements(cases))
        for disagreement in found[:SHOWN]:
            print(report(driver, *disagreement, options.seed))
        print(f"{name}: {len(cases)} messages, {len(found)} disagreements{driver.deviations_seen()}")
        failed = failed or bool(found)
    sys.exit(failed)


if __name__ == "__main__":
    main()
