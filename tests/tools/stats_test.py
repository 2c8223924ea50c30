"""qmsg stats counts messages, sizes and fields."""

import json
import unittest

import tool
from tool import BAD_DATA, SELECT_1


class Stats(tool.ToolTest):
    # Ten bytes; none; five: rows, field 10, and an unknown field.
    STREAM = tool.delimited(SELECT_1, b"", b"\x50\x02\x98\x01\x05")

    def stats(self, *arguments, given=STREAM, type_name="SqlQuery", framing="delimited", **options):
        given_type = ("--type", type_name) if type_name else ()
        return self.run_tool("stats", *given_type, "--framing", framing, *arguments, given=given,
                             **options)

    def test_counts_messages_sizes_and_the_bytes_of_fields(self):
        self.assertEqual("""\
  messages         bytes       min    median       99%       max  type
         3            15         0         5        10        10  quor.protobuf.Tarq.SqlQuery

quor.protobuf.Tarq.SqlQuery
        bytes      %       fields  path
           10   66.7            1  query
            3   20.0            1  19
            2   13.3            1  rows

largest messages
        bytes    message        offset  type, file
           10          0             1  quor.protobuf.Tarq.SqlQuery, standard input
            5          2            13  quor.protobuf.Tarq.SqlQuery, standard input
            0          1            12  quor.protobuf.Tarq.SqlQuery, standard input
""", self.stats().text)

    def test_counts_nested_fields_with_their_enclosing_field(self):
        # queries, field 2, twice: SELECT 1; and an error with a message of three bytes.
        given = b"\x12\x0a" + SELECT_1 + b"\x12\x07" + b"\x42\x05" + b"\x0a\x03abc"
        rows = json.loads(self.stats("--json", given=given, framing="none",
                                     type_name="SqlQueries").text)["types"][0]["fields"]
        self.assertEqual([{"path": "queries", "bytes": 21, "occurrences": 2},
                          {"path": "queries.query", "bytes": 10, "occurrences": 1},
                          {"path": "queries.error", "bytes": 7, "occurrences": 1},
                          {"path": "queries.error.message", "bytes": 5, "occurrences": 1}], rows)

    def test_separates_types(self):
        given = tool.delimited(tool.in_any("quor.protobuf.Tarq.SqlQuery", SELECT_1),
                               tool.in_any("quor.protobuf.Login.Login", b"\x0a\x01h"))
        found = json.loads(self.stats("--json", given=given, framing="any", type_name=None).text)
        self.assertEqual([("quor.protobuf.Login.Login", 1, 3), ("quor.protobuf.Tarq.SqlQuery", 1, 10)],
                         [(one["type"], one["messages"], one["bytes"]) for one in found["types"]])
        self.assertEqual([10, 3], [one["bytes"] for one in found["largest"]])

    def test_gives_the_quantiles_of_sizes_exactly(self):
        # Sizes 2 to 102; a text of n bytes makes n + 2.
        given = tool.delimited(*(b"\x2a" + bytes([size]) + b"x" * size for size in range(101)))
        found = json.loads(self.stats("--json", given=given).text)["types"][0]
        self.assertEqual((2, 52, 101, 102),
                         (found["min"], found["median"], found["p99"], found["max"]))

    def test_lists_the_given_number_of_large_messages(self):
        for count, expected in (("0", []), ("2", [0, 2])):
            found = json.loads(self.stats("--json", "--largest", count).text)["largest"]
            self.assertEqual(expected, [one["message"] for one in found])

    def test_does_not_count_a_bad_message(self):
        # The second message has a good field before the bad one.
        given = tool.delimited(SELECT_1, b"\x30\x01\x2a\x05", SELECT_1)
        run = self.stats("--json", "--keep-going", given=given, code=BAD_DATA)
        found = json.loads(run.text)["types"][0]
        self.assertEqual((2, 20), (found["messages"], found["bytes"]))
        self.assertEqual([{"path": "query", "bytes": 20, "occurrences": 2}], found["fields"])
        self.assertIn("message 1 at offset 12: not a valid quor.protobuf.Tarq.SqlQuery: offset 15, query: a "
                      "length of 5 bytes", run.errors)

    def test_counts_the_messages_of_all_files(self):
        for name in ("one", "two"):
            self.file(name, self.STREAM)
        found = json.loads(self.stats("--json", "one", "two").text)
        self.assertEqual(6, found["types"][0]["messages"])
        self.assertEqual(["one", "two"], [one["file"] for one in found["largest"][:2]])


if __name__ == "__main__":
    unittest.main()
