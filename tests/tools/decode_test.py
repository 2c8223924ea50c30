"""qmsg decode prints bytes as JSON and text, and reports faults with their place."""

import json
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
        self.assertEqual('{\n  "connection_id": 0,\n  "query": "SELECT 1",\n  "duration": "0.001500s"\n}\n',
                         self.decode(given).text)
        self.assertEqual('{"connection_id":0,"query":"SELECT 1","duration":"0.001500s"}\n',
                         self.decode(given, "--compact").text)

    def test_prints_text_with_readable_strings(self):
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

    def test_leaves_the_angle_brackets_of_a_text_as_they_are(self):
        texts = ["$a->b < c", r"\u003e", r"\\u003c", "a\nb  c", "\x7f"]
        for text in texts:
            given = tool.tagged(5, text.encode())
            for arguments in ((), ("--compact",)):
                with self.subTest(text=text, arguments=arguments):
                    printed = self.decode(given, *arguments).text
                    self.assertEqual({"query": text}, json.loads(printed))
        self.assertEqual('{"query":"$a->b < c"}\n',
                         self.decode(tool.tagged(5, b"$a->b < c"), "--compact").text)

    def test_leaves_out_and_counts_types_that_the_schema_does_not_have(self):
        # The runtime has Struct.
        given = tool.delimited(tool.in_any("quor.Newer", SELECT_1),
                               tool.in_any("quor.protobuf.Tarq.SqlQuery", SELECT_1),
                               tool.in_any("google.protobuf.Struct", b""),
                               tool.in_any("quor.Newer", b""))
        run = self.run_tool("decode", "--framing", "any", "--compact", given=given)
        self.assertEqual(
            '{"@type":"type.googleapis.com/quor.protobuf.Tarq.SqlQuery","query":"SELECT 1"}\n', run.text)
        self.assertEqual(
            "qmsg: 'standard input': left out 1 message: the schema has no type "
            "'type.googleapis.com/google.protobuf.Struct'\n"
            "qmsg: 'standard input': left out 2 messages: the schema has no type "
            "'type.googleapis.com/quor.Newer'\n", run.errors)

    def test_prints_positions(self):
        query = tool.in_any("quor.protobuf.Tarq.SqlQuery", SELECT_1)
        given = tool.delimited(query, tool.in_any("google.protobuf.Duration", b"\x08\x05"))
        self.file('a "b"', given)
        for arguments in ((), ("--compact",)):
            with self.subTest(arguments):
                run = self.run_tool("decode", "--framing", "any", "--with-position", *arguments, 'a "b"')
                decoder, text, found = json.JSONDecoder(), run.text, []
                while text:
                    value, end = decoder.raw_decode(text)
                    found.append(value)
                    text = text[end:].lstrip()
                self.assertEqual([
                    {"@file": 'a "b"', "@message": 0, "@offset": given.index(SELECT_1),
                     "@type": "type.googleapis.com/quor.protobuf.Tarq.SqlQuery", "query": "SELECT 1"},
                    {"@file": 'a "b"', "@message": 1, "@offset": len(given) - 2,
                     "@type": "type.googleapis.com/google.protobuf.Duration", "value": "5s"}], found)
        for given, type_name, to, expected in [
                (b"", "SqlQuery", "json", '{"@file":"standard input","@message":0,"@offset":0}\n'),
                (b"\x08\x05", "google.protobuf.Duration", "json",
                 '{"@file":"standard input","@message":0,"@offset":0,"value":"5s"}\n'),
                (SELECT_1, "SqlQuery", "text",
                 '# standard input: message 0 at offset 0\nquery: "SELECT 1" \n')]:
            with self.subTest(expected):
                self.assertEqual(expected, self.decode(given, "--with-position", "--compact", "--to", to,
                                                       type_name=type_name).text)

    def test_counts_unknown_fields_with_their_offsets_and_keeps_them_in_text(self):
        # Field 19, a number, at 0; error, field 8, with field 2 inside, at 5; a group 20 at 7.
        given = bytes.fromhex("980105" "4202" "1001" "a301" "0801" "a401")
        run = self.decode(given)
        self.assertEqual('{\n  "error": {}\n}\n', run.text)
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

    def test_says_where_bytes_are_not_a_valid_message(self):
        # error, field 8, at 0, holds message, field 1, whose text begins at 4.
        run = self.decode(bytes.fromhex("4204" "0a02" "41ff"), code=BAD_DATA)
        self.assertEqual("", run.text)
        self.assertEqual("qmsg: standard input: not a valid quor.protobuf.Tarq.SqlQuery: offset 5, "
                         "error.message: byte 0xff is not valid UTF-8\n", run.errors)

    def test_refuses_times_that_json_cannot_represent(self):
        # duration, field 9, at 0: seconds, field 1, at 2; nanos, field 2. A negative number has ten
        # bytes: -500,000,000 is 80b6ca91feffffffff01, and 500,000,000 is 80cab5ee01.
        one_less_half = "4a0d" "0801" "1080b6ca91feffffffff01"
        minus_one_and_half = "4a11" "08ffffffffffffffffff01" "1080cab5ee01"
        # timestamp of Tarq.Error, field 2: seconds are -2^63.
        before_time = "120b" "0880808080808080808001"
        cases = [
            ("SqlQuery", one_less_half,
             "duration.nanos: -500000000 does not have the sign of the seconds, 1",
             "duration {\n  seconds: 1\n  nanos: -500000000\n}\n"),
            ("SqlQuery", minus_one_and_half,
             "duration.nanos: 500000000 does not have the sign of the seconds, -1",
             "duration {\n  seconds: -1\n  nanos: 500000000\n}\n"),
            ("Tarq.Error", before_time,
             "timestamp.seconds: -9223372036854775808 is outside "
             "-62135596800..253402300799",
             "timestamp {\n  seconds: -9223372036854775808\n}\n"),
        ]
        for type_name, digits, reason, text in cases:
            with self.subTest(reason):
                given = bytes.fromhex(digits)
                run = self.decode(given, type_name=type_name, code=BAD_DATA)
                self.assertEqual(("", f"qmsg: standard input: JSON cannot represent it: {reason}; "
                                      "--to text can\n"), (run.text, run.errors))
                run = self.decode(given, "--to", "text", type_name=type_name)
                self.assertEqual((text, ""), (run.text, run.errors))
                encoded = self.run_tool("encode", "--type", type_name, "--from", "text",
                                        given=text.encode())
                self.assertEqual(given, encoded.bytes)

    def test_refuses_times_in_a_stream_with_the_message(self):
        # duration comes in two halves, which a parser merges.
        content = bytes.fromhex("4a02" "0801" "4a0b" "1080b6ca91feffffffff01")
        given = tool.delimited(tool.in_any("quor.protobuf.Tarq.SqlQuery", content),
                               tool.in_any("quor.protobuf.Tarq.SqlQuery", SELECT_1))
        run = self.run_tool("decode", "--framing", "any", "--compact", "--keep-going", given=given,
                            code=BAD_DATA)
        self.assertEqual('{"@type":"type.googleapis.com/quor.protobuf.Tarq.SqlQuery",'
                         '"query":"SELECT 1"}\n', run.text)
        self.assertEqual("qmsg: standard input: message 0 at offset 52: JSON cannot represent it: "
                         "duration.nanos: -500000000 does not have the sign of the "
                         "seconds, 1; --to text can\n", run.errors)

    def test_takes_a_time_that_a_later_one_replaces(self):
        # attr_list, a map, field 1 at 0: key 1; value, a QVal with tm_value, field 7, whose nanos are
        # -1. The same key again at 23, with an empty value.
        given = bytes.fromhex("0a15" "0801" "1211" "0807" "3a0d" "0801" "10ffffffffffffffffff01"
                              "0a04" "0801" "1200")
        run = self.decode(given, "--compact", type_name="AttrList")
        self.assertEqual('{"attr_list":{"1":{}}}\n', run.text)

    def test_prints_negative_durations(self):
        # -1.5 s, and -0.5 s.
        for digits, json in (("4a16" "08ffffffffffffffffff01" "1080b6ca91feffffffff01", "-1.500s"),
                             ("4a0b" "1080b6ca91feffffffff01", "-0.500s")):
            given = bytes.fromhex(digits)
            text = self.decode(given, "--compact").text
            self.assertEqual(f'{{"duration":"{json}"}}\n', text)
            encoded = self.run_tool("encode", "--type", "SqlQuery", given=text.encode())
            self.assertEqual(given, encoded.bytes)


