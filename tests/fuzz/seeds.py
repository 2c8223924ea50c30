"""Writes files to start from: FOLDER/<type>/<where it comes from>.

The seeds of a type are its vectors, and those of the types of its fields, each put into the field,
at any depth: the other parts of a message are then as good as the one that it is made for.

usage: seeds.py FOLDER
"""

import functools
import pathlib
import shutil
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "implementations/reference"))

import reference  # noqa: E402
import vectors  # noqa: E402

KEY = bytes([1 << 3, 5])  # of a map's entry: its field 1 is 5


def put_into(field, content):
    """The bytes of the message that has nothing but this sub-message."""
    if field.label == "map":
        content = KEY + reference.tag(2, reference.LENGTH) + reference.length_delimited(content)
    return reference.tag(field.number, reference.LENGTH) + reference.length_delimited(content)


def seeds_of_all(cases):
    """type -> {name: bytes}"""

    @functools.cache
    def seeds_of(type_name):
        seeds = {f"{pathlib.Path(case.file).stem}-{case.line}": case.bytes
                 for case in cases if case.type == type_name}
        for field in reference.SCHEMA.messages[type_name].values():
            if field.type in reference.SCHEMA.messages:
                seeds.update((f"{field.name}.{name}", put_into(field, content))
                             for name, content in seeds_of(field.type).items())
        return seeds

    return {type_name: seeds_of(type_name)
            for types in reference.SCHEMA.files.values() for type_name in types}


def write(folder, only=None):
    """Replaces what is there of these types, or of all. Returns how many seeds there are."""
    count = 0
    for type_name, seeds in seeds_of_all(vectors.load_all()).items():
        if only is None or type_name in only:
            shutil.rmtree(folder / type_name, ignore_errors=True)
            (folder / type_name).mkdir(parents=True)
            for name, content in seeds.items():
                (folder / type_name / name).write_bytes(content)
            count += len(seeds)
    return count


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    print(f"{write(pathlib.Path(sys.argv[1]))} seeds")
