#!/usr/bin/env python3
"""Writes the *.generated.txt beside it: what is tried with every field, every length or every byte,
where writing it by hand would only be copying. Expectations come from
implementations/reference/reference.py, which knows the declarations and no protobuf library.

usage: generate.py           writes the files
       generate.py --check   names the files that are out of date, and fails if there is one
"""

import itertools
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "implementations/reference"))

import reference  # noqa: E402
from reference import (END_GROUP, FIXED32, FIXED64, LENGTH, SCHEMA, START_GROUP,  # noqa: E402
                       VARINT, length_delimited, tag, varint)


class File:
    def __init__(self):
        self.blocks = ["# Written by generate.py: change that, and run it."]

    def add(self, name, type_name, data):
        lines = [name, f"  type   {type_name}", f"  bytes  {data.hex(' ') or 'none'}"]
        try:
            message = reference.read(type_name, data)
        except reference.Refused as reason:
            lines.append(f"  refused {reason}")
        else:
            lines.append(f"  json   {reference.json_text(message)}")
            written = reference.write(message)
            if written != data:
                lines.append(f"  writes {written.hex(' ') or 'none'}")
        self.blocks.append("\n".join(lines))

    def text(self):
        return "\n\n".join(self.blocks) + "\n"


# --- Every field ---------------------------------------------------------------------------------

# Of each class of bytes that are not UTF-8, one.
NOT_TEXT = ("80", "c080", "e080af", "eda080", "f08080af", "f4908080", "c3", "e282", "f09f98", "fe")


def content(field, number):
    """What stands behind the field's tag: for 0 its default, for 1 and 2 two other values."""
    if field.label == "map":
        return length_delimited(bytes([8, 5, 18, 2, 8, number]))
    if field.type in SCHEMA.messages:
        # An unknown field in it shows what was merged, and in which order.
        return length_delimited(tag(100, VARINT) + varint(number) if number else b"")
    if field.type == "string":
        return length_delimited(("", "a", "é")[number].encode())
    if field.type == "double":
        return bytes.fromhex(("00" * 8, "000000000000f03f", "00" * 7 + "80")[number])
    return varint((0, 1, -1)[number])


def as_wire_type(number, wire_type):
    return tag(number, wire_type) + {
        VARINT: varint(150),
        FIXED64: bytes(range(8)),
        LENGTH: length_delimited(b"\xff\x00"),
        START_GROUP: tag(1, VARINT) + varint(1) + tag(number, END_GROUP),
        FIXED32: bytes(range(4)),
    }[wire_type]


WIRE_TYPES = {VARINT: "a varint", FIXED64: "eight bytes", LENGTH: "a length and bytes",
              START_GROUP: "a group", FIXED32: "four bytes"}


def add_fields(file, type_name, wrong_wire_types, not_text):
    for field in SCHEMA.messages[type_name].values():
        name = f"{type_name.split('.')[-1]}.{field.name}"
        right = SCHEMA.wire_type(field)
        start = tag(field.number, right)
        zero, one, two = (start + content(field, number) for number in range(3))
        file.add(f"{name} with its default on the wire", type_name, zero)
        file.add(f"{name} twice", type_name, one + two)
        file.add(f"{name} and then its default", type_name, one + zero)
        wrong = next(wire_type for wire_type in wrong_wire_types if wire_type != right)
        file.add(f"{name} as {WIRE_TYPES[wrong]}", type_name,
                 as_wire_type(field.number, wrong) + one)
        file.add(f"{name} cut off", type_name, two[:-1])
        if field.type == "string":
            file.add(f"{name} that is not text", type_name,
                     start + length_delimited(b"a" + bytes.fromhex(next(not_text))))


# --- Every length, every byte --------------------------------------------------------------------

