"""website/schema.py reads names, tags, presence and indexes from the descriptor set.

QMSG_HEADERS: the folder of the generated headers.
"""

import os
import pathlib
import re
import unittest

from declarations import made_up, model

import schema
import wire

HEADERS = pathlib.Path(os.environ["QMSG_HEADERS"])


class Model(unittest.TestCase):
    def test_tags_and_presence_are_those_worked_out_by_hand(self):
        fields = {field.short_name: field
                  for message in model().messages for field in message.fields}
        for name, expected in {
                "SqlQuery.flags": ("38", "varint", "implicit", "0"),
                "SqlQuery.rows": ("50", "varint", "implicit", "0"),
                "SqlQuery.connection_id": ("10", "varint", "oneof", "0"),
                "SqlQuery.query": ("2a", "length-delimited", "implicit", '""'),
                "SqlQuery.duration": ("4a", "length-delimited", "tracked", "none"),
                "SqlQueries.queries": ("12", "length-delimited", "repeated", "empty"),
                "RequestHeaders.headers": ("12", "length-delimited", "repeated", "empty"),
                "AttrList.attr_list": ("0a", "length-delimited", "map", "empty"),
                "QVal.double_value": ("29", "fixed64", "oneof", "0"),
                "Event.event_type": ("08", "varint", "implicit", "SlowFunctionExecution"),
                "Event.codetrace": ("50", "varint", "implicit", "false")}.items():
            field = fields[name]
            with self.subTest(field=name):
                self.assertEqual(
                    (field.tag_hex, field.wire_type, field.presence, field.default), expected)

    def test_key_and_value_of_a_map_entry_have_their_own_tags(self):
        field = model().find("quor.protobuf.JQ.AttrList").fields[0]
        self.assertEqual((field.type_name, field.map_key.tag_hex, field.map_value.tag_hex),
                         ("map<int32, QVal>", "08", "12"))

    def test_tags_of_field_numbers_from_16_on_take_more_bytes(self):
        for number, type_, expected in ((15, "TYPE_INT32", "78"), (16, "TYPE_INT32", "80 01"),
                                        (16, "TYPE_STRING", "82 01"), (2047, "TYPE_BOOL", "f8 7f"),
                                        (2048, "TYPE_BOOL", "80 80 01"), (1, "TYPE_FLOAT", "0d")):
            with self.subTest(number=number, type=type_):
                [message] = schema.Schema(made_up(number=number, type_=type_)).messages
                self.assertEqual(message.fields[0].tag_hex, expected)

    def test_repeated_numbers_are_packed(self):
        made = made_up(type_="TYPE_INT32")
        field = made.file[0].message_type[0].field[0]
        field.label = field.LABEL_REPEATED
        field = schema.Schema(made).messages[0].fields[0]
        self.assertEqual((field.tag_hex, field.packed), ("0a", True))

    def test_enum_values_are_varints(self):
        self.assertEqual([wire.spaced(wire.varint(number)) for number in (0, 5, 300, -1)],
                         ["00", "05", "ac 02", "ff ff ff ff ff ff ff ff ff 01"])

    def test_a_type_knows_the_fields_that_use_it_and_the_types_that_it_uses(self):
        value = model().find("quor.protobuf.QuorPHP.QVal")
        holders = [f"{field.message.qualified_name}.{field.name}" for field in value.used_by]
        self.assertEqual(holders,
                         ["QuorPHP.SuperglobalValue.value", "QuorPHP.SuperglobalValue.old_value",
                          "QuorPHP.QuorArrayValue.value", "JQ.AttrList.attr_list",
                          "Monitor.CustomEventData.user_data"])
        self.assertEqual([type_.full_name for type_ in value.uses],
                         ["quor.protobuf.QuorPHP.QVal.Type", "google.protobuf.Timestamp"])

    def test_indexes_are_those_of_the_generated_classes(self):
        for file in model().files:
            header = (HEADERS / f"{file.stem}.pb.h").read_text()
            found = re.findall(r"^class (\w+) final :.*?kIndexInFileMessages =\s*(\d+);", header,
                               re.M | re.S)
            with self.subTest(file=file.name):
                self.assertTrue(found)
                self.assertEqual([(message.name, str(message.index)) for message in file.messages],
                                 found)


if __name__ == "__main__":
    unittest.main()
