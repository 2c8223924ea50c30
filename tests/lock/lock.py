"""Compares the built schema with the locked one, and says what a change would do to whom.

The lock is descriptors.txtpb and retired.txt. Every difference fails, an allowed one too: the lock
is renewed with the change that needs it.
"""

import argparse
import pathlib
import sys
import textwrap

import storage
from compare import compare
from rules import BREAKING, LABELS, rule_for

HERE = pathlib.Path(__file__).resolve().parent


def is_breaking(change):
    return rule_for(change).verdict == BREAKING


def described(change):
    """The change in words, for the people it concerns."""
    rule, facts = rule_for(change), {"place": change.place, **change.facts}
    lines = [f"{rule.verdict}: {change.place}: {rule.what.format(**facts)}"]
    if not is_breaking(change):
        lines[0] = lines[0].rstrip(".") + ", renew the lock with ./dev lock"
    for audience, label in LABELS.items():
        text = getattr(rule, audience).format(**facts)
        if text:
            lines += textwrap.wrap(f"{label} {text}", 98, initial_indent="  ",
                                   subsequent_indent="    ", break_on_hyphens=False)
    return "\n".join(lines)


def counted(number, noun):
    return f"{number} {noun}" + ("s" if number != 1 else "")


def check(changes):
    breaking = sum(map(is_breaking, changes))
    if breaking:
        print(f"\n{counted(breaking, 'breaking change')}. The schema is promised to programs that "
              "are in use: take this back, or make it an addition. In a new major version, and "
              "only there: ./dev lock --breaking")
    elif changes:
        print(f"\nThe lock lags behind the schema by {counted(len(changes), 'allowed change')}. "
              "Run ./dev lock and commit what it writes in tests/lock.")
    else:
        print("The schema is as it was locked.")
    return bool(changes)


def renew(lock, changes, built, locked, retired, breaking_too):
    breaking = sum(map(is_breaking, changes))
    if not changes:
        print("The schema is as it was locked: nothing to renew.")
        return 0
    if breaking and not breaking_too:
        print(f"\nNot renewed because of {counted(breaking, 'breaking change')}. In a new major "
              "version, and only there: ./dev lock --breaking")
        return 1
    before, after = storage.numbers(locked), storage.numbers(built)
    left = {key: f"was {before[key]}" for key in before.keys() - after.keys()}
    kept = {key: reason for key, reason in {**retired, **left}.items() if key not in after}
    storage.write_locked(lock / "descriptors.txtpb", built)
    print(f"\nRenewed {lock / 'descriptors.txtpb'}: {counted(len(changes), 'change')}, "
          f"{breaking} of them breaking.")
    if kept != retired:
        storage.write_retired(lock / "retired.txt", kept)
        for name, number in sorted(kept.keys() - retired.keys()):
            print(f"Nobody may take number {number} of {name} from now on: {lock / 'retired.txt'}")
        for name, number in sorted(retired.keys() - kept.keys()):
            print(f"Number {number} of {name} is in use again: {lock / 'retired.txt'}")
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("descriptor_set", type=pathlib.Path, help="as the build wrote it")
    parser.add_argument("--lock", type=pathlib.Path, default=HERE, help="folder of the lock")
    parser.add_argument("--renew", action="store_true", help="make the built schema the lock")
    parser.add_argument("--breaking", action="store_true", help="even if that breaks programs")
    options = parser.parse_args()
    if options.breaking and not options.renew:
        parser.error("--breaking goes with --renew")

    built = storage.read_built(options.descriptor_set)
    locked = storage.read_locked(options.lock / "descriptors.txtpb")
    retired = storage.read_retired(options.lock / "retired.txt")
    changes = compare(locked, built, retired)
    for change in sorted(changes, key=is_breaking, reverse=True):
        print(described(change))
    if options.renew:
        return renew(options.lock, changes, built, locked, retired, options.breaking)
    return check(changes)


if __name__ == "__main__":
    sys.exit(main())
