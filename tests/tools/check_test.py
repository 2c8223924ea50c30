"""`qmsg check` on bytes with faults worked out by hand: their places, and the rules they break."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

import vectors
from reference import varint
from tool import PROGRAM, delimited as framed, tagged

ERRORS = {"framing", "any-type", "malformed", "utf-8"}


def from_hex(text):
    """The bytes of lines of hexadecimal digits, each with a remark behind '#'."""
    return bytes.fromhex(" ".join(line.split("#")[0] for line in text.splitlines()))


def any_of(name, content, url="type.googleapis.com/quor.protobuf."):
    return tagged(1, (url + name).encode()) + tagged(2, content)


def check(data, *arguments):
    """Runs the command: (exit status, standard output, standard error)."""
    result = subprocess.run([PROGRAM, "check", *arguments], input=data, capture_output=True,
                            timeout=60, check=False)
    return result.returncode, result.stdout.decode(), result.stderr.decode()


def findings_in(data, *arguments):
    _, output, _ = check(data, "--json", *arguments)
    return [json.loads(line) for line in output.splitlines()]


def brief(findings):
    """(offset, path, code) of each."""
    return [(one["offset"], one["path"], one["code"]) for one in findings]


class Table(unittest.TestCase):
    """Rows are: what it is, the type, the bytes, and (offset, path, code) of each finding."""

    def judge(self, table):
        for name, message, text, expected in table:
            with self.subTest(name):
                data = text if isinstance(text, bytes) else from_hex(text)
                found = findings_in(data, "--type", message)
                self.assertEqual(brief(found), expected)
                for one in found:
                    severity = "error" if one["code"] in ERRORS else "warning"
                    self.assertEqual(one["severity"], severity)
                    self.assertNotEqual(one["reason"], "")
                status, _, errors = check(data, "--type", message)
                bad = sum(code in ERRORS for _, _, code in expected)
                self.assertEqual(status, 1 if bad else 0, errors)


DEEP = "100." * 100 + "100"


class WireFaults(Table):
    def test_tags(self):
        self.judge([
            ("a tag that the input cuts off", "PhpVersion", """
             08 01  # major_version: 1
             90     # a tag that goes on""",
             [(2, "", "malformed")]),
            ("a tag that its message cuts off", "SqlQueries", """
             12 01  # queries[0], 1 byte
             80     # a tag that goes on
             12 00  # queries[1], empty""",
             [(2, "queries[0]", "malformed")]),
            ("a tag of six bytes", "PhpVersion", "88 80 80 80 80 00 01",
             [(0, "", "malformed")]),
            ("a tag of six bytes further down", "SqlQuery", """
             42 07                 # error, 7 bytes
             8a 80 80 80 80 00 00  # field 1, in more bytes than a tag can have""",
             [(2, "error", "malformed")]),
            ("field number 0", "Login", "00 01",
             [(0, "", "malformed")]),
            ("field number 0 further down", "SqlQuery", """
             42 02  # error, 2 bytes
             02 00  # field 0, 0 bytes""",
             [(2, "error", "malformed")]),
            ("wire type 6", "Login", "0e  # field 1",
             [(0, "", "malformed")]),
            ("wire type 6 further down", "SqlQueries", """
             12 01  # queries[0], 1 byte
             0e     # field 1, wire type 6""",
             [(2, "queries[0]", "malformed")]),
            ("wire type 7", "Login", "0f  # field 1",
             [(0, "", "malformed")]),
            ("wire type 7 behind a good field", "SqlQueries", """
             12 03  # queries[0], 3 bytes
             30 01  # status: 1
             2f     # field 5, wire type 7""",
             [(4, "queries[0]", "malformed")]),
        ])

    def test_numbers(self):
        self.judge([
            ("a varint of eleven bytes", "PhpVersion", """
             08                                # major_version
             80 80 80 80 80 80 80 80 80 80 00""",
             [(1, "major_version", "malformed")]),
            ("a varint of eleven bytes in a field that is not declared", "PhpVersion", """
             a0 06                             # field 100, a varint
             80 80 80 80 80 80 80 80 80 80 00""",
             [(2, "100", "malformed")]),
            ("a varint that the input cuts off", "PhpVersion", "08 80",
             [(1, "major_version", "malformed")]),
            ("a varint that its message cuts off", "SqlQuery", """
             4a 02  # duration, 2 bytes
             08 ff  # seconds, going on
             50 01  # rows: 1""",
             [(3, "duration.seconds", "malformed")]),
            ("eight bytes that are three", "QVal", """
             08 05        # value_type: DOUBLE
             29 00 00 00  # double_value""",
             [(3, "double_value", "malformed")]),
            ("eight bytes that are none", "Config.Namespace", """
             12 03  # values[0], 3 bytes
             10 04  # value_type: DOUBLE
             31     # double_value""",
             [(5, "values[0].double_value", "malformed")]),
            ("four bytes that are two", "Login", "a5 06 00 00  # field 100, 4 bytes",
             [(2, "100", "malformed")]),
            ("four bytes that are none", "SqlQueries", """
             12 02  # queries[0], 2 bytes
             a5 06  # field 100, 4 bytes""",
             [(4, "queries[0].100", "malformed")]),
        ])

    def test_lengths(self):
        self.judge([
            ("a length beyond its message", "SqlQueries", """
             12 03     # queries[0], 3 bytes
             2a 05 41  # query, 5 bytes""",
             [(3, "queries[0].query", "malformed")]),
            ("a length beyond its message, three down", "Event", """
             08 01  # event_type: FunctionError
             22 04  # function, 4 bytes
             12 02  # function_args, 2 bytes
             0a 09  # values[0], 9 bytes
             50 01  # codetrace: true""",
             [(7, "function.function_args.values[0]", "malformed")]),
            ("a length beyond the input", "Login", "0a 05 61 62  # hostname, 5 bytes",
             [(1, "hostname", "malformed")]),
            ("a length beyond the input in a field that is not declared", "Login",
             "a2 06 02 00  # field 100, 2 bytes",
             [(2, "100", "malformed")]),
            ("a length that is missing", "Login", "0a",
             [(1, "hostname", "malformed")]),
            ("a length that is cut off", "SqlQueries", """
             12 02  # queries[0], 2 bytes
             2a 80  # query, a length that goes on""",
             [(3, "queries[0].query", "malformed")]),
            ("a length of six bytes", "Login", "0a 80 80 80 80 80 00",
             [(1, "hostname", "malformed")]),
            ("a length of 2147483647", "Login", "0a ff ff ff ff 07",
             [(1, "hostname", "malformed")]),
        ])

    def test_groups(self):
        self.judge([
            ("the end of a group that has not begun", "Login", "0c  # end of group 1",
             [(0, "", "malformed")]),
            ("the end of a group that has not begun, further down", "SqlQueries", """
             12 02  # queries[0], 2 bytes
             a4 06  # end of group 100""",
             [(2, "queries[0]", "malformed")]),
            ("a group without end", "Login", "a3 06  # group 100",
             [(0, "100", "unknown-field"), (2, "100", "malformed")]),
            ("a group that its message cuts off", "SqlQueries", """
             12 04  # queries[0], 4 bytes
             a3 06  # group 100
             08 01  # field 1: 1
             12 00  # queries[1], empty""",
             [(2, "queries[0].100", "unknown-field"), (6, "queries[0].100", "malformed")]),
            ("the end of another group", "Login", """
             a3 06  # group 100
             ac 06  # end of group 101""",
             [(0, "100", "unknown-field"), (2, "100", "malformed")]),
            ("the end of the group around", "Login", """
             a3 06  # group 100
             ab 06  # group 101
             a4 06  # end of group 100""",
             [(0, "100", "unknown-field"), (4, "100.101", "malformed")]),
            ("100 deep", "Login", bytes.fromhex("a306" * 100 + "a406" * 100),
             [(0, "100", "unknown-field")]),
            ("101 deep", "Login", bytes.fromhex("a306" * 101 + "a406" * 101),
             [(0, "100", "unknown-field"), (200, DEEP, "malformed")]),
            # 12 90 03: queries[0], 400 bytes
            ("101 deep, with a message", "SqlQueries",
             bytes.fromhex("129003" + "a306" * 100 + "a406" * 100),
             [(3, "queries[0].100", "unknown-field"),
              (201, "queries[0]." + DEEP[4:], "malformed")]),
        ])

    def test_every_fault_is_reported(self):
        self.judge([
            ("three faults", "SqlQueries", """
             12 01        # queries[0], 1 byte
             0e           # wire type 6
             12 02        # queries[1], 2 bytes
             2a 09        # query, 9 bytes
             12 03        # queries[2], 3 bytes
             2a 01 ff     # query: a byte that no text has
             12 03        # queries[3], 3 bytes
             2a 01 41     # query: "A\"""",
             [(2, "queries[0]", "malformed"), (6, "queries[1].query", "malformed"),
              (11, "queries[2].query", "utf-8")]),
        ])


