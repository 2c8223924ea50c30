"""The views of `qmsg wire`, against views written by hand; and none of them loses a byte."""

import itertools
import os
import random
import subprocess
import textwrap
import unittest

import random_messages
import reference
import tool
from tool import PROGRAM, qmsg

BYTES = slice(8, 31)  # the columns of the bytes, while an offset has six digits


def view(hex_digits, *arguments):
    """(exit status, the lines of the view, standard error)"""
    status, output, errors = qmsg("wire", *arguments, stdin=bytes.fromhex(hex_digits))
    return status, output, errors


def bytes_of(output):
    """The bytes that stand in a view, and where they say that they stand."""
    found = bytearray()
    for line in output.splitlines()[1:]:
        if line[:6].strip():
            assert int(line[:6]) == len(found), line
            found += bytes.fromhex(line[BYTES])
    return bytes(found)


class Views(unittest.TestCase):
    """How views are compared."""

    maxDiff = None

    def check(self, hex_digits, expected, *arguments, faults=0):
        status, output, errors = view(hex_digits, *arguments)
        self.assertEqual(textwrap.dedent(expected).lstrip("\n"), output)
        self.assertEqual(1 if faults else 0, status)
        plural = "fault" if faults == 1 else "faults, each"
        told = {0: "", 1: "qmsg: standard input: 1 fault, marked <-\n"}.get(
            faults, f"qmsg: standard input: {faults} {plural} marked <-\n")
        self.assertEqual(told, errors)


