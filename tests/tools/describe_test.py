"""The description of each element, against values worked out by hand and the output of protoc."""

import json
import os
import subprocess
import unittest

from google.protobuf.descriptor import FieldDescriptor

import reference
import tool
from support import enums, messages, output_of, qmsg, schema_files

# Wire types by the kinds of fields that the schema files use.
NUMBERS = {FieldDescriptor.TYPE_BOOL, FieldDescriptor.TYPE_INT32, FieldDescriptor.TYPE_INT64,
           FieldDescriptor.TYPE_UINT32, FieldDescriptor.TYPE_UINT64, FieldDescriptor.TYPE_ENUM}


def wire_type(field):
    if field.type in NUMBERS:
        return 0, "varint"
    if field.type == FieldDescriptor.TYPE_DOUBLE:
        return 1, "64-bit"
    return 2, "length-delimited"


def data_of(name):
    return json.loads(output_of("describe", name, "--format", "json"))


def comments():
    """The comments by full name, with the words one space apart."""
    found = {}
    for proto, _ in schema_files():
        at = {tuple(location.path): location.leading_comments
              for location in proto.source_code_info.location}

        def add(path, name, at=at):
            found[name] = " ".join(at[path].split())

        for i, message in enumerate(proto.message_type):
            name = f"{proto.package}.{message.name}"
            add((4, i), name)
            for j, field in enumerate(message.field):
                add((4, i, 2, j), f"{name}.{field.name}")
            for j, oneof in enumerate(message.oneof_decl):
                add((4, i, 8, j), f"{name}.{oneof.name}")
            for j, enum in enumerate(message.enum_type):
                add((4, i, 4, j), f"{name}.{enum.name}")
                for k, value in enumerate(enum.value):
                    add((4, i, 4, j, 2, k), f"{name}.{enum.name}.{value.name}")
    return found