class Text(Table):
    def test_that_is_not_utf_8(self):
        self.judge([
            ("a lone continuation", "Login", "0a 02 61 80", [(3, "hostname", "utf-8")]),
            ("a lone continuation at the begin", "Login", "0a 02 bf 61",
             [(2, "hostname", "utf-8")]),
            ("two bytes for what takes one", "Login", "0a 02 c0 80", [(2, "hostname", "utf-8")]),
            ("three bytes for what takes two", "Login", "0a 03 e0 9f bf",
             [(2, "hostname", "utf-8")]),
            ("four bytes for what takes three", "Login", "0a 04 f0 8f bf bf",
             [(2, "hostname", "utf-8")]),
            ("the first surrogate", "Login", "0a 03 ed a0 80", [(2, "hostname", "utf-8")]),
            ("the last surrogate", "Login", "0a 04 61 ed bf bf", [(3, "hostname", "utf-8")]),
            ("U+110000", "Login", "0a 04 f4 90 80 80", [(2, "hostname", "utf-8")]),
            ("a first byte of what would lie beyond", "Login", "0a 04 f5 80 80 80",
             [(2, "hostname", "utf-8")]),
            ("cut off after one of two", "Login", "0a 02 61 c3", [(3, "hostname", "utf-8")]),
            ("cut off after three of four", "Login", "0a 03 f0 9f 98", [(2, "hostname", "utf-8")]),
            ("in the path that was asked for", "SqlQueries", """
             12 02           # queries[0], 2 bytes
             30 01           # status: 1
             12 09           # queries[1], 9 bytes
             5a 07           # stack_trace, 7 bytes
             0a 00           # frames[0], empty
             0a 03           # frames[1], 3 bytes
             1a 01 ff        # file_name""",
             [(14, "queries[1].stack_trace.frames[1].file_name", "utf-8")]),
            ("in the value of a map", "AttrList", """
             0a 09           # attr_list[0], 9 bytes
             08 05           # key: 5
             12 05           # value, 5 bytes
             08 03           # value_type: STRING
             1a 01 80        # string_value""",
             [(10, "attr_list[0].value.string_value", "utf-8")]),
        ])

    def test_that_is_utf_8_to_its_limits(self):
        self.judge([(text, "Login", "0a" + bytes([len(bytes.fromhex(text))]).hex() + text, [])
                    for text in ("00", "7f", "c280", "dfbf", "e0a080", "ed9fbf", "ee8080",
                                 "efbfbf", "f0908080", "f48fbfbf")])