class Fields(Views):
    """Each kind of field and of fault."""

    def test_text(self):
        self.check("2a 08 53454c4543542031", """
            offset  bytes                    quor.protobuf.Tarq.SqlQuery, 10 bytes
                 0  2a 08                    query (5, string): 8 bytes
                 2  53 45 4c 45 43 54 20 31    "SELECT 1"
            """, "--type", "SqlQuery")

    def test_numbers_with_and_without_a_sign(self):
        # -2 as a varint of ten bytes; 2^64 - 1; 0 in a oneof.
        self.check("08 feffffffffffffffff01 10 00 38 ffffffffffffffffff01", """
            offset  bytes                    quor.protobuf.Tarq.SqlQuery, 24 bytes
                 0  08 fe ff ff ff ff ff ff  statement_type (1, int32): -2
                 8  ff ff 01
                11  10 00                    connection_id (2, uint32): 0
                13  38 ff ff ff ff ff ff ff  flags (7, uint64): 18446744073709551615
                21  ff ff 01
            """, "--type", "SqlQuery")

    def test_numbers_that_are_truncated_to_32_bits(self):
        # 2^32 + 1 in an int32 and a uint32; 2 in a bool.
        self.check("08 8180808010 10 8180808010", """
            offset  bytes                    quor.protobuf.Tarq.SqlQuery, 12 bytes
                 0  08 81 80 80 80 10        statement_type (1, int32): 1, cut to 32 bits
                                                 from 4294967297
                 6  10 81 80 80 80 10        connection_id (2, uint32): 1, cut to 32 bits
                                                 from 4294967297
            """, "--type", "SqlQuery")
        self.check("08 02", """
            offset  bytes                    quor.protobuf.JQ.Result, 2 bytes
                 0  08 02                    ok (1, bool): true, written as 2
            """, "--type", "Result")

    def test_enums_doubles_flags_and_negative_numbers_of_64_bits(self):
        # 1.5 is 0x3ff8000000000000.
        self.check("08 05 10 01 20 ffffffffffffffffff01 29 000000000000f83f", """
            offset  bytes                    quor.protobuf.QuorPHP.QVal, 24 bytes
                 0  08 05                    value_type (1, QVal.Type): DOUBLE (5)
                 2  10 01                    bool_value (2, bool): true
                 4  20 ff ff ff ff ff ff ff  int_value (4, int64): -1
                12  ff ff 01
                15  29 00 00 00 00 00 00 f8  double_value (5, double): 1.5
                23  3f
            """, "--type", "QVal")
        self.check("08 63", """
            offset  bytes                    quor.protobuf.QuorPHP.QVal, 2 bytes
                 0  08 63                    value_type (1, QVal.Type): 99, not declared
            """, "--type", "QVal")

    def test_messages_in_messages_and_repeated_ones(self):
        self.check("12 04 4a 02 08 05 12 00", """
            offset  bytes                    quor.protobuf.Tarq.SqlQueries, 8 bytes
                 0  12 04                    queries[0] (2, SqlQuery): 4 bytes
                 2  4a 02                      duration (9, Duration): 2 bytes, 5s
                 4  08 05                        seconds (1, int64): 5
                 6  12 00                    queries[1] (2, SqlQuery): 0 bytes
            """, "--type", "SqlQueries")

    def test_times_are_readable(self):
        # 1000000000 seconds are 2001-09-09T01:46:40Z.
        self.check("12 06 08 8094ebdc03", """
            offset  bytes                    quor.protobuf.QuorPHP.RInitData, 8 bytes
                 0  12 06                    timestamp (2, Timestamp): 6 bytes,
                                                 2001-09-09T01:46:40Z
                 2  08 80 94 eb dc 03          seconds (1, int64): 1000000000
            """, "--type", "RInitData")

    def test_a_map(self):
        self.check("0a 06 08 07 12 02 08 01", """
            offset  bytes                    quor.protobuf.JQ.AttrList, 8 bytes
                 0  0a 06                    attr_list[0] (1, map entry): 6 bytes
                 2  08 07                      key (1, int32): 7
                 4  12 02                      value (2, QVal): 2 bytes
                 6  08 01                        value_type (1, QVal.Type): NUL (1)
            """, "--type", "AttrList")

    def test_fields_that_are_not_declared(self):
        self.check("10 07 1a 03 414243 23 08 01 24 2d 0000c03f 12 02 fffe", """
            offset  bytes                    quor.protobuf.Login.Login, 20 bytes
                 0  10 07                    field 2 (varint), not declared: 7
                 2  1a 03                    field 3 (len), not declared: 3 bytes, looks
                                                 like text
                 4  41 42 43                   "ABC"
                 7  23                       field 4 (group), not declared
                 8  08 01                      field 1 (varint): 1
                10  24                       end of group 4
                11  2d 00 00 c0 3f           field 5 (32-bit), not declared: 1069547520, as
                                                 a float 1.5
                16  12 02                    field 2 (len), not declared: 2 bytes, looks
                                                 like bytes
                18  ff fe
            """, "--type", "Login.Login")

    def test_a_wrong_wire_type(self):
        self.check("08 03", """
            offset  bytes                    quor.protobuf.Login.Login, 2 bytes
                 0  08 03                    field 1 (varint), but hostname is string: 3
            """, "--type", "Login.Login")

    def test_without_a_type(self):
        # A message with one in it, text, bytes; "\\n\\x01A" is a message and no text.
        self.check("0a 03 0a0141 12 02 4f4b 1a 02 ff00 08 ffffffffffffffffff01 "
                   "09 000000000000f83f 22 00", """
            offset  bytes                    a message of unknown type, 35 bytes
                 0  0a 03                    field 1 (len): 3 bytes, looks like a message
                 2  0a 01                      field 1 (len): 1 byte, looks like text
                 4  41                           "A"
                 5  12 02                    field 2 (len): 2 bytes, looks like text
                 7  4f 4b                      "OK"
                 9  1a 02                    field 3 (len): 2 bytes, looks like bytes
                11  ff 00
                13  08 ff ff ff ff ff ff ff  field 1 (varint): 18446744073709551615, signed
                21  ff ff 01                     -1
                24  09 00 00 00 00 00 00 f8  field 1 (64-bit): 4609434218613702656, as a
                32  3f                           double 1.5
                33  22 00                    field 4 (len): 0 bytes
            """)

    def test_long_values_are_shortened_and_say_by_how_many_bytes(self):
        # 26 letters in quotation marks and "... 34 more bytes" take 45 columns.
        self.check("2a 3c" + "61" * 60, f"""
            offset  bytes                    quor.protobuf.Tarq.SqlQuery, 62 bytes
                 0  2a 3c                    query (5, string): 60 bytes
                 2  61 61 61 61 61 61 61 ..    "{"a" * 26}"... 34 more bytes
            """, "--type", "SqlQuery")
        self.check("1a 0a" + "ff" * 10, """
            offset  bytes                    a message of unknown type, 12 bytes
                 0  1a 0a                    field 3 (len): 10 bytes, looks like bytes
                 2  ff ff ff ff ff ff ff ..    3 more bytes
            """)

    def test_in_full(self):
        # The character "ü" of two bytes begins in the first line and ends in the second.
        self.check("2a 0a 61616161616161 c3bc 62", """
            offset  bytes                    quor.protobuf.Tarq.SqlQuery, 12 bytes
                 0  2a 0a                    query (5, string): 10 bytes
                 2  61 61 61 61 61 61 61 c3    "aaaaaaaü"
                10  bc 62                      "b"
            """, "--type", "SqlQuery", "--full")

    def test_text_that_is_not_utf_8(self):
        self.check("0a 03 41ff42 0a 00", """
            offset  bytes                    quor.protobuf.Login.Login, 7 bytes
                 0  0a 03                    hostname (1, string): 3 bytes
                 2  41 ff 42                   "A\\xffB"
                                               <- at 3: byte 0xff is not valid UTF-8
                 5  0a 00                    hostname (1, string): 0 bytes
            """, "--type", "Login.Login", faults=1)

    def test_a_number_that_is_cut_off(self):
        self.check("08 80", """
            offset  bytes                    quor.protobuf.JQ.Result, 2 bytes
                 0  08                       ok (1, bool) <- a number is cut off: the
                                                 message ends inside it
                 1  80
            """, "--type", "Result", faults=1)

    def test_cut_off_values_are_shown_as_far_as_they_go(self):
        self.check("12 20 08 01 2a 10 4142", """
            offset  bytes                    quor.protobuf.Tarq.SqlQueries, 8 bytes
                 0  12 20                    queries[0] (2, SqlQuery) <- a length of 32
                                                 bytes, but the message has only 6 left
                 2  08 01                      statement_type (1, int32): 1
                 4  2a 10                      query (5, string) <- a length of 16 bytes,
                                                   but the message has only 2 left
                 6  41 42                        "AB"
            """, "--type", "SqlQueries", faults=2)

    def test_a_length_beyond_the_enclosing_message(self):
        # What stands behind that message is shown again.
        self.check("12 04 2a 09 4142 12 00", """
            offset  bytes                    quor.protobuf.Tarq.SqlQueries, 8 bytes
                 0  12 04                    queries[0] (2, SqlQuery): 4 bytes
                 2  2a                         query (5, string) <- a length of 9 bytes, but
                                                   the message around it has only 2 left
                 3  09 41 42
                 6  12 00                    queries[1] (2, SqlQuery): 0 bytes
            """, "--type", "SqlQueries", faults=1)

    def test_invalid_tags(self):
        self.check("0e 010203040506070809", """
            offset  bytes                    quor.protobuf.JQ.Result, 10 bytes
                 0  0e 01 02 03 04 05 06 07  <- wire type 6 in the tag of field 1 does not
                                                 exist
                 8  08 09
            """, "--type", "Result", faults=1)
        self.check("00", """
            offset  bytes                    quor.protobuf.JQ.Result, 1 byte
                 0  00                       <- a tag with field number 0
            """, "--type", "Result", faults=1)

    def test_groups_that_do_not_end(self):
        self.check("0b 10 01", """
            offset  bytes                    a message of unknown type, 3 bytes
                 0  0b                       field 1 (group)
                 1  10 01                      field 2 (varint): 1
                                               <- the group of field 1 has no end: the
                                                   message ends first
            """, faults=1)
        self.check("0b 14", """
            offset  bytes                    a message of unknown type, 2 bytes
                 0  0b                       field 1 (group)
                 1  14                         <- the end of a group of field 2 inside the
                                                   group of field 1
            """, faults=1)

    def test_an_empty_message(self):
        status, output, errors = view("", "--type", "Result")
        self.assertEqual((0, "offset  bytes                    quor.protobuf.JQ.Result, 0 bytes\n"),
                         (status, output))
        self.assertEqual("qmsg: 'standard input' is empty: a message without fields\n", errors)


