"""Every field, oneof member and enum value of the schema files occurs in a case written by hand."""

import os
import pathlib
import unittest

from google.protobuf import descriptor_pb2

import reference
import vectors


def _messages(scope, messages):
    for message in messages:
        name = f"{scope}.{message.name}"
        yield name, message
        yield from _messages(name, message.nested_type)


def declared(descriptor_set):
    """Everything that has to occur: {key of an occurrence: its name}."""
    wanted = {}
    for file in descriptor_set.file:
        for name, message in _messages(file.package, file.message_type):
            for field in message.field:
                kind = "field"
                if field.HasField("oneof_index"):
                    kind = f"member of the oneof {message.oneof_decl[field.oneof_index].name},"
                wanted[name, field.number] = f"{kind} {name}.{field.name} = {field.number}"
            for enum in message.enum_type:
                for value in enum.value:
                    wanted[f"{name}.{enum.name}", "value", value.number] = (
                        f"enum value {name}.{enum.name}.{value.name} = {value.number}")
    return wanted


def occurring(cases):
    found = set()

    def visit(type_name, field, value):
        found.add((type_name, field.number))
        if field.type in reference.SCHEMA.enums:
            found.add((field.type, "value", value))

    for case in cases:
        if not case.refused:
            reference.read(case.type, case.bytes, visit)
    return found


def missing(descriptor_set, cases):
    found = occurring(cases)
    return [name for key, name in declared(descriptor_set).items() if key not in found]


class Coverage(unittest.TestCase):
    def setUp(self):
        self.descriptor_set = descriptor_pb2.FileDescriptorSet.FromString(
            pathlib.Path(os.environ["QMSG_DESCRIPTOR_SET"]).read_bytes())

    def test_everything_that_is_declared_occurs_in_a_case_written_by_hand(self):
        lines = missing(self.descriptor_set, vectors.load_by_hand())
        if lines:
            self.fail("no case written by hand has\n  " + "\n  ".join(lines))

    def test_every_message_has_a_case_of_its_own(self):
        types = {case.type for case in vectors.load_by_hand()}
        names = [name for file in self.descriptor_set.file
                 for name, message in _messages(file.package, file.message_type)
                 if name.startswith("quor.") and not message.options.map_entry]
        self.assertEqual([], [name for name in names if name not in types])

    def test_a_missing_field_oneof_member_and_enum_value_are_named(self):
        text = ("Only a true result\n  type   quor.protobuf.JQ.Result\n  bytes  08 01\n"
                "  json   {\"ok\": true}\n")
        lines = missing(self.descriptor_set, vectors.parse(text, "made up"))
        self.assertNotIn("field quor.protobuf.JQ.Result.ok = 1", lines)
        self.assertIn("field quor.protobuf.JQ.Job.env = 7", lines)
        self.assertIn("field quor.protobuf.JQ.AttrList.AttrListEntry.value = 2", lines)
        self.assertIn("member of the oneof key, quor.protobuf.QuorPHP.QuorArrayValue.int_key = 2",
                      lines)
        self.assertIn("enum value quor.protobuf.CT.Header.DumpReason.USER = 0", lines)

    def test_a_refused_case_covers_nothing(self):
        text = ("A true result, and a zero\n  type   quor.protobuf.JQ.Result\n  bytes  08 01 00\n"
                "  refused there is no field number 0\n")
        lines = missing(self.descriptor_set, vectors.parse(text, "made up"))
        self.assertIn("field quor.protobuf.JQ.Result.ok = 1", lines)


if __name__ == "__main__":
    unittest.main()
