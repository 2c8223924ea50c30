"""Writes messages for the comparison of builds, one a line: the type, a blank, the bytes in
hexadecimal. They are the vectors, each also as a part of every message that it can be in, and random
messages. The same count gives the same file.

usage: corpus.py FILE COUNT_OF_RANDOM_MESSAGES
"""

import itertools
import pathlib
import sys

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(TESTS.parent / "implementations/reference"), str(TESTS / "fuzz")]

import random_messages  # noqa: E402
import seeds  # noqa: E402
import vectors  # noqa: E402

SEED = 1


def messages(count):
    for type_name, named in seeds.seeds_of_all(vectors.load_all()).items():
        for content in named.values():
            yield type_name, content
    yield from itertools.islice(random_messages.Generator(SEED), count)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], "w", encoding="ascii") as out:
        for type_name, content in messages(int(sys.argv[2])):
            out.write(f"{type_name} {content.hex()}\n")
