"""qmsg encode turns JSON and text into bytes, and reports faults with their place."""

import unittest

import tool
from tool import BAD_DATA, SELECT_1


class Encode(tool.ToolTest):
    def encode(self, given, *arguments, code=tool.FINE):
        return self.run_tool("encode", "--type", "SqlQuery", *arguments, given=given.encode(),
                             code=code)

    def test_accepts_the_names_of_the_schema_and_of_json(self):
        for given in ('{"query": "SELECT 1"}', ' { "query":"SELECT 1" } \n'):
            self.assertEqual(SELECT_1, self.encode(given).bytes)
        for given in ('{"connection_id": 0}', '{"connectionId": 0}'):
            self.assertEqual(bytes.fromhex("1000"), self.encode(given).bytes)

    def test_accepts_text(self):
        self.assertEqual(SELECT_1, self.encode('query: "SELECT 1"', "--from", "text").bytes)
        self.assertEqual(b"", self.encode("", "--from", "text").bytes)

    def test_writes_the_bytes_as_text_in_lines(self):
        long = "x" * 40
        self.assertEqual("2a0853454c4543542031\n",
                         self.encode('{"query": "SELECT 1"}', "--out", "hex").text)
        self.assertEqual("KghTRUxFQ1QgMQ==\n",
                         self.encode('{"query": "SELECT 1"}', "--out", "base64").text)
        self.assertEqual("2a28" + "78" * 30 + "\n" + "78" * 10 + "\n",
                         self.encode(f'{{"query": "{long}"}}', "--out", "hex").text)
        self.assertEqual("", self.encode("{}", "--out", "hex").text)

    def test_writes_the_streams_that_decode_reads(self):
        for text in ('{"query":"SELECT 1"}{} {"status":1}', '{"query":"SELECT 1"}\n{}\n{"status":1}\n'):
            run = self.encode(text, "--framing", "delimited")
            self.assertEqual(tool.delimited(SELECT_1, b"", b"\x30\x01"), run.bytes)
        for text in ('query: "SELECT 1"\n---\n---\nstatus: 1\n---\n',
                     'query: "SELECT 1"\n---\n---\nstatus: 1'):
            run = self.encode(text, "--from", "text", "--framing", "delimited")
            self.assertEqual(tool.delimited(SELECT_1, b"", b"\x30\x01"), run.bytes)
        self.assertEqual(b"", self.encode("", "--framing", "delimited").bytes)

    def test_ignores_braces_and_quotes_in_strings(self):
        run = self.encode(r'{"query":"}{\"\\"}{"query":"]"}', "--framing", "delimited")
        self.assertEqual(tool.delimited(b"\x2a\x04}{\"\\", b"\x2a\x01]"), run.bytes)

    def test_writes_an_any_for_each_message_that_names_its_type(self):
        given = b'{"@type": "type.googleapis.com/quor.protobuf.Tarq.SqlQuery", "query": "SELECT 1"}'
        run = self.run_tool("encode", "--framing", "any", given=given)
        self.assertEqual(tool.delimited(tool.in_any("quor.protobuf.Tarq.SqlQuery", SELECT_1)),
                         run.bytes)

    def test_says_where_the_text_is_wrong(self):
        cases = [
            ("json", "none", '{"qury": 1}', "the JSON value at line 1 is not a valid quor.protobuf.Tarq.SqlQuery: qury: Cannot find field"),
            ("json", "none", "", "the JSON value at line 1 is not a valid quor.protobuf.Tarq.SqlQuery: "),
            ("json", "none", '{"query": ', "Unexpected end of string"),
            ("json", "none", "{} {}", "the JSON value at line 1"),
            ("json", "delimited", '{}\n\n{"a" 1}', "message 1: the JSON value at line 3 is not a valid quor.protobuf.Tarq.SqlQuery: Expected : between key:value pair"),
            ("json", "delimited", "{}\nquery", "message 1: the JSON value at line 2"),
            ("text", "none", "status: 1\nquery: 5", "not a valid quor.protobuf.Tarq.SqlQuery: line 2, column 8: Expected string, got: 5"),
            ("text", "delimited", "---\nstatus: 1\n---\nquery: 5", "message 2: not a valid quor.protobuf.Tarq.SqlQuery: line 4, column 8"),
        ]
        for form, framing, given, expected in cases:
            with self.subTest(given):
                run = self.encode(given, "--from", form, "--framing", framing, code=BAD_DATA)
                self.assertIn("qmsg encode: standard input: ", run.errors)
                self.assertIn(expected, run.errors)

    def test_writes_the_messages_before_the_fault(self):
        run = self.encode('{"query":"SELECT 1"}{"a":1}', "--framing", "delimited", code=BAD_DATA)
        self.assertEqual(tool.delimited(SELECT_1), run.bytes)


if __name__ == "__main__":
    unittest.main()