class Streams(Views):
    """How messages follow one another."""

    def test_messages_with_their_lengths(self):
        # The length of the second one takes two bytes, as nobody writes it.
        self.check("02 08 01 82 00 08 00 00", """
            offset  bytes                    a stream of quor.protobuf.JQ.Result
                 0  02                       message 0: 2 bytes
                 1  08 01                      ok (1, bool): true
                 3  82 00                    message 1: 2 bytes
                 5  08 00                      ok (1, bool): false
                 7  00                       message 2: 0 bytes
            """, "--type", "Result", "--framing", "delimited")

    def test_a_fault_ends_its_message_only(self):
        self.check("01 08 02 08 01", """
            offset  bytes                    a stream of quor.protobuf.JQ.Result
                 0  01                       message 0: 1 byte
                 1  08                         ok (1, bool) <- a number is cut off: the
                                                   message ends inside it
                 2  02                       message 1: 2 bytes
                 3  08 01                      ok (1, bool): true
            """, "--type", "Result", "--framing", "delimited", faults=1)

    def test_a_message_that_is_cut_off(self):
        self.check("00 05 08 01", """
            offset  bytes                    a stream of quor.protobuf.JQ.Result
                 0  00                       message 0: 0 bytes
                 1  05 08 01                 <- standard input: message 1 at offset 2: its
                                                 length is 5 bytes, but the input has only 2
                                                 left
            """, "--type", "Result", "--framing", "delimited", faults=1)

    def test_an_invalid_length(self):
        self.check("ff" * 20, """
            offset  bytes                    a stream of messages of unknown type
                 0  ff ff ff ff ff           <- standard input: message 0 at offset 0: not a
                                                 valid message length (at most 2 GiB); is
                                                 the framing right?
                                               15 bytes more
            """, "--framing", "delimited", faults=1)

    def test_messages_that_name_their_types(self):
        # "x/quor.protobuf.JQ.Result" has 25 letters.
        url = b"x/quor.protobuf.JQ.Result".hex()
        self.check(f"1f 0a 19 {url} 12 02 08 01", """
            offset  bytes                    a stream of google.protobuf.Any
                 0  1f                       message 0: 31 bytes
                 1  0a 19                      type_url (1, string): 25 bytes
                 3  78 2f 71 75 6f 72 2e ..      "x/quor.protobuf.JQ.Result"
                28  12 02                      value (2, bytes): quor.protobuf.JQ.Result, 2
                                                   bytes
                30  08 01                        ok (1, bool): true
            """, "--framing", "any")
        self.check("07 0a 01 58 12 02 08 01", """
            offset  bytes                    a stream of google.protobuf.Any
                 0  07                       message 0: 7 bytes
                                               <- the schema has no type 'X'
                 1  0a 01                      type_url (1, string): 1 byte
                 3  58                           "X"
                 4  12 02                      value (2, bytes): 2 bytes, looks like a
                                                   message
                 6  08 01                        field 1 (varint): 1
            """, "--framing", "any", faults=1)

    def test_messages_of_types_that_only_the_runtime_has(self):
        # Its field 2 lacks two fields that are required.
        url = b"/google.protobuf.UninterpretedOption".hex()
        _, output, _ = view(f"2a 0a 24 {url} 12 02 12 00", "--framing", "any")
        self.assertIn("<- the schema has no type", output)

    def test_of_an_empty_stream(self):
        status, output, errors = view("", "--framing", "delimited")
        self.assertEqual((0, 1), (status, output.count("\n")))
        self.assertEqual("qmsg: 'standard input' is empty: no messages\n", errors)