# By the number of the tag, the member that goes with it; and how each member is written.
TYPE_TAGS = {
    "QVal": ("value_type", "08",
             {0: None, 1: None, 2: "bool_value", 3: "string_value", 4: "int_value",
              5: "double_value", 6: "json_value", 7: "tm_value"},
             {"bool_value": "10 00", "string_value": "1a 00", "int_value": "20 00",
              "double_value": "29 00 00 00 00 00 00 00 00", "json_value": "32 00",
              "tm_value": "3a 00"}),
    "Config.Value": ("value_type", "10",
                     {0: None, 1: "bool_value", 2: "int_value", 3: "uint_value",
                      4: "double_value", 5: "string_value", 6: "json_value"},
                     {"bool_value": "18 00", "int_value": "20 00", "uint_value": "28 00",
                      "double_value": "31 00 00 00 00 00 00 00 00", "string_value": "3a 00",
                      "json_value": "42 00"}),
    "Event": ("event_type", "08",
              {0: "exec_time", 1: None, 2: "exec_time", 3: "memory_usage_bytes", 4: "php_error",
               5: "custom"},
              {"exec_time": "32 00", "memory_usage_bytes": "38 00", "php_error": "42 00",
               "custom": "4a 00"}),
}


class TypeTags(Table):
    def test_each_allows_only_its_member(self):
        for message, (field, tag, goes_with, members) in TYPE_TAGS.items():
            self.judge([
                (f"{message} {value} {member}", message,
                 f"{tag} 0{value} {members.get(member, '')}",
                 [] if wanted == member else [(0, field, "type-tag")])
                for value, wanted in goes_with.items() for member in [None, *members]])

    def test_that_are_absent_have_the_first_value(self):
        for message, (field, _, goes_with, members) in TYPE_TAGS.items():
            self.judge([
                (f"{message} {member}", message, members.get(member, ""),
                 [] if goes_with[0] == member else [(0, field, "type-tag")])
                for member in [None, *members]])

    def test_that_are_not_declared_are_not_a_mismatch(self):
        self.judge([
            ("QVal", "QVal", """
             08 08  # value_type: 8
             10 01  # bool_value: true""",
             [(0, "value_type", "undeclared-enum")]),
            ("Event", "Event", "08 06  # event_type: 6", [(0, "event_type", "undeclared-enum")]),
        ])

    def test_are_checked_in_submessages(self):
        self.judge([
            ("in a set", "Config.Set", """
             12 0d     # namespaces[0], 13 bytes
             12 04     # values[0], 4 bytes
             10 01     # value_type: BOOL
             18 01     # bool_value: true
             12 05     # values[1], 5 bytes
             0a 01 61  # key: "a"
             28 01     # uint_value: 1, but value_type is absent""",
             [(13, "namespaces[0].values[1].value_type", "type-tag")]),
        ])


class Fields(Table):
    def test_enum_values(self):
        self.judge([
            ("Function", "Function", "08 02  # function_type: 2",
             [(0, "function_type", "undeclared-enum")]),
            ("the last declared", "Function", "08 01", []),
            ("negative", "Tarq.Error", """
             0a 01 61                          # queue_id: "a"
             20 ff ff ff ff ff ff ff ff ff 01  # severity: -1""",
             [(3, "severity", "undeclared-enum")]),
            ("the low 32 bits count", "Header", """
             20 82 80 80 80 10  # dump_reason: 2 + 2^32""", []),
            ("of two the last counts", "Header", """
             20 03  # dump_reason: 3
             20 02  # dump_reason: 2""",
             [(2, "dump_reason", "repeated-singular")]),
            ("further down", "Functions", """
             12 02  # functions[0], 2 bytes
             08 01  # function_type: USER
             12 02  # functions[1], 2 bytes
             08 07  # function_type: 7""",
             [(6, "functions[1].function_type", "undeclared-enum")]),
        ])

    def test_that_are_not_declared(self):
        self.judge([
            ("a varint", "Login", "10 05  # field 2", [(0, "2", "unknown-field")]),
            ("a number that is kept free", "Functions", """
             12 04     # functions[0], 4 bytes
             18 01     # times_called: 1
             20 01     # field 4: 1""",
             [(4, "functions[0].4", "unknown-field")]),
            ("a group is told as one", "Login", """
             a3 06     # group 100
             08 01     # field 1: 1
             0b 0c     # group 1, its end
             a4 06     # end of group 100
             0a 01 61  # hostname: "a\"""",
             [(0, "100", "unknown-field")]),
            ("in the entry of a map", "AttrList", """
             0a 06     # attr_list[0], 6 bytes
             08 05     # key: 5
             12 00     # value, empty
             18 01     # field 3: 1""",
             [(6, "attr_list[0].3", "unknown-field")]),
        ])

    def test_with_another_wire_type(self):
        self.judge([
            ("a number where text is declared", "Login", "08 01",
             [(0, "hostname", "wire-type")]),
            ("text where a number is declared", "PhpVersion", "0a 01 05",
             [(0, "major_version", "wire-type")]),
            ("4 bytes where a varint is declared", "PhpVersion", "15 01 00 00 00",
             [(0, "minor_version", "wire-type")]),
            ("8 bytes further down", "SqlQueries", """
             12 09                       # queries[0], 9 bytes
             49 00 00 00 00 00 00 00 00  # field 9, duration, as 8 bytes""",
             [(2, "queries[0].duration", "wire-type")]),
            ("a group where a message is declared", "SqlQuery", """
             43 44  # group 8, which is error, and its end""",
             [(0, "error", "wire-type")]),
        ])

    def test_that_are_repeated(self):
        self.judge([
            ("text", "Login", """
             0a 01 61  # hostname: "a"
             0a 01 62  # hostname: "b\"""",
             [(3, "hostname", "repeated-singular")]),
            ("three times", "PhpVersion", "08 01 08 01 08 01",
             [(2, "major_version", "repeated-singular"),
              (4, "major_version", "repeated-singular")]),
            ("another member of a oneof", "QVal", """
             08 03     # value_type: STRING
             10 01     # bool_value: true
             1a 01 61  # string_value: "a\"""",
             [(4, "string_value", "repeated-singular")]),
            ("another member further down", "JobIdList", """
             0a 07     # ids[0], 7 bytes
             08 01     # queue_id: 1
             12 01 61  # queue_name: "a"
             18 01     # job_id: 1, of another oneof""",
             [(4, "ids[0].queue_name", "repeated-singular")]),
            ("a message", "SqlQuery", """
             4a 02 08 01  # duration, seconds: 1
             4a 02 10 05  # duration, nanos: 5""",
             [(4, "duration", "repeated-singular")]),
            ("elements of a repeated field do not", "RequestHeaders", "12 01 61 12 01 61", []),
        ])