class ByHand(unittest.TestCase):
    def test_a_field(self):
        self.assertEqual(output_of("describe", "SqlQuery.flags"), """\
field quor.protobuf.Tarq.SqlQuery.flags
  in quor.protobuf.Tarq.SqlQuery, tarq.proto

  Bit flags of the statement. The writer defines the bits. 0: no bit set or not
  recorded.

Field
    7  flags  uint64
       tag 38, varint; presence implicit: 0 is not written
""")

    def test_a_field_of_a_oneof(self):
        field, = data_of("Value.double_value")["fields"]
        comment = field.pop("comment")
        self.assertEqual(comment, "Goes with DOUBLE. Absent: `value` holds another member or none.")
        # 6 * 8 + 1 = 0x31
        self.assertEqual(field, {
            "name": "double_value", "full_name": "quor.protobuf.Config.Value.double_value",
            "number": 6, "type": "double", "cardinality": "singular", "tag": "31",
            "wire_type": "64-bit", "presence": "explicit", "oneof": "value"})

    def test_a_map(self):
        self.assertIn("""
    1  attr_list  map<int32, quor.protobuf.QuorPHP.QVal>
       tag 0a, length-delimited; presence implicit: no elements, nothing written
""", output_of("describe", "AttrList.attr_list"))
        self.assertEqual(data_of("AttrList.attr_list")["fields"][0]["cardinality"], "map")

    def test_a_list(self):
        self.assertIn("""
    2  queries  repeated quor.protobuf.Tarq.SqlQuery
       tag 12, length-delimited; presence implicit: no elements, nothing written
""", output_of("describe", "SqlQueries.queries"))

    def test_a_field_of_an_enum_lists_the_values(self):
        output = output_of("describe", "Tarq.Error.severity")
        self.assertIn("""
    4  severity  quor.protobuf.Tarq.Error.Severity
       tag 20, varint; presence implicit: EXCEPTION is not written

Values of quor.protobuf.Tarq.Error.Severity
    0  EXCEPTION
       An exception. The zero value, which is not written: an error whose
       severity was never set reads as this one.
    1  NOTICE
""", output)

    def test_a_message(self):
        self.assertEqual(output_of("describe", "SqlTransaction"), """\
message quor.protobuf.Tarq.SqlTransaction
  tarq.proto

  One database transaction.

Fields
    1  ident  uint32
       tag 08, varint; presence implicit: 0 is not written
       Number of the transaction within the request, to which SqlQuery and
       nested transactions refer. The writer chooses it. 0: number 0 or not
       recorded.
    2  parent_id  uint32
       tag 10, varint; presence explicit, as a member of oneof parent
       `ident` of the enclosing transaction, 0 included. The library does not
       look it up. Absent: no enclosing transaction or not recorded.
    3  rows  int32
       tag 18, varint; presence implicit: 0 is not written
       A row count. The writer decides whether it counts rows returned, affected
       or both. 0: zero or not recorded.
    4  duration  google.protobuf.Duration
       tag 22, length-delimited; presence explicit
       Elapsed time of the transaction. Absent: not recorded.

Oneofs
  parent
       set or not: parent_id
       Gives `parent_id` explicit presence: a reference to number 0 differs from
       no reference.

Used by
  quor.protobuf.Tarq.SqlTransactions.transactions
""")

    def test_an_enum(self):
        self.assertEqual(output_of("describe", "DumpReason"), """\
enum quor.protobuf.CT.Header.DumpReason
  in quor.protobuf.CT.Header, codetrace.proto

  Why a dump was taken.

Values
    0  USER
       A user requested it. The zero value, which is not written.
    1  EVENT
       An event caused it.
    2  REQUEST
       It was taken for a request.

Used by
  quor.protobuf.CT.Header.dump_reason
""")

    def test_an_enum_value(self):
        self.assertEqual(output_of("describe", "HighMemoryUsage"), """\
enum value quor.protobuf.Monitor.Event.EventType.HighMemoryUsage
  in quor.protobuf.Monitor.Event.EventType, monitor.proto

  High memory usage. Goes with `memory_usage_bytes`.

Values of quor.protobuf.Monitor.Event.EventType
    3  HighMemoryUsage
""")

    def test_a_oneof(self):
        output = output_of("describe", "QueueId.id_or_name")
        self.assertIn("\nOneof\n  id_or_name\n       one of: queue_id, queue_name\n", output)
        self.assertIn("\n    2  queue_name  string\n       tag 12, length-delimited; presence "
                      "explicit, as a member of oneof\n       id_or_name\n", output)

    def test_a_file(self):
        self.assertEqual(output_of("describe", "login.proto"), """\
file login.proto
  package quor.protobuf.Login

  The login handshake. Both messages have the same wire form, one string in
  field 1: their bytes alone do not tell which of the two they hold.

Messages
  quor.protobuf.Login.Login, 1 field
       Names the host that logs in.
  quor.protobuf.Login.Config, 1 field
       Carries one URI.
""")

    def test_unused_numbers(self):
        self.assertIn("\nUnused numbers\n  4, 5\n", output_of("describe", "Tarq.Function"))
        unused = {message.name: numbers for message in messages()
                  if (numbers := data_of(message.full_name)["unused_numbers"])}
        self.assertEqual(unused, {"Function": [4, 5], "Error": [3]})

    def test_uses_of_a_message(self):
        self.assertEqual(data_of("QVal")["used_by"], [
            "quor.protobuf.QuorPHP.SuperglobalValue.value",
            "quor.protobuf.QuorPHP.SuperglobalValue.old_value",
            "quor.protobuf.QuorPHP.QuorArrayValue.value",
            "quor.protobuf.JQ.AttrList.attr_list",
            "quor.protobuf.Monitor.CustomEventData.user_data"])

    def test_markdown(self):
        self.assertEqual(output_of("describe", "SqlError", "--format", "markdown"), """\
### `quor.protobuf.Tarq.SqlError`

A message of `tarq.proto`.

The error of a failed SQL statement.

| number | field | type | tag | wire type | presence | meaning |
|---:|---|---|---|---|---|---|
| 1 | `message` | `string` | `0a` | length-delimited | implicit: empty is not written \
| The database's error message, UTF-8. Empty: empty text or not recorded. |

Used by `quor.protobuf.Tarq.SqlQuery.error`.
""")

    def test_markdown_markup_is_escaped_except_in_code(self):
        output = output_of("describe", "SuperglobalVariable", "--format", "markdown")
        self.assertIn("such as $\\_SERVER.", output)
        self.assertIn("| `map<int32, quor.protobuf.QuorPHP.QVal>` |",
                      output_of("describe", "AttrList", "--format", "markdown"))


