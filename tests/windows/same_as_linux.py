"""Asks the driver for Linux and the one for Windows the same, and compares what they answer.

Usage: same_as_linux.py MODE LINUX_DRIVER WINDOWS_DRIVER...

The questions are random messages, of each type at least 100 that are accepted. The answers have to
be the same in verdict, bytes and JSON, in which only a map's order and the text of a number may differ.
"""

import collections
import itertools
import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "conformance"))

import run  # noqa: E402  (makes the reference implementation importable)
import random_messages  # noqa: E402
import vectors  # noqa: E402

COUNT = 20000
ENOUGH = 100  # accepted messages of a type


def cases():
    for type_name, content in itertools.islice(random_messages.Generator(seed=1), COUNT):
        yield vectors.Case(file="", line=0, name="", type=type_name, bytes=content, refused=None,
                           json=vectors.NO_JSON, json_text=None, writes=b"")


def content(answer):
    """Verdict and bytes, and the JSON's values."""
    verdict, _, text = answer.partition(" {")
    # Pairs and no dict: what is read as it comes may have a key twice.
    return verdict, text and json.loads("{" + text,
                                        object_pairs_hook=lambda pairs: sorted(pairs, key=str))


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    mode, linux, *windows = sys.argv[1:]
    if not pathlib.Path(linux).exists():
        sys.exit(f"There is no {linux} to compare with. First: cmake --preset gcc && "
                 "cmake --build --preset gcc --target conformance_cpp")
    asked = list(cases())
    on_linux, on_windows = run.ask([linux, mode], asked), run.ask([*windows, mode], asked)
    if not len(asked) == len(on_linux) == len(on_windows):
        sys.exit(f"{len(asked)} questions, {len(on_linux)} answers on Linux, {len(on_windows)} on "
                 "Windows")
    accepted, different = collections.Counter(), 0
    for case, one, other in zip(asked, on_linux, on_windows):
        accepted[case.type] += one.startswith("accepted")
        if one != other and content(one) != content(other):
            different += 1
            print(f"{case.type} {case.bytes.hex() or '-'}\n  Linux    {one}\n  Windows  {other}")
    few = [name for name in random_messages.TYPES if accepted[name] < ENOUGH]
    for name in few:
        print(f"{name}: only {accepted[name]} messages were accepted")
    print(f"{len(asked)} messages of {len(accepted)} types, {sum(accepted.values())} accepted, "
          f"{different} answered differently")
    sys.exit(bool(different or few))


if __name__ == "__main__":
    main()
