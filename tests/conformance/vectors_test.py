"""A vector file that is not well formed is refused with its name, the line and the reason."""

import pathlib
import tempfile
import unittest

import vectors

TYPE = "  type   quor.protobuf.JQ.Result\n"
BYTES = "  bytes  08 01\n"
JSON = '  json   {"ok": true}\n'
GOOD = "A name\n" + TYPE + BYTES + JSON

MISTAKES = {
    "no name": (
        TYPE + BYTES + JSON, "f.txt:1: indented, but no case's name stands above it"),
    "a name with a full stop": (
        "A name.\n" + TYPE + BYTES + JSON, "f.txt:1: a case's name has no full stop"),
    "a name twice": (
        GOOD + "\n" + GOOD, "f.txt:6: line 1 has this name already"),
    "no blank line between cases": (
        GOOD + "Another name\n" + TYPE + BYTES + JSON,
        "f.txt:5: no blank line before 'Another name'"),
    "a blank line within a case": (
        "A name\n" + TYPE + BYTES + "\n" + JSON,
        "f.txt:1: the case 'A name' needs either 'refused' or 'json'"),
    "an unknown key": (
        "A name\n" + TYPE + "  byts   08 01\n" + JSON,
        "f.txt:3: 'byts' is none of bytes, json, refused, type, writes"),
    "a key without a value": (
        "A name\n" + TYPE + "  bytes\n" + JSON, "f.txt:3: nothing follows 'bytes'"),
    "a second type": (
        "A name\n" + TYPE + TYPE + BYTES + JSON, "f.txt:3: a second 'type' in the case 'A name'"),
    "a second value": (
        "A name\n" + TYPE + BYTES + JSON + JSON, "f.txt:5: a second 'json' in the case 'A name'"),
    "no type": (
        "A name\n" + BYTES + JSON, "f.txt:1: the case 'A name' has no 'type'"),
    "a type that is not a full name": (
        "A name\n  type   Result\n" + BYTES + JSON,
        "f.txt:2: 'Result' is not the full name of a message"),
    "no bytes": (
        "A name\n" + TYPE + JSON, "f.txt:1: the case 'A name' has no 'bytes'"),
    "half a byte": (
        "A name\n" + TYPE + "  bytes  08 1\n" + JSON,
        "f.txt:3: '08 1' is not made of pairs of hexadecimal digits"),
    "a letter that is not a digit": (
        "A name\n" + TYPE + BYTES + "  bytes  0g\n" + JSON,
        "f.txt:4: '0g' is not made of pairs of hexadecimal digits"),
    "a byte across two lines": (
        "A name\n" + TYPE + "  bytes  08 0\n  bytes  1\n" + JSON,
        "f.txt:3: '08 0' is not made of pairs of hexadecimal digits"),
    "none next to bytes": (
        "A name\n" + TYPE + BYTES + "  bytes  none\n" + JSON,
        "f.txt:4: 'bytes  none' stands next to other bytes"),
    "no outcome": (
        "A name\n" + TYPE + BYTES, "f.txt:1: the case 'A name' needs either 'refused' or 'json'"),
    "two outcomes": (
        "A name\n" + TYPE + BYTES + JSON + "  refused why\n",
        "f.txt:1: the case 'A name' needs either 'refused' or 'json'"),
    "a refusal without a reason": (
        "A name\n" + TYPE + BYTES + "  refused\n", "f.txt:4: nothing follows 'refused'"),
    "a refused case that writes": (
        "A name\n" + TYPE + BYTES + "  refused why\n  writes 08 01\n",
        "f.txt:5: the case 'A name' is refused, so it writes nothing"),
    "bytes written that are those read": (
        "A name\n" + TYPE + BYTES + JSON + "  writes 0801\n",
        "f.txt:5: 'writes' is only for bytes that differ from those read"),
    "something that is not JSON": (
        "A name\n" + TYPE + BYTES + "  json   {ok: true}\n",
        "f.txt:4: not JSON: Expecting property name enclosed in double quotes: "
        "line 1 column 2 (char 1)"),
    "a NaN that is not a string": (
        "A name\n" + TYPE + BYTES + '  json   {"ok": NaN}\n',
        "f.txt:4: not JSON: NaN is not JSON; it is written as a string"),
    "a key of JSON twice": (
        "A name\n" + TYPE + BYTES + '  json   {"ok": true, "ok": false}\n',
        "f.txt:4: not JSON: the key 'ok' occurs twice"),
    "JSON that is not an object": (
        "A name\n" + TYPE + BYTES + "  json   [1]\n",
        "f.txt:4: the JSON of a message is an object"),
    "nothing": ("# only a comment\n", "f.txt:1: no case"),
}


class Malformed(unittest.TestCase):
    def test_each_mistake_is_reported_with_file_line_and_reason(self):
        for mistake, (text, message) in MISTAKES.items():
            with self.subTest(mistake):
                with self.assertRaises(vectors.Malformed) as raised:
                    vectors.parse(text, "f.txt")
                self.assertEqual(message, str(raised.exception))

    def test_bytes_that_are_not_text_are_reported_with_their_line(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "f.txt"
            path.write_bytes(b"A name\n  type   \xff\n")
            with self.assertRaises(vectors.Malformed) as raised:
                vectors.load(path)
            self.assertEqual("f.txt:2: not UTF-8", str(raised.exception))


class WellFormed(unittest.TestCase):
    def test_a_case_is_read_whole(self):
        text = ("# a comment\nA name\n" + TYPE + "  bytes  0a 01\n  # another\n  bytes  61\n"
                "  json   {\"a\": [1, -0.0]}\n  writes none\n")
        case, = vectors.parse(text, "f.txt")
        self.assertEqual(("f.txt:2", "A name", "quor.protobuf.JQ.Result", b"\x0a\x01a", b"", None),
                         (case.place, case.name, case.type, case.bytes, case.writes, case.refused))
        self.assertEqual(vectors.read_json('{"a": [1.0, -0]}'), case.json)
        self.assertNotEqual(vectors.read_json('{"a": [1.0, 0]}'), case.json)

    def test_bytes_are_written_as_they_were_read_by_default(self):
        case, = vectors.parse(GOOD, "f.txt")
        self.assertEqual(b"\x08\x01", case.writes)

    def test_a_value_without_json_differs_from_an_empty_one(self):
        case, = vectors.parse("A name\n" + TYPE + BYTES + "  json   none\n", "f.txt")
        self.assertIs(vectors.NO_JSON, case.json)


if __name__ == "__main__":
    unittest.main()