class MergedMessages(Table):
    """A message that stands twice is judged as what a parser makes of both."""

    def test_a_mismatch_in_each_half_is_not_reported_if_the_merged_message_matches(self):
        self.judge([
            ("a tag here, its member there", "SuperglobalValue", """
             12 02     # value, 2 bytes
             08 03     # value_type: STRING
             12 03     # value, 3 bytes
             1a 01 61  # string_value: "a\"""",
             [(4, "value", "repeated-singular")]),
        ])

    def test_a_mismatch_of_the_merged_message_is_reported_if_each_half_matches(self):
        self.judge([
            ("seconds here, nanoseconds there", "SqlQuery", """
             4a 02                             # duration, 2 bytes
             08 01                             # seconds: 1
             4a 0b                             # duration, 11 bytes
             10 ff ff ff ff ff ff ff ff ff 01  # nanos: -1""",
             [(4, "duration", "repeated-singular"), (6, "duration.nanos", "nanos-range")]),
            ("the same field in both", "SqlQuery", """
             42 03 0a 01 61  # error, message: "a"
             42 03 0a 01 62  # error, message: "b\"""",
             [(5, "error", "repeated-singular"), (7, "error.message", "repeated-singular")]),
        ])

    def test_elements_of_both_halves_are_numbered_together(self):
        self.judge([
            ("a frame each", "SqlQuery", """
             5a 04        # stack_trace, 4 bytes
             0a 02 08 01  # frames[0], frame_id: 1
             5a 04        # stack_trace, 4 bytes
             0a 02 30 01  # frames[1], field 6: 1""",
             [(6, "stack_trace", "repeated-singular"),
              (10, "stack_trace.frames[1].6", "unknown-field")]),
            ("a key each", "StackTraceFrame", """
             2a 05           # function_args, 5 bytes
             0a 03 0a 01 61  # values[0], string_key: "a"
             2a 05           # function_args, 5 bytes
             0a 03 0a 01 61  # values[1], string_key: "a\"""",
             [(7, "function_args", "repeated-singular"),
              (9, "function_args.values[1]", "duplicate-key")]),
        ])

    def test_a_replaced_member_of_a_oneof_is_not_checked(self):
        self.judge([
            ("a time that is out of range", "Event", """
             08 02        # event_type: SlowRequestExecution
             32 06        # exec_time, 6 bytes
             10 80 94 eb dc 03  # nanos: 1,000,000,000
             38 01        # memory_usage_bytes: 1
             32 02 08 01  # exec_time, seconds: 1""",
             [(10, "memory_usage_bytes", "repeated-singular"),
              (12, "exec_time", "repeated-singular")]),
        ])


