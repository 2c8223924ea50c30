"""What the schema files declare, to compare the generated pages with. A test that imports this
module can import those of website/ and tests/docs/links.py.

QMSG_DESCRIPTOR_SET: the descriptor set of the schema files, with comments.
"""

import os
import pathlib
import sys

from google.protobuf import descriptor_pb2

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "website"), str(ROOT / "tests/docs")]
import schema  # noqa: E402

CONTENT = pathlib.Path(os.environ["QMSG_DESCRIPTOR_SET"]).read_bytes()


def descriptor_set():
    return descriptor_pb2.FileDescriptorSet.FromString(CONTENT)


def model():
    return schema.Schema(descriptor_set())


def declared():
    """(file, full name, message or enum descriptor) of all types except map entries."""
    def walk(file, scope, messages, enums):
        for enum in enums:
            yield file, f"{scope}.{enum.name}", enum
        for message in messages:
            if not message.options.map_entry:
                yield file, f"{scope}.{message.name}", message
            yield from walk(file, f"{scope}.{message.name}", message.nested_type, message.enum_type)

    for file in descriptor_set().file:
        if file.package.startswith("quor."):
            yield from walk(file.name, file.package, file.message_type, file.enum_type)


# The wire types of the kinds that the schema files use.
WIRE_TYPES = {"bool": 0, "int32": 0, "int64": 0, "uint32": 0, "uint64": 0, "enum": 0, "double": 1,
              "string": 2, "message": 2}


def tag(field):
    """The tag in hexadecimal, for field numbers up to 15."""
    kind = descriptor_pb2.FieldDescriptorProto.Type.Name(field.type).removeprefix("TYPE_").lower()
    return f"{field.number * 8 + WIRE_TYPES[kind]:02x}"


def normal(text):
    return " ".join(text.split())


def made_up(comment="A comment.", number=1, type_="TYPE_STRING", **more):
    """A schema with one message that has one field."""
    kinds = descriptor_pb2.FieldDescriptorProto
    field = kinds(name="field", json_name="field", number=number, type=kinds.Type.Value(type_),
                  label=kinds.LABEL_OPTIONAL, **more)
    file = descriptor_pb2.FileDescriptorProto(
        name="made.proto", package="quor.protobuf.Made", syntax="proto3",
        message_type=[descriptor_pb2.DescriptorProto(name="Made", field=[field])])
    for path in ([4, 0], [4, 0, 2, 0]):
        file.source_code_info.location.add(path=path, leading_comments=f" {comment}\n")
    return descriptor_pb2.FileDescriptorSet(file=[file])
