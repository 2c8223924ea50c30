"""Names of elements: full, abbreviated, unknown and ambiguous ones."""

import json
import unittest

from support import enums, messages, output_of, qmsg

MEANINGS = [
    ("SqlQuery", "quor.protobuf.Tarq.SqlQuery"),
    ("Tarq.Error", "quor.protobuf.Tarq.Error"),
    ("quor.protobuf.QuorPHP.Error", "quor.protobuf.QuorPHP.Error"),
    ("Config", "quor.protobuf.Login.Config"),
    ("SqlQuery.flags", "quor.protobuf.Tarq.SqlQuery.flags"),
    ("statement_type", "quor.protobuf.Tarq.SqlQuery.statement_type"),
    ("QVal.Type", "quor.protobuf.QuorPHP.QVal.Type"),
    ("NUL", "quor.protobuf.QuorPHP.QVal.Type.NUL"),
    ("Type.NUL", "quor.protobuf.QuorPHP.QVal.Type.NUL"),
    ("QVal.NUL", "quor.protobuf.QuorPHP.QVal.Type.NUL"),
    ("QVal.value", "quor.protobuf.QuorPHP.QVal.value"),
    ("tarq.proto", "tarq.proto"),
    ("google.protobuf.Timestamp", "google.protobuf.Timestamp"),
    ("google.protobuf.Duration", "google.protobuf.Duration"),
    ("google.protobuf.Any", "google.protobuf.Any"),
    ("sqlquery", "quor.protobuf.Tarq.SqlQuery"),
    ("TARQ.ERROR", "quor.protobuf.Tarq.Error"),
    ("Tarq.Proto", "tarq.proto"),
    ("SqlQuery.5", "quor.protobuf.Tarq.SqlQuery.query"),
    ("type.googleapis.com/quor.protobuf.Tarq.SqlQuery", "quor.protobuf.Tarq.SqlQuery"),
    ("a.b/c/SqlQuery", "quor.protobuf.Tarq.SqlQuery"),
]

REFUSALS = [
    ("Error", "'Error' is ambiguous: quor.protobuf.QuorPHP.Error, quor.protobuf.Tarq.Error"),
    ("flags", "'flags' is ambiguous: quor.protobuf.CT.Header.flags, "
              "quor.protobuf.Tarq.SqlQuery.flags"),
    ("file_name", "'file_name' is ambiguous: quor.protobuf.QuorPHP.StackTraceFrame.file_name, "
                  "quor.protobuf.Monitor.FunctionData.file_name, "
                  "quor.protobuf.Monitor.PhpErrorData.file_name, "
                  "quor.protobuf.Tarq.Function.file_name, quor.protobuf.Tarq.Error.file_name"),
    ("queue_name", "'queue_name' is ambiguous: quor.protobuf.JQ.QueueId.queue_name, "
                   "quor.protobuf.JQ.Queue.queue_name, quor.protobuf.JQ.JobId.queue_name, "
                   "quor.protobuf.JQ.Job.queue_name"),
    ("BOOL", "'BOOL' is ambiguous: quor.protobuf.Config.Value.Type.BOOL, "
             "quor.protobuf.QuorPHP.QVal.Type.BOOL"),
    ("SqlQury", "nothing is called 'SqlQury'; nearest: quor.protobuf.Tarq.SqlQuery"),
    ("Flags", "'Flags' is ambiguous: quor.protobuf.CT.Header.flags, "
              "quor.protobuf.Tarq.SqlQuery.flags"),
    ("SqlQuery.99", "quor.protobuf.Tarq.SqlQuery has no field 99; qmsg describe SqlQuery lists its "
                    "fields"),
    ("Tarq.SqlQuery.flag", "nothing is called 'Tarq.SqlQuery.flag'; nearest: "
                           "quor.protobuf.Tarq.SqlQuery.flags, "
                           "quor.protobuf.Tarq.SqlQuery.rows, "
                           "quor.protobuf.Tarq.SqlQuery.query, "
                           "quor.protobuf.Tarq.SqlQuery.status, "
                           "quor.protobuf.Tarq.SqlQuery.error"),
    ("tarq.prot", "nothing is called 'tarq.prot'; nearest: tarq.proto, "
                  "quor.protobuf.Tarq.Error"),
    ("proto", "nothing is called 'proto'; 'qmsg types' lists all types"),
    ("xyzzy", "nothing is called 'xyzzy'; 'qmsg types' lists all types"),
    ("", "nothing is called ''; 'qmsg types' lists all types"),
    (".", "nothing is called '.'; 'qmsg types' lists all types"),
    ("a name\nof two lines", "nothing is called"),
]


def described(name):
    return json.loads(output_of("describe", name, "--format", "json"))["name"]


class Names(unittest.TestCase):
    def test_find_the_element_that_ends_with_them(self):
        for name, meaning in MEANINGS:
            with self.subTest(name):
                self.assertEqual(described(name), meaning)

    def test_in_full_find_their_element(self):
        for element in messages() + enums():
            with self.subTest(element.full_name):
                self.assertEqual(described(element.full_name), element.full_name)

    def test_that_are_unknown_or_ambiguous_are_refused_with_suggestions(self):
        for name, reason in REFUSALS:
            with self.subTest(name):
                status, output, errors = qmsg("describe", name)
                self.assertEqual((status, output), (2, ""))
                self.assertTrue(errors.startswith("qmsg describe: " + reason), errors)
                if "\n" not in name:
                    self.assertEqual(errors, f"qmsg describe: {reason}\n")

    def test_with_more_than_five_suggestions_are_counted(self):
        fields = [field.full_name for message in messages() for field in message.fields
                  if field.name == "queue_id"]
        _, _, errors = qmsg("describe", "queue_id")
        self.assertGreater(len(fields), 5)
        self.assertIn(f" and {len(fields) - 5} more\n", errors)
        self.assertEqual(errors.count("quor.protobuf."), 5)


if __name__ == "__main__":
    unittest.main()