class Times(Table):
    def test_nanoseconds(self):
        self.judge([
            ("a billion in a timestamp", "RInitData", """
             12 06              # timestamp, 6 bytes
             10 80 94 eb dc 03  # nanos: 1,000,000,000""",
             [(2, "timestamp.nanos", "nanos-range")]),
            ("one less", "RInitData", "12 06 10 ff 93 eb dc 03", []),
            ("below 0 in a timestamp", "RInitData", """
             12 0b                             # timestamp, 11 bytes
             10 ff ff ff ff ff ff ff ff ff 01  # nanos: -1""",
             [(2, "timestamp.nanos", "nanos-range")]),
            ("a billion in a duration", "SqlQueries", """
             12 08              # queries[0], 8 bytes
             4a 06              # duration, 6 bytes
             10 80 94 eb dc 03  # nanos: 1,000,000,000""",
             [(4, "queries[0].duration.nanos", "nanos-range")]),
            ("a billion below 0", "RShutdownData",
             tagged(2, b"\x10" + varint(-1000000000)),
             [(2, "total_time.nanos", "nanos-range")]),
            ("one more, without seconds", "RShutdownData",
             tagged(2, b"\x10" + varint(-999999999)), []),
            ("below 0 where the seconds are above", "RShutdownData",
             tagged(2, b"\x08\x01\x10" + varint(-1)), [(4, "total_time.nanos", "nanos-range")]),
            ("above 0 where the seconds are below", "RShutdownData",
             tagged(2, b"\x08" + varint(-1) + b"\x10\x01"),
             [(13, "total_time.nanos", "nanos-range")]),
            ("both below 0", "RShutdownData",
             tagged(2, b"\x08" + varint(-1) + b"\x10" + varint(-1)), []),
            ("in a timestamp seconds have a sign of their own", "RInitData",
             tagged(2, b"\x08" + varint(-1) + b"\x10\x01"), []),
        ])

    def test_seconds(self):
        limits = [("RInitData", "timestamp", -62135596800, 253402300799),
                  ("RShutdownData", "total_time", -315576000000, 315576000000)]
        for message, field, least, most in limits:
            self.judge([
                (f"{field} {seconds}", message, tagged(2, b"\x08" + varint(seconds)), expected)
                for seconds, expected in [
                    (least, []), (most, []),
                    (least - 1, [(2, field + ".seconds", "seconds-range")]),
                    (most + 1, [(2, field + ".seconds", "seconds-range")])]])


class Lengths(Table):
    def test_of_bodies(self):
        self.judge([
            ("too long", "RawPostData", """
             0a 01 61        # queue_id: "a"
             18 05           # content_length: 5
             22 03 61 62 63  # data, 3 bytes""",
             [(3, "content_length", "content-length")]),
            ("without a body", "RawPostData", "18 01", [(0, "content_length", "content-length")]),
            ("below 0", "RawPostData", b"\x18" + varint(-1),
             [(0, "content_length", "content-length")]),
            ("right, in bytes", "RawPostData", "18 02 22 02 c3 a4", []),
            ("not given", "RawPostData", "22 03 61 62 63", []),
        ])


# Two elements with the key of the first line, one with that of the second.
KEYED = [
    ("QuorArray", "values", 1, "0a 01 61", "0a 01 62"),
    ("QuorArray", "values", 1, "10 01", "10 02"),
    ("QuorArray", "values", 1, "0a 00", "10 00"),
    ("SuperglobalVariable", "values", 2, "0a 01 61", "0a 01 62"),
    ("SuperglobalVariable", "values", 2, "", "0a 01 62"),
    ("Storage", "storage", 3, "0a 01 61", "0a 01 62"),
    ("Config.Namespace", "values", 2, "0a 01 61", "0a 01 62"),
    ("Config.Set", "namespaces", 2, "0a 01 61", "0a 01 62"),
    ("SqlConnections", "connections", 2, "08 01", "08 02"),
    ("SqlConnections", "connections", 2, "08 00", "08 01"),
    ("SqlTransactions", "transactions", 2, "08 01", "08 02"),
    ("AttrList", "attr_list", 1, "08 01", "08 02"),
    ("AttrList", "attr_list", 1, "", "08 01"),
]


class Keys(Table):
    def test_that_occur_twice(self):
        for message, field, number, one, other in KEYED:
            first, second = (tagged(number, bytes.fromhex(key)) for key in (one, other))
            self.judge([
                (f"{message} {one}", message, first + second + first,
                 [(len(first + second), field + "[2]", "duplicate-key")]),
                (f"{message} {one} thrice", message, first * 3,
                 [(len(first), field + "[1]", "duplicate-key"),
                  (2 * len(first), field + "[2]", "duplicate-key")]),
                (f"{message} {one} and {other}", message, first + second, []),
            ])

    def test_in_submessages_are_kept_apart(self):
        self.judge([
            ("in one of two", "Tarq.Superglobals", """
             12 05           # variables[0], 5 bytes
             12 03 0a 01 61  # values[0], key: "a"
             12 0a           # variables[1], 10 bytes
             12 03 0a 01 61  # values[0], key: "a"
             12 03 0a 01 61  # values[1], key: "a\"""",
             [(14, "variables[1].values[1]", "duplicate-key")]),
            ("elements without keys", "QuorArray", "0a 00 0a 00", []),
            ("a text of digits and a number", "QuorArray", """
             0a 03 0a 01 31  # values[0], string_key: "1"
             0a 02 10 31     # values[1], int_key: 49""", []),
        ])

    def test_are_shown(self):
        found = findings_in(from_hex("0a 03 0a 01 61 0a 03 0a 01 61"), "--type", "QuorArray")
        self.assertIn('string_key "a" is already the key of values[0]', found[0]["reason"])