class EveryElement(unittest.TestCase):
    """Against the descriptors of another implementation."""

    def test_of_a_message_is_described_with_its_comment(self):
        expected = comments()
        self.assertEqual(len(expected), 276)
        found = {}
        for message in messages():
            data = data_of(message.full_name)
            found[data["name"]] = data["comment"]
            for field in data["fields"]:
                found[field["full_name"]] = field["comment"]
            for oneof in data["oneofs"]:
                found[f"{data['name']}.{oneof['name']}"] = oneof["comment"]
            for enum in data["enums"]:
                found[enum["name"]] = enum["comment"]
                for value in enum["values"]:
                    found[f"{enum['name']}.{value['name']}"] = value["comment"]
        self.assertEqual({name: " ".join(comment.split()) for name, comment in found.items()},
                         expected)

    def test_has_its_number_type_tag_and_presence(self):
        for message in messages():
            fields = {field["name"]: field for field in data_of(message.full_name)["fields"]}
            self.assertEqual(list(fields), [field.name for field in message.fields])
            for field in message.fields:
                with self.subTest(field.full_name):
                    found = fields[field.name]
                    code, name = wire_type(field)
                    self.assertEqual(found["number"], field.number)
                    self.assertEqual(found["wire_type"], name)
                    self.assertEqual(bytes.fromhex(found["tag"]), reference.tag(field.number, code))
                    self.assertEqual(found["presence"],
                                     "explicit" if field.has_presence else "implicit")
                    oneof = field.containing_oneof
                    self.assertEqual(found["oneof"], None if oneof is None else oneof.name)
                    is_map = field.message_type and field.message_type.GetOptions().map_entry
                    self.assertEqual(found["cardinality"], "map" if is_map else (
                        "repeated" if field.label == field.LABEL_REPEATED else "singular"))
                    if field.message_type and not is_map:
                        self.assertEqual(found["type"], field.message_type.full_name)
                    elif field.enum_type:
                        self.assertEqual(found["type"], field.enum_type.full_name)

    def test_can_be_described_in_each_format_within_80_columns(self):
        names = [file.name for _, file in schema_files()]
        names += ["google.protobuf.Timestamp", "google.protobuf.Duration", "google.protobuf.Any"]
        for message in messages():
            names += [message.full_name]
            names += [field.full_name for field in message.fields]
            names += [oneof.full_name for oneof in message.oneofs]
        for enum in enums():
            names += [enum.full_name]
            names += [f"{enum.full_name}.{value.name}" for value in enum.values]
        self.assertEqual(len(names), 276 + 7 + 3)
        for name in names:
            with self.subTest(name):
                self.assertEqual(data_of(name)["name"], name)
                text = output_of("describe", name)
                self.assertIn(name, text.splitlines()[0])
                for line in text.splitlines():  # an address in a comment is one long word
                    self.assertTrue(len(line) <= 80 or " " not in line.strip(), line)
                markdown = output_of("describe", name, "--format", "markdown")
                self.assertTrue(markdown.startswith(f"### `{name}`\n\nA"), markdown)
                table = [line for line in markdown.splitlines() if line.startswith("|")]
                self.assertTrue(all(line.endswith("|") for line in table))


class CommandLine(unittest.TestCase):
    def test_without_a_name_is_refused(self):
        status, output, errors = qmsg("describe")
        self.assertEqual((status, output), (2, ""))
        self.assertIn("name is required", errors)

    def test_with_an_unknown_format_is_refused(self):
        status, output, errors = qmsg("describe", "SqlQuery", "--format", "yaml")
        self.assertEqual((status, output), (2, ""))
        self.assertIn("yaml not in {text,json,markdown}", errors)

    def test_a_full_disk_is_reported(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            result = subprocess.run([tool.PROGRAM, "describe", "SqlQuery"], stdout=full,
                                    stderr=subprocess.PIPE, text=True, check=False)
        self.assertEqual((result.returncode, result.stderr),
                         (3, "qmsg describe: cannot write standard output: "
                             "No space left on device\n"))

    def test_names_are_bold_on_a_terminal_with_colours(self):
        def on_terminal(**environment):
            ours, its = tool.open_terminal()
            subprocess.run([tool.PROGRAM, "describe", "SqlError"], stdout=its, check=True,
                           env={**os.environ, **environment})
            os.close(its)
            output = os.read(ours, 65536).decode()
            os.close(ours)
            return output

        self.assertIn("message \x1b[1mquor.protobuf.Tarq.SqlError\x1b[0m\r\n",
                      on_terminal(NO_COLOR=""))
        self.assertIn("    1  \x1b[1mmessage\x1b[0m  string\r\n", on_terminal(NO_COLOR=""))
        self.assertNotIn("\x1b", on_terminal(NO_COLOR="1"))
        self.assertNotIn("\x1b", output_of("describe", "SqlError"))


if __name__ == "__main__":
    unittest.main()
