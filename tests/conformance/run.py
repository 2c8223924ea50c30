"""Feeds every vector to a driver and compares its answers.

usage: run.py DRIVER_NAME[,DRIVER_NAME] COMMAND [ARGUMENT...]

The deviations of both names are expected.
"""

import collections
import fnmatch
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "implementations/reference"))
import reference  # noqa: E402
import vectors  # noqa: E402

DEVIATIONS = HERE / "deviations.txt"
SKIPPED = 3
UNREADABLE = object()


class Deviation:
    """One line of deviations.txt."""

    def __init__(self, place, columns):
        self.place = place
        drivers, self.what, self.pattern, self.instead, self.reason = columns
        self.drivers = drivers.split()
        self.kind, _, self.how = self.instead.partition(" ")
        if self.kind not in ("refused", "accepts", "writes", "json") or (
                self.kind in ("writes", "json")) != bool(self.how):
            raise vectors.Malformed(*place, f"'{self.instead}' is none of: refused, accepts, "
                                    "writes HOW, json HOW")
        self.hits = 0

    def explains(self, case, kind, answer):
        if self.kind != kind or not (fnmatch.fnmatchcase(case.name, self.pattern)
                                     or fnmatch.fnmatchcase(case.type, self.pattern)):
            return False
        if not self._as_described(case, answer):
            return False
        self.hits += 1
        return True

    def _as_described(self, case, answer):
        if self.kind == "json":
            return self.how == "otherwise" or answer.json == vectors.read_json(self.how)
        if self.kind != "writes" or self.how == "otherwise":
            return True
        if self.how == "known fields only":
            return answer.bytes == reference.write(reference.read(case.type, case.bytes), False)
        if self.how == "same value":
            try:
                again = reference.write(reference.read(case.type, answer.bytes))
            except reference.Refused:
                return False
            return again == case.writes
        return answer.bytes == bytes.fromhex(self.how)


def read_deviations(text, file):
    deviations = []
    for number, line in enumerate(text.splitlines(), 1):
        if not line.strip() or line.lstrip().startswith("#"):
            continue
        columns = [column.strip() for column in line.split("|")]
        if len(columns) != 5 or not all(columns):
            raise vectors.Malformed(file, number, "a deviation has five columns: drivers | what | "
                                    "case or type pattern | what it does instead | reason")
        deviations.append(Deviation((file, number), columns))
    return deviations


class Answer:
    """One line of a driver's output. Raises ValueError."""

    def __init__(self, line):
        word, _, rest = line.partition(" ")
        self.accepted, self.bytes, self.json, self.json_text = False, None, None, ""
        if line == "refused":
            return
        if word != "accepted" or not rest:
            raise ValueError(line)
        self.accepted = True
        content, _, self.json_text = rest.partition(" ")
        self.bytes = b"" if content == "-" else bytes.fromhex(content)
        self.json = self._value(self.json_text)

    @staticmethod
    def _value(text):
        try:
            return vectors.read_json(text) if text else None
        except ValueError:
            # No case expects this, but it may be a recorded deviation of the driver.
            return UNREADABLE


def spaced(content):
    return content.hex(" ") or "no bytes"


def compare(case, answer, driver_has_json):
    """Yields (kind of deviation, expected, found) for each difference."""
    if case.refused and answer.accepted:
        yield "accepts", f"refused: {case.refused}", f"accepted, and wrote {spaced(answer.bytes)}"
    elif not case.refused and not answer.accepted:
        yield "refused", f"accepted, and writes {spaced(case.writes)}", "refused"
    elif answer.accepted:
        if answer.bytes != case.writes:
            yield "writes", f"writes {spaced(case.writes)}", f"wrote {spaced(answer.bytes)}"
        if driver_has_json and case.json is not vectors.NO_JSON and answer.json != case.json:
            yield "json", f"JSON {case.json_text}", f"JSON {answer.json_text or 'missing'}"


def check(cases, lines, deviations):
    """The differences between the cases and a driver's answers, as text."""
    if len(lines) != len(cases):
        return [f"{len(cases)} questions, but {len(lines)} answers"]
    answers, problems = [], []
    for case, line in zip(cases, lines):
        try:
            answers.append(Answer(line))
        except ValueError:
            answers.append(None)
            problems.append(f"{case.place}: {case.name}\n  not an answer: {line}")
    driver_has_json = any(answer and answer.json_text for answer in answers)
    for case, answer in zip(cases, answers):
        if not answer:
            continue
        for kind, expected, found in compare(case, answer, driver_has_json):
            if not any([known.explains(case, kind, answer) for known in deviations]):
                problems.append(f"{case.place}: {case.name}\n  {case.type}\n"
                                f"  read      {spaced(case.bytes)}\n"
                                f"  expected  {expected}\n  found     {found}")
    for known in deviations:
        if not known.hits:
            file, number = known.place
            problems.append(f"{file}:{number}: no longer deviates by '{known.what}' "
                            f"({known.pattern}: {known.instead})")
    return problems


def ask(command, cases):
    questions = "".join(f"{case.type} {case.bytes.hex() or '-'}\n" for case in cases)
    # stderr is of interest only if the driver fails: many drivers complain of refused bytes.
    answered = subprocess.run(command, input=questions, capture_output=True, encoding="utf-8")
    if answered.returncode != 0:
        sys.exit(f"{answered.stderr}{' '.join(command)} ended with {answered.returncode}")
    # Not splitlines(): JSON may contain other characters that splitlines() takes for line ends.
    return answered.stdout.removesuffix("\n").split("\n")


def leave_if_not_built(command):
    missing = pathlib.Path(command[0]).parent / "missing"
    if missing.exists():
        print(missing.read_text().strip())
        sys.exit(SKIPPED)


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__.strip())
    driver, command = sys.argv[1], sys.argv[2:]
    leave_if_not_built(command)
    try:
        cases = vectors.load_all()
        deviations = [known for known in read_deviations(DEVIATIONS.read_text(encoding="utf-8"),
                                                         DEVIATIONS.name)
                      if set(driver.split(",")) & set(known.drivers)]
    except vectors.Malformed as error:
        sys.exit(str(error))
    problems = check(cases, ask(command, cases), deviations)
    for problem in problems:
        print(problem + "\n")
    print(f"{driver}: {len(cases)} cases, {len(problems)} problems")
    for what, hits in _counted(deviations).items():
        print(f"  deviates as recorded: {what} ({hits})")
    sys.exit(1 if problems else 0)


def _counted(deviations):
    counted = collections.Counter()
    for known in deviations:
        counted[known.what] += known.hits
    return counted


if __name__ == "__main__":
    main()