class Parents(Table):
    def test_that_do_not_exist(self):
        self.judge([
            ("none of that number", "SqlTransactions", """
             12 04  # transactions[0], 4 bytes
             08 01  # ident: 1
             10 05  # parent_id: 5""",
             [(4, "transactions[0].parent_id", "dangling-reference")]),
            ("0 is a number", "SqlTransactions", """
             12 04  # transactions[0], 4 bytes
             08 01  # ident: 1
             10 00  # parent_id: 0""",
             [(4, "transactions[0].parent_id", "dangling-reference")]),
            ("later in the list", "SqlTransactions", """
             12 04  # transactions[0], 4 bytes
             08 01  # ident: 1
             10 00  # parent_id: 0
             12 00  # transactions[1], ident: 0""", []),
            ("a list that is damaged says nothing", "SqlTransactions", """
             12 04  # transactions[0], 4 bytes
             08 01  # ident: 1
             10 05  # parent_id: 5
             0e     # wire type 6""",
             [(6, "", "malformed")]),
        ])

    def test_that_form_a_cycle(self):
        table = [
            ("its own parent", """
             12 04  # transactions[0], 4 bytes
             08 01  # ident: 1
             10 01  # parent_id: 1""",
             [(4, "transactions[0].parent_id", "parent-cycle")], ["1 -> 1"]),
            ("0, its own parent", """
             12 02  # transactions[0], 2 bytes
             10 00  # parent_id: 0""",
             [(2, "transactions[0].parent_id", "parent-cycle")], ["0 -> 0"]),
            ("two, and one that leads to them", """
             12 04  # transactions[0], 4 bytes
             08 03  # ident: 3
             10 02  # parent_id: 2
             12 04  # transactions[1], 4 bytes
             08 01  # ident: 1
             10 02  # parent_id: 2
             12 04  # transactions[2], 4 bytes
             08 02  # ident: 2
             10 01  # parent_id: 1""",
             [(10, "transactions[1].parent_id", "parent-cycle")], ["1 -> 2 -> 1"]),
            ("two cycles", """
             12 04  # transactions[0], 4 bytes
             08 01  # ident: 1
             10 01  # parent_id: 1
             12 04  # transactions[1], 4 bytes
             08 02  # ident: 2
             10 02  # parent_id: 2""",
             [(4, "transactions[0].parent_id", "parent-cycle"),
              (10, "transactions[1].parent_id", "parent-cycle")], ["1 -> 1", "2 -> 2"]),
        ]
        self.judge([(name, "SqlTransactions", text, expected)
                    for name, text, expected, _ in table])
        for name, text, _, idents in table:
            with self.subTest(name):
                found = findings_in(from_hex(text), "--type", "SqlTransactions")
                self.assertEqual([one["reason"].split(": ")[1] for one in found], idents)

    def test_of_a_long_chain_take_linear_time(self):
        chain = [tagged(2, b"\x08" + varint(i) + b"\x10" + varint(i + 1)) for i in range(100000)]
        self.assertEqual(len(findings_in(b"".join(chain), "--type", "SqlTransactions")), 1)


def connections(request, *idents):
    return any_of("Tarq.SqlConnections", tagged(1, request) + b"".join(
        tagged(2, b"\x08" + varint(ident)) for ident in idents))


def transactions(request, *idents):
    return any_of("Tarq.SqlTransactions", tagged(1, request) + b"".join(
        tagged(2, b"\x08" + varint(ident)) for ident in idents))


def queries(request, *contents):
    """Each a query in hexadecimal."""
    return any_of("Tarq.SqlQueries", tagged(1, request) + b"".join(
        tagged(2, bytes.fromhex(content)) for content in contents))


ON_CONNECTION_7 = "10 07"
IN_TRANSACTION_7 = "20 07"


class References(unittest.TestCase):
    def told(self, *messages):
        """(number of the message, path) of each dangling reference in a stream."""
        found = findings_in(framed(*messages), "--framing", "any")
        self.assertLessEqual({one["code"] for one in found}, {"dangling-reference"})
        return [(one["message"], one["path"]) for one in found]

    def test_to_an_ident_that_an_earlier_list_lacks(self):
        self.assertEqual(
            self.told(connections(b"r", 1, 2), queries(b"r", "10 01", ON_CONNECTION_7)),
            [(1, "queries[1].connection_id")])

    def test_to_an_ident_that_a_later_list_lacks(self):
        self.assertEqual(
            self.told(queries(b"r", "20 01", IN_TRANSACTION_7), transactions(b"r", 1, 2)),
            [(0, "queries[1].transaction_id")])

    def test_to_0_are_references(self):
        self.assertEqual(self.told(connections(b"r", 1), queries(b"r", "10 00")),
                         [(1, "queries[0].connection_id")])

    def test_to_existing_idents(self):
        self.assertEqual(self.told(connections(b"r", 7), queries(b"r", ON_CONNECTION_7),
                                   queries(b"r", IN_TRANSACTION_7), transactions(b"r", 7)), [])

    def test_to_an_ident_in_one_of_two_lists(self):
        self.assertEqual(self.told(connections(b"r", 1), queries(b"r", ON_CONNECTION_7),
                                   connections(b"r", 7)), [])

    def test_to_lists_that_were_not_captured_are_ignored(self):
        self.assertEqual(self.told(queries(b"r", ON_CONNECTION_7, IN_TRANSACTION_7),
                                   connections(b"r", 7)), [])

    def test_do_not_cross_requests(self):
        self.assertEqual(self.told(connections(b"r", 7), connections(b"s", 1),
                                   queries(b"s", ON_CONNECTION_7)),
                         [(2, "queries[0].connection_id")])

    def test_without_a_request_are_ignored(self):
        self.assertEqual(self.told(connections(b"", 1), queries(b"", ON_CONNECTION_7)), [])

    def test_to_a_damaged_list_are_ignored(self):
        broken = any_of("Tarq.SqlConnections", tagged(1, b"r") + tagged(2, b"\x08\x01") + b"\x0e")
        found = findings_in(framed(broken, queries(b"r", ON_CONNECTION_7)), "--framing", "any")
        self.assertEqual([one["code"] for one in found], ["malformed"])

    def test_are_reported_with_their_place(self):
        before = framed(connections(b"r", 1))
        stream = before + framed(queries(b"r", ON_CONNECTION_7))
        found, = findings_in(stream, "--framing", "any")
        # The tag of connection_id is the byte before the last.
        self.assertEqual(found["offset"], len(stream) - 2)
        self.assertEqual(found["type"], "quor.protobuf.Tarq.SqlQueries")
        self.assertEqual(found["reason"], 'no connection of request "r" has the ident 7')

    def test_do_not_cross_files(self):
        with tempfile.TemporaryDirectory() as folder:
            one, other = (os.path.join(folder, name) for name in ("one", "other"))
            pathlib.Path(one).write_bytes(framed(connections(b"r", 1)))
            pathlib.Path(other).write_bytes(framed(queries(b"r", ON_CONNECTION_7)))
            self.assertEqual(check(None, "--framing", "any", one, other)[:2], (0, ""))

    def test_are_kept_for_some_thousand_requests(self):
        begin = [connections(b"kept", 1), queries(b"kept", ON_CONNECTION_7)]
        late = [queries(b"late", ON_CONNECTION_7)]
        some, many = ([connections(b"%d" % i, 1) for i in range(count)] for count in (4000, 5000))
        end = [connections(b"late", 1)]
        self.assertEqual(len(self.told(*begin, *late, *some, *end)), 2)
        # Judged when it was forgotten; the other had no list by then.
        self.assertEqual(self.told(*begin, *late, *many, *end),
                         [(1, "queries[0].connection_id")])


