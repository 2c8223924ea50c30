"""Reads and writes the locked schema: its descriptors, and the numbers nobody may take."""

import re
import sys

from google.protobuf import descriptor_pb2, text_format
from google.protobuf.message import DecodeError

HEADER = """\
# The schema as it was promised to everyone who uses it: a google.protobuf.FileDescriptorSet, in
# text form, without comments and without protobuf's own files. Renewed by ./dev lock.
"""
RETIRED_HEADER = """\
# Numbers that no field or enum value may take: full name of the type, number, why.
# ./dev lock --breaking adds those that a change left behind.
"""


def comparable(descriptor_set):
    """Without what does not matter here: comments, protobuf's own files, the order of files."""
    files = [file for file in descriptor_set.file if not file.name.startswith("google/protobuf/")]
    result = descriptor_pb2.FileDescriptorSet()
    for file in sorted(files, key=lambda file: file.name):
        result.file.add().CopyFrom(file)
        result.file[-1].ClearField("source_code_info")
    return result


def read_built(path):
    try:
        built = descriptor_pb2.FileDescriptorSet.FromString(path.read_bytes())
    except OSError as error:
        sys.exit(f"{path}: {error.strerror}. Build the library first.")
    except DecodeError:
        sys.exit(f"{path}: this is not a descriptor set.")
    if not built.file:
        sys.exit(f"{path}: there is no schema file in it.")
    return comparable(built)


def read_locked(path):
    try:
        return text_format.Parse(path.read_text(), descriptor_pb2.FileDescriptorSet())
    except OSError as error:
        sys.exit(f"{path}: {error.strerror}.")
    except text_format.ParseError as error:
        sys.exit(f"{path}:{error}")


def write_locked(path, descriptor_set):
    text = text_format.MessageToString(descriptor_set)
    # One line for a field, so that a change of one is a change of a line.
    innermost = re.compile(r"\{\n([^{}]*)\n *\}")
    text = innermost.sub(lambda block: "{ " + re.sub(r"\n *", " ", block[1].strip()) + " }", text)
    path.write_text(HEADER + text)


def read_retired(path):
    """Why nobody may take a number, by full name of the type and number."""
    retired = {}
    try:
        lines = path.read_text().splitlines()
    except OSError as error:
        sys.exit(f"{path}: {error.strerror}.")
    for count, line in enumerate(lines, start=1):
        if not line or line.startswith("#"):
            continue
        match = re.fullmatch(r"([\w.]+) +(-?\d+) +(\S.*)", line)
        if not match:
            sys.exit(f"{path}:{count}: expected the name of a type, a number and a reason.")
        retired[match[1], int(match[2])] = match[3]
    return retired


def write_retired(path, retired):
    lines = [f"{name}  {number}  {reason}\n"
             for (name, number), reason in sorted(retired.items())]
    path.write_text(RETIRED_HEADER + "".join(lines))


def numbers(descriptor_set):
    """What has which number, by full name of the type and number."""
    found = {}

    def visit(messages, enums, scope):
        for enum in enums:
            for value in enum.value:
                found[scope + enum.name, value.number] = f"value {value.name}"
        for message in messages:
            for field in message.field:
                found[scope + message.name, field.number] = f"field {field.name}"
            visit(message.nested_type, message.enum_type, f"{scope}{message.name}.")

    for file in descriptor_set.file:
        visit(file.message_type, file.enum_type, f"{file.package}.")
    return found
