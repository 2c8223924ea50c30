"""Bytes become JSON and text, and what is wrong with them is told with its place."""

import resource
import unittest

import tool
from tool import BAD_DATA, SELECT_1


class Decode(tool.ToolTest):
    def decode(self, given, *arguments, type_name="SqlQuery", code=tool.FINE):
        return self.run_tool("decode", "--type", type_name, *arguments, given=given, code=code)

    def test_prints_json_with_the_names_of_the_schema(self):
        # connection_id, field 2, is 0 and set; duration, field 9, holds nanos, field 2, 1,500,000.
        given = bytes.fromhex("1000") + SELECT_1 + bytes.fromhex("4a04" "10e0c65b")
        self.assertEqual('{\n "connection_id": 0,\n "query": "SELECT 1",\n "duration": "0.001500s"\n}\n',
                         self.decode(given).text)
        self.assertEqual('{"connection_id":0,"query":"SELECT 1","duration":"0.001500s"}\n',
                         self.decode(given, "--compact").text)

    def test_prints_text_that_people_can_read(self):
        given = bytes.fromhex("2a06" "d09fd180d0b8")
        self.assertEqual('query: "При"\n', self.decode(given, "--to", "text").text)
        self.assertEqual('query: "При" \n', self.decode(given, "--to", "text", "--compact").text)

    def test_reads_a_stream_of_one_type(self):
        given = tool.delimited(SELECT_1, b"", bytes.fromhex("3001"))
        self.assertEqual('{"query":"SELECT 1"}\n{}\n{"status":1}\n',
                         self.decode(given, "--framing", "delimited", "--compact").text)
        self.assertEqual('query: "SELECT 1"\n---\n---\nstatus: 1\n---\n',
                         self.decode(given, "--framing", "delimited", "--to", "text").text)

    def test_reads_a_stream_that_names_its_types(self):
        given = tool.delimited(tool.in_any("quor.protobuf.Tarq.SqlQuery", SELECT_1),
                               tool.in_any("quor.protobuf.Login.Login", b"\x0a\x01h"))
        run = self.run_tool("decode", "--framing", "any", "--compact", given=given)
        self.assertEqual(
            '{"@type":"type.googleapis.com/quor.protobuf.Tarq.SqlQuery","query":"SELECT 1"}\n'
            '{"@type":"type.googleapis.com/quor.protobuf.Login.Login","hostname":"h"}\n', run.text)
        run = self.run_tool("decode", "--framing", "any", "--to", "text", "--compact", given=given)
        self.assertEqual('[type.googleapis.com/quor.protobuf.Tarq.SqlQuery] '
                         '{ query: "SELECT 1" } \n---\n'
                         '[type.googleapis.com/quor.protobuf.Login.Login] '
                         '{ hostname: "h" } \n---\n', run.text)

    def test_counts_unknown_fields_with_their_offsets_and_keeps_them_in_text(self):
        # Field 19, a number, at 0; error, field 8, with field 2 inside, at 5; a group 20 at 7.
        given = bytes.fromhex("980105" "4202" "1001" "a301" "0801" "a401")
        run = self.decode(given)
        self.assertEqual('{\n "error": {}\n}\n', run.text)
        self.assertEqual("qmsg: standard input: 3 unknown fields, 19 at offset 0, "
                         "error.2 at offset 5, 20 at offset 7\n", run.errors)
        run = self.decode(given, "--to", "text")
        self.assertEqual("error {\n  2: 1\n}\n19: 5\n20 {\n  1: 1\n}\n", run.text)

    def test_counts_a_declared_field_of_another_wire_type_as_unknown(self):
        self.assertEqual("qmsg: standard input: 1 unknown field, query at offset 0\n",
                         self.decode(bytes.fromhex("2805")).errors)

    def test_names_no_more_than_five_unknown_fields(self):
        run = self.decode(bytes.fromhex("980101" * 7))
        self.assertEqual("qmsg: standard input: 7 unknown fields, 19 at offset 0, 19 at offset 3, "
                         "19 at offset 6, 19 at offset 9, 19 at offset 12, ...\n", run.errors)

    def test_says_where_bytes_are_no_message(self):
        # error, field 8, at 0, holds message, field 1, whose text begins at 4.
        run = self.decode(bytes.fromhex("4204" "0a02" "41ff"), code=BAD_DATA)
        self.assertEqual("", run.text)
        self.assertEqual("qmsg: standard input: no quor.protobuf.Tarq.SqlQuery: offset 5, "
                         "error.message: byte 0xff is no valid UTF-8 there\n", run.errors)

    def test_says_what_json_cannot_carry_and_text_can(self):
        given = bytes.fromhex("0a0b" "0880808080808080808001")  # seconds of timestamp: -2^63
        run = self.decode(given.replace(b"\x0a\x0b", b"\x12\x0b"), type_name="Tarq.Error", code=BAD_DATA)
        self.assertIn("standard input: JSON cannot carry it: ", run.errors)
        self.assertIn("; --to text can", run.errors)
        run = self.decode(given.replace(b"\x0a\x0b", b"\x12\x0b"), "--to", "text",
                          type_name="Tarq.Error")
        self.assertEqual("timestamp {\n  seconds: -9223372036854775808\n}\n", run.text)