class AllBytes(unittest.TestCase):
    """Whatever the input, each byte of it stands in the full view once, at its place."""

    def check(self, data, *arguments):
        status, output, _ = qmsg("wire", "--full", *arguments, stdin=data)
        with self.subTest(data=data.hex(), arguments=arguments):
            self.assertIn(status, (0, 1))
            self.assertEqual(data, bytes_of(output))
        return status

    def test_of_good_and_damaged_messages(self):
        verdicts = set()
        for name, data in itertools.islice(random_messages.Generator(5), 400):
            try:
                reference.read(name, data)
                good = True
            except reference.Refused:
                good = False
            status = self.check(data, "--type", name)
            self.assertEqual(0 if good else 1, status, f"{name} {data.hex()}")
            self.check(data)
            verdicts.add(good)
        self.assertEqual({True, False}, verdicts)

    def test_of_streams_good_and_damaged(self):
        made = random_messages.Generator(6)
        for count in range(60):
            frames = list(itertools.islice(made, 4))
            data = b"".join(reference.length_delimited(content) for _, content in frames)
            if count % 2:
                data = made.damaged(frames[0][0], data)
            self.check(data, "--framing", "delimited", "--type", frames[0][0])
            self.check(data, "--framing", "any")

    def test_of_noise(self):
        noise = random.Random(7)
        for _ in range(100):
            data = noise.randbytes(noise.randrange(300))
            for arguments in ((), ("--type", "Event"), ("--framing", "delimited")):
                self.check(data, *arguments)

    def test_of_messages_nested_beyond_every_limit(self):
        data = b""
        for _ in range(300):
            data = b"\x0a" + reference.varint(len(data)) + data
        self.check(data)
        self.check(b"\x0b" * 300 + b"\x0c" * 300)

    def test_of_anys_nested_beyond_every_limit(self):
        head = reference.length_delimited(b"/google.protobuf.Any")
        parts, size = [], 0
        for _ in range(20_000):
            parts.append(b"\x0a" + head + b"\x12" + reference.varint(size))
            size += len(parts[-1])
        parts.append(reference.varint(size))
        self.check(b"".join(reversed(parts)), "--framing", "any")

    def test_of_the_rest_after_an_invalid_length(self):
        self.check(b"\xff" * 200_000, "--framing", "delimited")


