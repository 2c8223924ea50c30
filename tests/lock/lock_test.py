"""Every kind of change is told apart, judged and explained; the lock is renewed on purpose only."""

import contextlib
import io
import pathlib
import shutil
import tempfile
import unittest
from unittest import mock

import lock
import rules
import storage
from compare import compare
from google.protobuf import descriptor_pb2

HERE = pathlib.Path(__file__).resolve().parent
LOCKED = storage.read_locked(HERE / "descriptors.txtpb")
RETIRED = storage.read_retired(HERE / "retired.txt")
Field = descriptor_pb2.FieldDescriptorProto
BREAKING, ALLOWED = rules.BREAKING, rules.ALLOWED


def named(elements, name):
    return next(element for element in elements if element.name == name)


class Schema:
    """A copy of the locked schema to change. Paths: "tarq.SqlQuery.rows", "config.Value.Type"."""

    def __init__(self):
        self.set = descriptor_pb2.FileDescriptorSet()
        self.set.CopyFrom(LOCKED)

    def file(self, name):
        return named(self.set.file, f"{name}.proto")

    def message(self, path):
        file, *names = path.split(".")
        found = named(self.file(file).message_type, names[0])
        for name in names[1:]:
            found = named(found.nested_type, name)
        return found

    def field(self, path):
        message, _, name = path.rpartition(".")
        return named(self.message(message).field, name)

    def enum(self, path):
        message, _, name = path.rpartition(".")
        return named(self.message(message).enum_type, name)

    def value(self, path):
        enum, _, name = path.rpartition(".")
        return named(self.enum(enum).value, name)


def rename(what, path, new, **also):
    def change(schema):
        element = getattr(schema, what)(path)
        element.name = new
        for attribute, value in also.items():
            setattr(element, attribute, value)
    return change


def assign(what, path, **attributes):
    def change(schema):
        element = getattr(schema, what)(path)
        for attribute, value in attributes.items():
            if value is None:
                element.ClearField(attribute)
            else:
                setattr(element, attribute, value)
    return change


def retype(path, type_name, message=None):
    return assign("field", path, type=Field.Type.Value(f"TYPE_{type_name.upper()}"),
                  type_name=message)


def add_field(message, name, number, at=None, **also):
    def change(schema):
        fields = schema.message(message).field
        also.setdefault("type", Field.TYPE_INT32)
        new = Field(name=name, number=number, json_name=name, label=Field.LABEL_OPTIONAL, **also)
        fields.insert(len(fields) if at is None else at, new)
    return change


def remove(elements, name):
    """`elements` gives the list that the element is taken out of."""
    return lambda schema: elements(schema).remove(named(elements(schema), name))


def swap(elements, first, second):
    def change(schema):
        listed = elements(schema)
        kept = list(listed)
        kept[first], kept[second] = kept[second], kept[first]
        del listed[:]
        listed.extend(kept)
    return change


def fields(path):
    return lambda schema: schema.message(path).field


def values(path):
    return lambda schema: schema.enum(path).value


def add_value(enum, name, number, at=None):
    def change(schema):
        listed = schema.enum(enum).value
        value = descriptor_pb2.EnumValueDescriptorProto(name=name, number=number)
        listed.insert(len(listed) if at is None else at, value)
    return change


def add_message(file, name, at=None):
    def change(schema):
        listed = schema.file(file).message_type
        listed.insert(len(listed) if at is None else at,
                      descriptor_pb2.DescriptorProto(name=name))
    return change


def option(what, path, name, value):
    return lambda schema: setattr(getattr(schema, what)(path).options, name, value)


def both(*changes):
    return lambda schema: [change(schema) for change in changes]


def into_new_oneof(path, oneof):
    def change(schema):
        message = schema.message(path.rpartition(".")[0])
        message.oneof_decl.add(name=oneof)
        schema.field(path).oneof_index = len(message.oneof_decl) - 1
    return change


def dependencies(file):
    return lambda schema: schema.file(file).dependency