class BadMessage(tool.ToolTest):
    # At 0 a length, the first message at 1; a length at 11; two bytes that are none at 12; a length
    # at 14, the third message at 15.
    STREAM = tool.delimited(SELECT_1, b"\x2a\x09", SELECT_1)

    def decode(self, *arguments, given=STREAM):
        return self.run_tool("decode", "--type", "SqlQuery", "--framing", "delimited", "--compact",
                             *arguments, given=given, code=BAD_DATA)

    def test_in_a_stream_is_told_with_its_index_and_offset_and_ends_it(self):
        run = self.decode()
        self.assertEqual('{"query":"SELECT 1"}\n', run.text)
        self.assertEqual("qmsg: standard input: message 1 at offset 12: no "
                         "quor.protobuf.Tarq.SqlQuery: offset 13, query: a length of 9 bytes, but "
                         "the message has only 0 left\n", run.errors)

    def test_is_left_out_when_told_to_keep_going(self):
        run = self.decode("--keep-going")
        self.assertEqual('{"query":"SELECT 1"}\n' * 2, run.text)
        self.assertIn("message 1 at offset 12", run.errors)

    def test_ends_one_file_and_not_the_others_when_told_to_keep_going(self):
        self.file("cut.bin", self.STREAM[:-1])
        self.file("good.bin", tool.delimited(SELECT_1))
        run = self.decode("--keep-going", "cut.bin", "good.bin")
        self.assertEqual('{"query":"SELECT 1"}\n' * 2, run.text)
        self.assertIn("qmsg: cut.bin: message 2 at offset 15: its length is 10 bytes, but the input "
                      "has only 9 left\n", run.errors)

    def test_cannot_be_passed_over_where_there_is_no_length(self):
        cases = [
            (b"\xff" * 5, "message 0 at offset 0: there is no length of a message"),
            (b"\x80\x80\x80\x80\x08", "message 0 at offset 0: there is no length of a message"),
            (b"\x80", "message 0 at offset 0: the input ends inside of its length"),
        ]
        for given, expected in cases:
            with self.subTest(given):
                self.assertIn(expected, self.decode("--keep-going", given=given).errors)

    def test_of_a_long_length_takes_no_memory_before_there_are_bytes(self):
        given = b"\xff\xff\xff\xff\x07" + b"x"  # 2^31 - 1
        run = self.run_tool(
            "decode", "--type", "SqlQuery", "--framing", "delimited", given=given, code=BAD_DATA,
            preexec_fn=None if tool.SANITIZED else lambda: resource.setrlimit(
                resource.RLIMIT_AS, (1 << 30, 1 << 30)))
        self.assertIn("its length is 2147483647 bytes, but the input has only 1 left", run.errors)

    def test_that_is_no_any_or_of_no_type_of_the_schema_is_told(self):
        cases = [
            (b"\x0a\x05", "no google.protobuf.Any: offset 2, type_url: a length of 5 bytes"),
            (b"\x12\x00", "the google.protobuf.Any names no type; is the framing right?"),
            (tool.in_any("quor.Nothing", b""),
             "the type 'type.googleapis.com/quor.Nothing' is none of the schema's"),
            # The runtime has it.
            (tool.in_any("google.protobuf.Struct", b""),
             "the type 'type.googleapis.com/google.protobuf.Struct' is none of the schema's"),
        ]
        for message, expected in cases:
            with self.subTest(expected):
                run = self.run_tool("decode", "--framing", "any", given=tool.delimited(message),
                                    code=BAD_DATA)
                self.assertIn("message 0 at offset 1: " + expected, run.errors)


if __name__ == "__main__":
    unittest.main()
