"""qmsg diff compares two inputs field by field."""

import unittest

import tool
from tool import BAD_DATA, SELECT_1


class Diff(tool.ToolTest):
    def diff(self, a, b, *arguments, type_name="SqlQuery", code=BAD_DATA):
        self.file("a", a)
        self.file("b", b)
        given = ("--type", type_name) if type_name else ()
        return self.run_tool("diff", "a", "b", *given, *arguments, code=code)

    def test_of_equal_messages_is_empty(self):
        self.assertEqual("", self.diff(SELECT_1, SELECT_1, code=tool.FINE).text)

    def test_compares_messages_not_bytes(self):
        # The same two fields in another order, and a number that is longer than it has to be.
        self.diff(b"\x30\x01" + SELECT_1, SELECT_1 + b"\x30\x81\x00", code=tool.FINE)

    def test_treats_nan_as_equal_to_itself(self):
        nan = bytes.fromhex("29000000000000f87f")
        self.diff(nan, nan, type_name="QVal", code=tool.FINE)

    def test_lists_added_deleted_and_modified_fields(self):
        # query and status against query and rows.
        run = self.diff(SELECT_1 + b"\x30\x01", b"\x2a\x01x" + b"\x50\x02")
        self.assertEqual('modified: query: "SELECT 1" -> "x"\ndeleted: status: 1\nadded: rows: 2\n',
                         run.text)

    def test_distinguishes_set_from_unset_fields(self):
        self.assertEqual("added: connection_id: 0\n", self.diff(b"", b"\x10\x00").text)

    def test_names_elements_and_nested_fields(self):
        def query(text):
            return b"\x12" + bytes([len(text) + 2]) + b"\x2a" + bytes([len(text)]) + text

        run = self.diff(query(b"a") + query(b"b"), query(b"a") + query(b"c"), type_name="SqlQueries")
        self.assertEqual('modified: queries[1].query: "b" -> "c"\n', run.text)

    def test_escapes_control_characters_in_text_only(self):
        text = 'При "\\377 \x01\u202e'.encode()
        run = self.diff(b"", b"\x2a" + bytes([len(text)]) + text)
        self.assertEqual('added: query: "При \\"\\\\377 \\001\\u202e"\n', run.text)

    def test_of_streams_compares_the_messages_in_turn(self):
        run = self.diff(tool.delimited(SELECT_1, b"", b"\x30\x01"), tool.delimited(SELECT_1, b"\x30\x02"),
                        "--framing", "delimited")
        self.assertEqual("message 1:\nadded: status: 2\n"
                         "message 2:\ndeleted: quor.protobuf.Tarq.SqlQuery\n", run.text)

    def test_of_streams_that_name_types_reports_another_type(self):
        run = self.diff(tool.delimited(tool.in_any("quor.protobuf.Login.Login", b"")),
                        tool.delimited(tool.in_any("quor.protobuf.Login.Config", b"")),
                        "--framing", "any", type_name=None)
        self.assertEqual("message 0:\nmodified: type: quor.protobuf.Login.Login -> "
                         "quor.protobuf.Login.Config\n", run.text)

    def test_of_invalid_bytes_says_where(self):
        run = self.diff(SELECT_1, b"\x2a\x05")
        self.assertEqual("", run.text)
        self.assertEqual("qmsg diff: b: not a valid quor.protobuf.Tarq.SqlQuery: offset 1, query: a length of "
                         "5 bytes, but the message has only 0 left\n", run.errors)


if __name__ == "__main__":
    unittest.main()