class BadMessage(tool.ToolTest):
    # At 0 a length, the first message at 1; a length at 11; two bytes that are none at 12; a length
    # at 14, the third message at 15.
    STREAM = tool.delimited(SELECT_1, b"\x2a\x09", SELECT_1)

    def decode(self, *arguments, given=STREAM):
        return self.run_tool("decode", "--type", "SqlQuery", "--framing", "delimited", "--compact",
                             *arguments, given=given, code=BAD_DATA)

    def test_in_a_stream_is_reported_with_its_index_and_offset_and_ends_it(self):
        run = self.decode()
        self.assertEqual('{"query":"SELECT 1"}\n', run.text)
        self.assertEqual("qmsg: standard input: message 1 at offset 12: not a valid "
                         "quor.protobuf.Tarq.SqlQuery: offset 13, query: a length of 9 bytes, but "
                         "the message has only 0 left\n", run.errors)

    def test_is_skipped_with_keep_going(self):
        run = self.decode("--keep-going")
        self.assertEqual('{"query":"SELECT 1"}\n' * 2, run.text)
        self.assertIn("message 1 at offset 12", run.errors)

    def test_with_a_bad_length_ends_only_its_file_with_keep_going(self):
        self.file("cut.bin", self.STREAM[:-1])
        self.file("good.bin", tool.delimited(SELECT_1))
        run = self.decode("--keep-going", "cut.bin", "good.bin")
        self.assertEqual('{"query":"SELECT 1"}\n' * 2, run.text)
        self.assertIn("qmsg: cut.bin: message 2 at offset 15: its length is 10 bytes, but the input "
                      "has only 9 left\n", run.errors)

    def test_cannot_be_skipped_without_a_valid_length(self):
        cases = [
            (b"\xff" * 5, "message 0 at offset 0: not a valid message length"),
            (b"\x80\x80\x80\x80\x08", "message 0 at offset 0: not a valid message length"),
            (b"\x80", "message 0 at offset 0: the input ends inside its length"),
        ]
        for given, expected in cases:
            with self.subTest(given):
                self.assertIn(expected, self.decode("--keep-going", given=given).errors)

    def test_with_a_huge_length_does_not_allocate_it(self):
        given = b"\xff\xff\xff\xff\x07" + b"x"  # 2^31 - 1
        run = self.run_tool(
            "decode", "--type", "SqlQuery", "--framing", "delimited", given=given, code=BAD_DATA,
            preexec_fn=None if tool.SANITIZED else lambda: resource.setrlimit(
                resource.RLIMIT_AS, (1 << 30, 1 << 30)))
        self.assertIn("its length is 2147483647 bytes, but the input has only 1 left", run.errors)

    def test_that_is_not_an_any_of_a_schema_type_is_reported(self):
        cases = [
            (b"\x0a\x05", "not a valid google.protobuf.Any: offset 2, type_url: a length of 5 bytes"),
            (b"\x12\x00", "the google.protobuf.Any does not name its type; is the framing right?"),
            (tool.in_any("SqlQuery", b"", url=""), "the schema has no type 'SqlQuery'"),
            (tool.in_any("a b", b"", url="x/"), "the schema has no type 'x/a b'"),
        ]
        for message, expected in cases:
            with self.subTest(expected):
                run = self.run_tool("decode", "--framing", "any", given=tool.delimited(message),
                                    code=BAD_DATA)
                self.assertIn("message 0 at offset 1: " + expected, run.errors)


if __name__ == "__main__":
    unittest.main()