class Streams(unittest.TestCase):
    STREAM = from_hex("""
        03 0a 01 61  # message 0, hostname: "a"
        02 0a 05     # message 1, hostname, 5 bytes
        03 0a 01 62  # message 2, hostname: "b"
        02 10 01     # message 3, field 2: 1""")
    LOGINS = ("--type", "Login.Login", "--framing", "delimited")

    def test_continue_after_a_bad_message(self):
        found = findings_in(self.STREAM, *self.LOGINS)
        self.assertEqual([(one["message"], *found_one) for one, found_one in
                          zip(found, brief(found))],
                         [(1, 6, "hostname", "malformed"), (3, 12, "2", "unknown-field")])

    def test_are_summed_up(self):
        status, output, errors = check(self.STREAM, *self.LOGINS)
        self.assertEqual((status, errors), (1, "4 messages, 1 error, 1 warning\n"))
        self.assertEqual(output.splitlines()[1],
                         "standard input: message 3: offset 12: warning: 2: "
                         "quor.protobuf.Login.Login has no field 2 [unknown-field]")

    def test_that_are_cut_off(self):
        cases = [("in a message", "03 0a 01 61 05 0a", 5), ("in a length", "03 0a 01 61 80", 4),
                 ("no length", "03 0a 01 61 ff ff ff ff ff ff", 4)]
        for name, text, offset in cases:
            with self.subTest(name):
                found, = findings_in(bytes.fromhex(text), *self.LOGINS)
                self.assertEqual((found["message"], found["offset"], found["code"], found["path"]),
                                 (1, offset, "framing", ""))
                self.assertEqual(check(bytes.fromhex(text), *self.LOGINS)[0], 1)

    def test_whose_messages_name_their_types(self):
        data = framed(any_of("Login.Login", from_hex("0a 02 61 ff")),
                      any_of("Login.Nobody", b""), any_of("QuorPHP.PhpVersion", from_hex("08 01")),
                      from_hex("0a 01 ff  # type_url"), from_hex("1a 00  # field 3"))
        found = findings_in(data, "--framing", "any")
        self.assertEqual(
            [(one["message"], one["path"], one["code"], one["type"]) for one in found],
            [(0, "hostname", "utf-8", "quor.protobuf.Login.Login"),
             (1, "type_url", "unknown-type", "google.protobuf.Any"),
             (3, "type_url", "utf-8", "google.protobuf.Any"),
             (4, "3", "unknown-field", "google.protobuf.Any"),
             (4, "type_url", "any-type", "google.protobuf.Any")])
        # The last byte of the first message.
        self.assertEqual(found[0]["offset"], data.index(b"\xff"))
        # The tag before the length and the text of the type.
        self.assertEqual(found[1]["offset"], data.index(b"type.", 20) - 2)

    def test_without_messages(self):
        status, output, errors = check(b"", *self.LOGINS)
        self.assertEqual((status, output), (0, ""))
        self.assertIn("is empty: no messages", errors)
        self.assertIn("0 messages, 0 errors, 0 warnings", errors)