# A sentence; the change; the kinds it consists of; words that the explanation has to have.
CASES = [
    ("A field renamed",
     rename("field", "tarq.SqlQuery.rows", "row_count", json_name="rowCount"),
     ["field_renamed"],
     ['"rows" (number 10) is called "row_count" now', "bytes stay the same", '"rowCount"',
      "set_rows()", "set_row_count()", "kRowsFieldNumber", "kRowCountFieldNumber"]),
    ("A field renamed with the same JSON name",
     rename("field", "tarq.SqlQuery.statement_type", "statementType"),
     ["field_renamed_same_json"], ['The key "statementType" stays']),
    ("A repeated message field renamed",
     rename("field", "tarq.SqlQueries.queries", "all", json_name="all"),
     ["field_renamed"], ["add_queries()", "add_all()"]),
    ("A field with another number",
     assign("field", "tarq.SqlQuery.rows", number=12),
     ["field_renumbered"], ["12 now instead of 10", "Old readers look for number 10",
                            "Old writers send number 10", "kRowsFieldNumber is 12"]),
    ("Two fields that exchange their numbers",
     both(assign("field", "tarq.SqlConnection.ident", number=2),
          assign("field", "tarq.SqlConnection.driver_type", number=1)),
     ["field_renumbered_onto"] * 2, ['take its value for "driver_type"', "misread"]),
    ("A field that takes a gap as its number",
     assign("field", "tarq.Function.line_end", number=4),
     ["field_renumbered", "number_retired"], ["stays unused for ever"]),
    ("A field removed", remove(fields("tarq.SqlQuery"), "rows"),
     ["field_removed"], ["keep it as an unknown field", "ever given to another field",
                         "set_rows()", 'refuse the key "rows"']),
    ("A field removed and its number given to another of another name",
     both(remove(fields("tarq.SqlQuery"), "stack_trace"),
          assign("field", "tarq.SqlQuery.rows", number=11)),
     ["field_renumbered_onto", "field_removed"], ['11 was the number of "stack_trace"']),
    ("Another field under the number of one that is gone",
     both(rename("field", "tarq.SqlError.message", "code", json_name="code"),
          retype("tarq.SqlError.code", "int32")),
     ["field_renamed", "type_other_wire"], ['"message" (number 1) is called "code"']),
    ("Fields in another order", swap(fields("tarq.SqlConnection"), 0, 1),
     ["field_order"], ["Descriptor::field(i)", "ident"]),
    ("A JSON name changed", assign("field", "tarq.SqlQuery.rows", json_name="n"),
     ["json_name_changed"], ['"rows" becomes "n"']),
    ("A new field at the end", add_field("tarq.SqlQuery", "plan", 12),
     ["field_added"], ["./dev lock", "unknown field", "absent", 'new key "plan"']),
    ("A new field in the middle", add_field("tarq.SqlQuery", "plan", 12, at=3),
     ["field_added", "field_order"], ["end of the message"]),
    ("A new field under a number that stays unused", add_field("tarq.Function", "depth", 5),
     ["number_retired"], ["nobody may take: it stays unused for ever", "misread"]),
    ("A new field under the unused number of an error", add_field("tarq.Error", "depth", 3),
     ["number_retired"], ["number 3"]),
    ("A new field under the number that another field has left",
     both(assign("field", "tarq.SqlQuery.rows", number=12), add_field("tarq.SqlQuery", "plan", 10)),
     ["field_renumbered", "number_reused"], ["plan takes number 10, which is the number of rows"]),
    ("A new member at the end of its oneof, with a field behind it",
     add_field("monitor.Event", "cpu", 11, at=9, oneof_index=0),
     ["oneof_member_added"], ['member of oneof "data"', "a switch over the case"]),
    ("A new member amid its oneof",
     add_field("monitor.Event", "cpu", 11, at=6, oneof_index=0),
     ["oneof_member_added", "field_order"], ["its oneof"]),

    ("int32 to int64", retype("tarq.SqlQuery.rows", "int64"),
     ["type_same_encoding"], ["every value that both types can hold", "was a number",
                              "string of digits", "int64_t"]),
    ("int32 to sint32", retype("tarq.SqlQuery.rows", "sint32"),
     ["type_other_encoding"], ["Old writers are misread in the same way: 1 arrives as -1",
                               "Old readers read other values than were written: -1 arrives"]),
    ("int32 to fixed32", retype("tarq.SqlQuery.rows", "fixed32"),
     ["type_other_wire"], ["cannot be read for each other", "without an error"]),
    ("double to sfixed64", retype("quorphp.QVal.double_value", "sfixed64"),
     ["type_other_encoding"], ["1.0 arrives as a number with many digits"]),
    ("string to bytes", retype("tarq.ResponseBody.body", "bytes"),
     ["string_to_bytes"], ["Old readers refuse the whole message", "UTF-8", "base64"]),
    ("string to int32", retype("tarq.ResponseBody.body", "int32"),
     ["type_other_wire"], ["treat the field as an unknown one"]),
    ("Repeated string to repeated int32, which is packed",
     retype("tarq.RequestHeaders.headers", "int32"),
     ["type_other_content"], ["a length in front", "refused"]),
    ("Another message in a field",
     retype("tarq.SqlQuery.error", "message", ".quor.protobuf.QuorPHP.Error"),
     ["message_type_changed"], ["quor.protobuf.Tarq.SqlError", "another class"]),
    ("Another enum in a field",
     retype("tarq.Error.severity", "enum", ".quor.protobuf.Tarq.Function.FunctionType"),
     ["enum_type_changed"], ["another list"]),
    ("The value type of a map",
     retype("jobqueue.AttrList.AttrListEntry.value", "message", ".quor.protobuf.QuorPHP.Error"),
     ["message_type_changed"], ["AttrListEntry"]),

    ("A singular number made repeated",
     assign("field", "tarq.SqlQuery.rows", label=Field.LABEL_REPEATED),
     ["repeated_changed_packed"], ["one packed block", "add_rows()"]),
    ("A repeated text made singular",
     assign("field", "tarq.RequestHeaders.headers", label=Field.LABEL_OPTIONAL),
     ["repeated_changed"], ["only the last element", "a list on one side"]),
    ("A map made a list",
     option("message", "jobqueue.AttrList.AttrListEntry", "map_entry", False),
     ["map_changed"], ["google::protobuf::Map"]),
    ("A field made optional",
     both(into_new_oneof("tarq.SqlQuery.rows", "_rows"),
          assign("field", "tarq.SqlQuery.rows", proto3_optional=True)),
     ["optional_added"], ["has_rows() comes"]),

    ("A field moved into a oneof that is there",
     assign("field", "tarq.SqlTransaction.rows", oneof_index=0),
     ["moved_into_oneof"], ['moved into oneof "parent"', "keep the one that comes last",
                            "drop the others without an error", "set_rows() clears"]),
    ("A field moved into a new oneof", into_new_oneof("tarq.SqlTransaction.rows", "count"),
     ["moved_into_oneof"], ['oneof "count"', "count_case()"]),
    ("A field moved out of its oneof",
     assign("field", "tarq.SqlTransaction.parent_id", oneof_index=None),
     ["moved_out_of_oneof"], ["0 or empty", "has_parent_id()"]),
    ("A field moved to another oneof",
     assign("field", "tarq.SqlQuery.driver_type", oneof_index=0),
     ["moved_to_other_oneof"], ['from oneof "driver" to oneof "connection"']),
    ("A oneof renamed",
     lambda schema: setattr(schema.message("config.Value").oneof_decl[0], "name", "content"),
     ["oneof_renamed"], ["value_case()", "content_case()", "ContentCase"]),
    ("Oneofs in another order",
     both(swap(lambda schema: schema.message("tarq.SqlQuery").oneof_decl, 0, 1),
          assign("field", "tarq.SqlQuery.connection_id", oneof_index=1),
          assign("field", "tarq.SqlQuery.driver_type", oneof_index=0)),
     ["oneof_order"], ["oneof_decl(i)"]),

    ("An enum value renamed", rename("value", "config.Value.Type.JSON", "JSON_TEXT"),
     ["value_renamed"], ["JSON = 6 is called JSON_TEXT", '"JSON_TEXT" is written']),
    ("An enum value renumbered", assign("value", "config.Value.Type.JSON", number=7),
     ["value_renumbered"], ["7 now instead of 6", "a value without a name"]),
    ("Two enum values that exchange their numbers",
     both(assign("value", "config.Value.Type.INT", number=3),
          assign("value", "config.Value.Type.UINT", number=2)),
     ["value_renumbered"] * 2, ["take it for UINT", "take it for INT"]),
    ("An enum value removed", remove(values("config.Value.Type"), "JSON"),
     ["value_removed"], ["still send 6", "no name for it"]),
    ("A new enum value at the end", add_value("config.Value.Type", "DATE", 7),
     ["value_added"], ["_IsValid says false", "./dev lock"]),
    ("A new enum value in the middle", add_value("config.Value.Type", "DATE", 7, at=2),
     ["value_added", "value_order"], ["goes to the end"]),
    ("A second name for an enum value", add_value("config.Value.Type", "TEXT", 5),
     ["number_reused"], ["the number of STRING"]),
    ("A negative enum value", add_value("config.Value.Type", "LESS", -1),
     ["number_in_gap"], ["after the highest one, 6"]),
    ("Enum values in another order", swap(values("config.Value.Type"), 1, 2),
     ["value_order"], ["EnumDescriptor::value(i)"]),
    ("An enum renamed",
     both(rename("enum", "config.Value.Type", "Kind"),
          assign("field", "config.Value.value_type",
                 type_name=".quor.protobuf.Config.Value.Kind")),
     ["enum_renamed"], ["Type is called Kind"]),
    ("An enum added",
     lambda schema: schema.message("tarq.SqlQuery").enum_type.add(name="Status"),
     ["enum_added"], ["Status is new"]),
    ("An enum that nothing uses removed",
     both(retype("tarq.Error.severity", "int32"),
          remove(lambda schema: schema.message("tarq.Error").enum_type, "Severity")),
     ["enum_removed", "type_same_encoding"], ["_IsValid"]),

    ("A message at the end", add_message("login", "Logout"), ["message_added"], ["./dev lock"]),
    ("A message in front", add_message("login", "Logout", at=0),
     ["message_added", "message_order"],
     ["Login from 0 to 1, Config from 1 to 2", "kIndexInFileMessages"]),
    ("A map field in a message that is not the last",
     both(lambda schema: schema.message("login.Login").nested_type.add(name="TagsEntry").options
          .MergeFrom(descriptor_pb2.MessageOptions(map_entry=True)),
          add_field("login.Login", "tags", 2, type=Field.TYPE_MESSAGE,
                    type_name=".quor.protobuf.Login.Login.TagsEntry")),
     ["field_added", "message_order"], ["a hidden message"]),
    ("Messages in another order", swap(lambda schema: schema.file("login").message_type, 0, 1),
     ["message_order"], ["Login from 0 to 1"]),
    ("A message removed", remove(lambda schema: schema.file("login").message_type, "Config"),
     ["message_removed"], ["Its class is gone"]),
    ("A message renamed, and the fields that hold it",
     both(rename("message", "tarq.SqlError", "SqlFailure"),
          assign("field", "tarq.SqlQuery.error", type_name=".quor.protobuf.Tarq.SqlFailure")),
     ["message_renamed"], ["SqlError is called SqlFailure"]),

    ("An import added", lambda schema: dependencies("login")(schema).append("quorphp.proto"),
     ["import_added"], ["imports quorphp.proto now"]),
    ("An import removed", lambda schema: dependencies("tarq")(schema).pop(),
     ["import_removed"], ["no longer imports google/protobuf/duration.proto"]),
    ("Imports in another order", lambda schema: dependencies("tarq")(schema).reverse(),
     ["import_order"], ["dependency(i)"]),
    ("An import made public",
     lambda schema: schema.file("tarq").public_dependency.append(0), ["unrecognised"], []),
    ("A package renamed", assign("file", "login", package="quor.protobuf.Entry"),
     ["package_changed"], ["another namespace"]),
    ("Another syntax", assign("file", "login", syntax="proto2"),
     ["syntax_changed"], ["proto2 now instead of proto3"]),
    ("A file removed", lambda schema: schema.set.file.remove(schema.file("login")),
     ["file_removed"], ["login.proto is gone"]),
    ("A file added", lambda schema: schema.set.file.add(name="new.proto"), ["file_added"], []),
    ("Arenas turned off", option("file", "tarq", "cc_enable_arenas", False),
     ["option_changed"], ['"cc_enable_arenas" is False now, it was True', "arenas"]),
    ("A field deprecated", option("field", "tarq.SqlQuery.rows", "deprecated", True),
     ["option_changed"], ["warnings", "it was not set"]),
    ("A name for Go", option("file", "tarq", "go_package", "x"), ["option_changed"],
     ["another name"]),
    ("A rare option", option("message", "tarq.SqlError", "no_standard_descriptor_accessor", True),
     ["option_changed"], ["descriptor.proto"]),
    ("Something without words",
     lambda schema: schema.message("login.Login").reserved_name.append("host"),
     ["unrecognised"], ["no words"]),
]


