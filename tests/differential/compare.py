"""Whether two builds of the library show the same for every input. The first that differs is shown
with its type, its bytes, the stages that differ, and what each of the builds does there.

usage: compare.py record CORPUS RECORD PLAIN_FOLDER PROGRAM...
       compare.py check CORPUS RECORD PLAIN_FOLDER OTHER_FOLDER PROGRAM...

The first writes RECORD: what the library of PLAIN_FOLDER shows. The second compares that of
OTHER_FOLDER with it. PROGRAM is the program, behind an emulator if it needs one. Exit status 0: the
same; 1: not; 2: cannot be compared.
"""

import os
import pathlib
import subprocess
import sys

END = "ends the process"
SHOWN_STAGES = 5
SHOWN_BYTES = 100


class Unusable(Exception):
    """There is nothing to compare."""


class Build:
    def __init__(self, program, folder):
        self.program, self.folder = program, pathlib.Path(folder).resolve()

    def run(self, *arguments):
        """(exit status, lines) of the program with this library."""
        environment = {**os.environ, "LD_LIBRARY_PATH": str(self.folder)}
        done = subprocess.run([*self.program, *arguments], env=environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if done.returncode not in (0, 1):
            raise Unusable(f"With the library of {self.folder}, {' '.join(arguments)} ended with "
                           f"status {done.returncode}.\n{done.stderr.strip()}")
        library, *lines = done.stdout.splitlines()
        if pathlib.Path(library).resolve().parent != self.folder:
            raise Unusable(f"The library of {self.folder} was to be used; '{library}' was.")
        return done.returncode, lines

    def stages(self, corpus, number):
        """[(name, result)] of the input. Names may repeat: a stage's lines of the log."""
        _, lines = self.run("show", corpus, number)
        return [(name, bytes.fromhex(digits)) for name, digits in
                (line.split("\t") for line in lines)]


def printed(result):
    """In a form that people can read; '-' is a result that is not there."""
    if result is None:
        return "-"
    if result and all(0x20 <= byte < 0x7F for byte in result):
        return result.decode("ascii")
    left_out = len(result) - SHOWN_BYTES
    return (result[:SHOWN_BYTES].hex(" ") or "no bytes") + (
        f" and {left_out} more bytes" if left_out > 0 else "")


def grouped(stages):
    """{name: [results]}"""
    groups = {}
    for name, result in stages:
        groups.setdefault(name, []).append(result)
    return groups


def differences(plain, other):
    """[(stage, result, result)]"""
    plain, other = grouped(plain), grouped(other)
    found = []
    for name in {**plain, **other}:
        results, others = plain.get(name, []), other.get(name, [])
        for i in range(max(len(results), len(others))):
            pair = [side[i] if i < len(side) else None for side in (results, others)]
            if pair[0] != pair[1]:
                found.append((name, *pair))
    # Why there is nothing of all later stages comes first.
    return sorted(found, key=lambda difference: difference[0] != END)


def report(number, plain, other):
    found = differences(plain, other)
    if not found:
        raise Unusable(f"Input {number} has another hash than in the record, yet shows the same. "
                       "The record is of another corpus, or runs of one build differ.")
    shown = dict(plain)
    lines = [f"Input {number} of type {shown['type'].decode()}: {shown['input'].hex() or 'no bytes'}"]
    for name, result, another in found[:SHOWN_STAGES]:
        lines += [f"  {name}", f"    plain build  {printed(result)}",
                  f"    this build   {printed(another)}"]
    if len(found) > SHOWN_STAGES:
        lines.append(f"  and {len(found) - SHOWN_STAGES} more stages")
    return "\n".join(lines)


def record(corpus, path, plain_folder, *program):
    _, lines = Build(program, plain_folder).run("record", corpus, path)
    print(f"{lines[-1]} recorded")
    return 0


def check(corpus, path, plain_folder, other_folder, *program):
    plain, other = Build(program, plain_folder), Build(program, other_folder)
    status, lines = other.run("check", corpus, path)
    if status == 0:
        print(f"{lines[-1]}: the same as the plain build")
        return 0
    print(report(lines[-1], plain.stages(corpus, lines[-1]), other.stages(corpus, lines[-1])))
    return 1


if __name__ == "__main__":
    commands = {"record": (record, 4), "check": (check, 5)}
    command, least = commands.get(sys.argv[1] if len(sys.argv) > 1 else "", (None, 0))
    if command is None or len(sys.argv) - 2 < least:
        sys.exit(__doc__)
    try:
        sys.exit(command(*sys.argv[2:]))
    except Unusable as reason:
        print(f"compare.py: {reason}", file=sys.stderr)
        sys.exit(2)