class Options(unittest.TestCase):
    ODD = from_hex("10 05  # field 2: 5")

    def test_a_finding_is_a_line(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "a capture.bin")
            pathlib.Path(path).write_bytes(self.ODD)
            status, output, errors = check(None, "--type", "Login.Login", path)
            self.assertEqual((status, output, errors),
                             (0, f"{path}: offset 0: warning: 2: quor.protobuf.Login.Login has no "
                                 "field 2 [unknown-field]\n",
                              "1 message, 0 errors, 1 warning\n"))

    def test_twenty_findings_of_a_kind_are_printed(self):
        # 25 unknown fields, and a text that is not UTF-8.
        odd = from_hex("10 05") * 25 + from_hex("0a 01 ff")
        _, output, errors = check(odd, "--type", "Login.Login")
        lines = output.splitlines()
        self.assertEqual(len(lines), 22)
        self.assertEqual(sum(line.endswith("[unknown-field]") for line in lines), 20)
        self.assertEqual(lines[-1],
                         "standard input: and 5 more [unknown-field]; --all prints them")
        self.assertIn("1 message, 1 error, 25 warnings", errors)
        self.assertEqual(len(check(odd, "--type", "Login.Login", "--all")[1].splitlines()), 26)
        self.assertEqual(len(findings_in(odd, "--type", "Login.Login")), 26)

    def test_twenty_findings_of_a_kind_are_printed_of_each_file(self):
        with tempfile.TemporaryDirectory() as folder:
            paths = [os.path.join(folder, name) for name in "ab"]
            for path in paths:
                pathlib.Path(path).write_bytes(from_hex("10 05") * 21)
            _, output, _ = check(None, "--type", "Login.Login", *paths)
            self.assertEqual([line for line in output.splitlines() if "more" in line],
                             [f"{path}: and 1 more [unknown-field]; --all prints them" for path in paths])

    def test_json(self):
        _, output, _ = check(self.ODD, "--type", "Login.Login", "--json")
        self.assertEqual(json.loads(output), {
            "file": "standard input", "message": 0, "offset": 0, "severity": "warning",
            "code": "unknown-field", "path": "2",
            "reason": "quor.protobuf.Login.Login has no field 2",
            "type": "quor.protobuf.Login.Login"})

    def test_strict(self):
        self.assertEqual(check(self.ODD, "--type", "Login.Login", "--strict")[0], 1)
        self.assertEqual(check(self.ODD, "--type", "Login.Login")[0], 0)
        self.assertEqual(check(b"\x0a\x01a", "--type", "Login.Login", "--strict")[0], 0)

    def test_without_type_the_wire_format_is_checked(self):
        status, output, errors = check(self.ODD)
        self.assertEqual((status, output), (0, ""))
        self.assertIn("only the wire format", errors)
        found, = findings_in(from_hex("08 01 0e"))
        self.assertEqual((found["offset"], found["code"], found["type"]), (2, "malformed", None))
        # Text is text only where a type says so.
        self.assertEqual(findings_in(from_hex("0a 01 ff")), [])

    def test_empty_input_is_a_message_without_fields(self):
        status, output, errors = check(b"", "--type", "Login.Login")
        self.assertEqual((status, output), (0, ""))
        self.assertIn("1 message, 0 errors, 0 warnings", errors)

    def test_two_files_are_both_checked(self):
        with tempfile.TemporaryDirectory() as folder:
            paths = [os.path.join(folder, name) for name in ("one", "two")]
            pathlib.Path(paths[0]).write_bytes(b"\x0e")
            pathlib.Path(paths[1]).write_bytes(b"\x0f")
            status, output, errors = check(None, "--type", "Login.Login", *paths)
            self.assertEqual([line.split(":")[0] for line in output.splitlines()], paths)
            self.assertEqual((status, errors), (1, "2 messages, 2 errors, 0 warnings\n"))

    def test_input_that_is_not_hexadecimal(self):
        found, = findings_in(b"0a0z", "--type", "Login.Login", "--in", "hex")
        self.assertEqual(found["code"], "framing")
        self.assertTrue(found["reason"].startswith("line 1, column 4: "), found["reason"])

    def test_wrong_use(self):
        for arguments in (["--type", "Nobody"], ["--framing", "any", "--type", "Login.Login"],
                          ["--framing", "lines"], ["--keep-going"]):
            with self.subTest(arguments):
                status, output, errors = check(b"", *arguments)
                self.assertEqual((status, output), (2, ""))
                self.assertNotEqual(errors, "")

    def test_files_that_cannot_be_read(self):
        for path in ("no such file", "."):
            with self.subTest(path):
                status, output, errors = check(b"", "--type", "Login.Login", path)
                self.assertEqual((status, output), (3, ""))
                self.assertIn(path, errors)

    def test_text_of_a_message_cannot_forge_a_line(self):
        element = tagged(1, tagged(1, b"a\n\x1b[31m" + b"x" * 100))
        _, output, _ = check(element * 2, "--type", "QuorArray")
        self.assertEqual(len(output.splitlines()), 1)
        self.assertNotIn("\x1b", output)
        self.assertLess(len(output), 250)
        _, output, _ = check(framed(any_of("a\n\x1b[31m", b"")), "--framing", "any")
        self.assertEqual(len(output.splitlines()), 1)
        self.assertNotIn("\x1b", output)


class Vectors(unittest.TestCase):
    """All golden vectors, as one stream."""

    @classmethod
    def setUpClass(cls):
        cls.cases = vectors.load_all()
        stream = framed(*(any_of(case.type, case.bytes, "type.googleapis.com/")
                          for case in cls.cases))
        cls.found = [set() for _ in cls.cases]
        for one in findings_in(stream, "--framing", "any"):
            cls.found[one["message"]].add(one["code"])

    def test_errors_are_reported_for_refused_vectors_only(self):
        for case, codes in zip(self.cases, self.found):
            if bool(codes & ERRORS) != (case.refused is not None):
                self.fail(f"{case.place}: {case.name}: {codes}")

    def test_nothing_is_found_in_a_clean_message_of_each_type(self):
        types = {case.type for case in self.cases}
        clean = {case.type for case, codes in zip(self.cases, self.found)
                 if case.bytes and not codes}
        self.assertEqual(types - clean, set())
        self.assertEqual(len(types), 49)


if __name__ == "__main__":
    unittest.main()