class Changes(unittest.TestCase):
    def test_nothing_changed(self):
        self.assertEqual(compare(LOCKED, Schema().set, RETIRED), [])

    def test_each_kind_of_change_is_told_apart_and_explained(self):
        for sentence, change, kinds, words in CASES:
            with self.subTest(sentence):
                schema = Schema()
                change(schema)
                found = compare(LOCKED, schema.set, RETIRED)
                self.assertEqual(sorted(c.kind for c in found), sorted(kinds))
                text = " ".join(" ".join(map(lock.described, found)).split())
                for word in words:
                    self.assertIn(word, text)
                self.assertNotIn("{", text)
                self.assertNotIn("None", text)

    def test_only_additions_are_allowed(self):
        allowed = {kind for kind, rule in rules.RULES.items() if rule.verdict == ALLOWED}
        self.assertEqual(allowed, {
            "field_added", "oneof_member_added", "value_added", "enum_added", "message_added",
            "file_added", "import_added"})

    def test_numbers_that_stay_unused_are_not_in_use(self):
        self.assertEqual(RETIRED.keys() & storage.numbers(LOCKED).keys(), set())

    def test_known_unused_numbers_are_kept_unused(self):
        tarq = "quor.protobuf.Tarq"
        self.assertLessEqual({(f"{tarq}.Function", 4), (f"{tarq}.Function", 5),
                              (f"{tarq}.Error", 3)}, RETIRED.keys())