def add_varints(file):
    header = "quor.protobuf.CT.Header"
    for length in range(1, 11):
        largest = min(2**(7 * length), 2**64) - 1
        file.add(f"The largest number of {length} bytes", header, tag(7, VARINT) + varint(largest))
        file.add(f"The smallest number of {length} bytes", header,
                 tag(7, VARINT) + varint(2**(7 * length - 7) if length > 1 else 1))
        longer = b"\x81" + b"\x80" * (length - 2) + b"\x00" if length > 1 else b"\x01"
        file.add(f"The number 1 in {length} bytes", header, tag(7, VARINT) + longer)
        file.add(f"A number that is cut off after {length} bytes", header,
                 tag(7, VARINT) + b"\xff" * length)
        file.add(f"Flags of {length} bytes, all bits set", header, tag(1, VARINT) + varint(largest))
        file.add(f"A reason of {length} bytes, all bits set", header,
                 tag(4, VARINT) + varint(largest))


def add_texts(file):
    """Lead bytes around each limit, with second bytes around each limit."""
    lengths = {0xc0: 2, 0xc1: 2, 0xc2: 2, 0xdf: 2, 0xe0: 3, 0xe1: 3, 0xec: 3, 0xed: 3, 0xee: 3,
               0xef: 3, 0xf0: 4, 0xf1: 4, 0xf3: 4, 0xf4: 4, 0xf5: 4}
    for lead, length in lengths.items():
        for second in (0x7f, 0x80, 0x8f, 0x90, 0x9f, 0xa0, 0xbf, 0xc0):
            text = bytes([lead, second]) + b"\x80" * (length - 2)
            file.add(f"The bytes {text.hex(' ').upper()} as a host name",
                     "quor.protobuf.Login.Login", tag(1, LENGTH) + length_delimited(text))


def add_groups(file):
    for depth in (1, 2, reference.GROUP_LIMIT, reference.GROUP_LIMIT + 1):
        file.add(f"Groups nested {depth} deep", "quor.protobuf.Login.Login",
                 tag(2, START_GROUP) * depth + tag(2, END_GROUP) * depth)


def sub(number, *parts):
    return tag(number, LENGTH) + length_delimited(b"".join(parts))


def num(number, value):
    return tag(number, VARINT) + varint(value)


def rich_event():
    value = sub(3, num(1, 5), tag(5, FIXED64), bytes.fromhex("0000000000000080"))
    arguments = sub(1, sub(1, "é".encode()), value) + sub(1, num(2, -1), num(9, 300))
    return b"".join([
        num(1, 5),
        sub(2, b"load"),
        sub(3, num(1, 1700000000), num(2, 5)),
        sub(4, sub(1, b"run"), sub(2, arguments), num(4, 70000)),
        sub(5, num(1, 1), sub(5)),
        sub(5),
        sub(9, sub(1, b"busy"), sub(3, num(1, 7), sub(7, num(1, 1))), num(4, -3)),
        num(10, 1),
        as_wire_type(11, START_GROUP),
        as_wire_type(12, FIXED64),
        as_wire_type(13, FIXED32),
        as_wire_type(300, LENGTH),
    ])


def add_truncations(file):
    event = rich_event()
    for length in range(len(event) + 1):
        file.add(f"The first {length} of the {len(event)} bytes of an event",
                 "quor.protobuf.Monitor.Event", event[:length])


# --- The files -----------------------------------------------------------------------------------

def generate():
    """The text of each file, by its name."""
    wrong_wire_types, not_text = itertools.cycle(WIRE_TYPES), itertools.cycle(NOT_TEXT)
    special = {"codetrace": [add_varints], "login": [add_texts, add_groups],
               "monitor": [add_truncations]}
    texts = {}
    for schema, types in SCHEMA.files.items():
        file = File()
        for type_name in types:
            add_fields(file, type_name, wrong_wire_types, not_text)
        for add in special.get(schema, []):
            add(file)
        texts[f"{schema}.generated.txt"] = file.text()
    return texts


def out_of_date():
    """Names of files that are not, or not as, they would be written; and of those too many."""
    texts = generate()
    found = {path.name: path.read_text(encoding="utf-8")
             for path in HERE.glob("*.generated.txt")}
    return sorted(name for name in texts.keys() | found.keys()
                  if texts.get(name) != found.get(name))


def main():
    if sys.argv[1:] == ["--check"]:
        if out_of_date():
            sys.exit(f"out of date, run tests/vectors/generate.py: {' '.join(out_of_date())}")
    elif sys.argv[1:]:
        sys.exit(__doc__.strip())
    else:
        for name, text in generate().items():
            (HERE / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