class Terminal(unittest.TestCase):
    def test_gets_no_control_characters(self):
        hostile = "\x1b]0;x\x07 \x9b31m \u202e\u2066 \x7f\r\n".encode()
        data = b"\x0a" + reference.varint(len(hostile)) + hostile
        for arguments in ((), ("--full",), ("--type", "Login.Login"),
                          ("--type", "Login.Login", "--full")):
            _, output, _ = qmsg("wire", *arguments, stdin=data)
            for character in output:
                self.assertTrue(character == "\n" or character.isprintable(), repr(character))

    def test_lines_fit_into_80_columns(self):
        for name, data in itertools.islice(random_messages.Generator(8), 100):
            for line in qmsg("wire", "--type", name, stdin=data)[1].splitlines():
                self.assertLessEqual(len(line), 80, line)

    def seen(self, **environment):
        """What a terminal gets for a message with a fault."""
        leader, follower = tool.open_terminal()
        with subprocess.Popen([PROGRAM, "wire", "--type", "Result"], stdin=subprocess.PIPE,
                              stdout=follower, stderr=subprocess.DEVNULL,
                              env={**os.environ, "NO_COLOR": "", **environment}) as process:
            process.stdin.write(b"\x08")
            process.stdin.close()
            process.wait(60)
        os.close(follower)
        output = os.read(leader, 65536).decode().replace("\r\n", "\n")
        os.close(leader)
        return output

    def test_gets_colours_unless_no_color_is_set(self):
        coloured = self.seen()
        self.assertIn("\x1b[2m     0\x1b[0m  08", coloured)
        self.assertIn("\x1b[1mok\x1b[0m", coloured)
        self.assertIn("\x1b[31m <- a number is cut off: the\x1b[0m", coloured)
        self.assertNotIn("\x1b", self.seen(NO_COLOR="1"))


class WrongUse(unittest.TestCase):
    def test_a_type_for_messages_that_name_theirs(self):
        status, output, errors = qmsg("wire", "--framing", "any", "--type", "Result")
        self.assertEqual((2, ""), (status, output))
        self.assertIn("omit --type", errors)

    def test_a_folder(self):
        self.assertEqual(3, qmsg("wire", "/")[0])

    def test_invalid_hexadecimal_digits(self):
        for arguments in ((), ("--framing", "delimited")):
            status, _, errors = qmsg("wire", "--in", "hex", *arguments, stdin=b"0x")
            self.assertEqual(1, status)
            self.assertIn("column 2: 'x' is not a hexadecimal digit", errors)


if __name__ == "__main__":
    unittest.main()