class Command(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name in "descriptors.txtpb", "retired.txt":
            shutil.copy(HERE / name, self.folder)

    def run_on(self, change, *arguments):
        """Exit code and output for a schema with the change."""
        schema = Schema()
        change(schema)
        built = self.folder / "built.desc"
        built.write_bytes(schema.set.SerializeToString())
        return self.run_command(built, *arguments)

    def run_command(self, built, *arguments):
        output = io.StringIO()
        argv = ["lock.py", str(built), "--lock", str(self.folder), *arguments]
        with mock.patch("sys.argv", argv), contextlib.redirect_stdout(output):
            try:
                code = lock.main()
            except SystemExit as exit_:
                code = exit_.code
        return code, output.getvalue()

    def lock_text(self):
        return (self.folder / "descriptors.txtpb").read_text()

    same = staticmethod(lambda schema: None)
    allowed = staticmethod(add_field("tarq.SqlQuery", "plan", 12))
    breaking = staticmethod(remove(fields("tarq.SqlQuery"), "rows"))

    def test_the_same_schema_passes(self):
        self.assertEqual(self.run_on(self.same), (0, "The schema is as it was locked.\n"))

    def test_an_allowed_change_fails_until_the_lock_is_renewed(self):
        code, output = self.run_on(self.allowed)
        self.assertEqual(code, 1)
        self.assertIn("allowed: tarq.proto, SqlQuery: field", output)
        self.assertIn("lags behind the schema by 1 allowed change", output)
        self.assertEqual(self.run_on(self.allowed, "--renew")[0], 0)
        self.assertEqual(self.run_on(self.allowed)[0], 0)

    def test_a_breaking_change_fails_and_is_not_renewed(self):
        before = self.lock_text()
        code, output = self.run_on(self.breaking)
        self.assertEqual(code, 1)
        self.assertIn("BREAKING: tarq.proto, SqlQuery: field", output)
        self.assertIn("1 breaking change.", output)
        code, output = self.run_on(self.breaking, "--renew")
        self.assertEqual(code, 1)
        self.assertIn("Not renewed", output)
        self.assertEqual(self.lock_text(), before)

    def test_a_renewal_that_breaks_retires_the_numbers_it_leaves(self):
        code, output = self.run_on(self.breaking, "--renew", "--breaking")
        self.assertEqual(code, 0)
        self.assertIn("1 change, 1 of them breaking", output)
        self.assertIn("Nobody may take number 10 of quor.protobuf.Tarq.SqlQuery", output)
        self.assertEqual(self.run_on(self.breaking)[0], 0)
        again = both(self.breaking, add_field("tarq.SqlQuery", "plan", 10))
        self.assertIn("nobody may take: was field rows", self.run_on(again)[1])

    def test_a_retired_number_can_be_forced_into_use(self):
        reuse = add_field("tarq.Error", "line", 3)
        code, output = self.run_on(reuse, "--renew", "--breaking")
        self.assertEqual(code, 0)
        self.assertIn("Number 3 of quor.protobuf.Tarq.Error is in use again", output)
        self.assertEqual(self.run_on(reuse)[0], 0)

    def test_a_renewal_writes_what_a_renewal_wrote(self):
        before = self.lock_text()
        self.assertEqual(self.run_on(self.allowed, "--renew")[0], 0)
        self.assertNotEqual(self.lock_text(), before)
        self.assertEqual(self.run_on(self.same, "--renew", "--breaking")[0], 0)
        self.assertEqual(self.lock_text(), before)

    def test_nothing_to_renew(self):
        self.assertEqual(self.run_on(self.same, "--renew"),
                         (0, "The schema is as it was locked: nothing to renew.\n"))

    def test_comments_and_the_order_of_files_are_not_locked(self):
        def change(schema):
            schema.set.file.insert(0, schema.set.file.pop())
            schema.file("login").source_code_info.location.add(leading_comments="Other words")
        self.assertEqual(self.run_on(change)[0], 0)

    def test_bad_input_is_named(self):
        missing = self.folder / "missing.desc"
        self.assertIn(f"{missing}: No such file", self.run_command(missing)[0])
        broken = self.folder / "broken.desc"
        broken.write_bytes(b"\x0a\xff")
        self.assertIn(f"{broken}: this is not a descriptor set", self.run_command(broken)[0])
        broken.write_bytes(b"")
        self.assertIn(f"{broken}: there is no schema file", self.run_command(broken)[0])
        retired = self.folder / "retired.txt"
        retired.write_text("# numbers\nTarq.Error three\n")
        self.assertIn(f"{retired}:2: expected", self.run_on(self.same)[0])
        locked = self.folder / "descriptors.txtpb"
        locked.write_text("file {\n  nam: 1\n}\n")
        self.assertIn(f"{locked}:2:", self.run_on(self.same)[0])


if __name__ == "__main__":
    unittest.main()
