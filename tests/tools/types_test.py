"""qmsg types lists the declarations of the schema files."""

import json
import subprocess
import unittest

import tool
from support import enums, messages, output_of, qmsg, schema_files


class Types(unittest.TestCase):
    def test_lists_each_message_with_its_number_of_fields(self):
        output = output_of("types")
        rows = [line.split() for line in output.splitlines() if line.startswith("  ")]
        self.assertEqual({row[1]: row[2:] for row in rows if row[0] == "message"},
                         {message.full_name: [str(len(message.fields)),
                                              "field" if len(message.fields) == 1 else "fields"]
                          for message in messages()})
        self.assertEqual({row[1]: row[2:] for row in rows if row[0] == "enum"},
                         {enum.full_name: [str(len(enum.values)), "values"] for enum in enums()})
        self.assertIn("\ntarq.proto, package quor.protobuf.Tarq\n", output)
        self.assertIn("  message quor.protobuf.Tarq.SqlQuery                   11 fields\n", output)

    def test_lists_the_same_as_json(self):
        files = {file["file"]: file for file in json.loads(output_of("types", "--json"))}
        self.assertEqual(len(files), 7)
        for proto, file in schema_files():
            found = files[proto.name]
            self.assertEqual(found["package"], proto.package)
            self.assertEqual(found["messages"],
                             [{"name": message.full_name, "fields": len(message.fields)}
                              for message in file.message_types_by_name.values()])
            self.assertEqual(found["enums"],
                             [{"name": enum.full_name, "values": len(enum.values)}
                              for message in file.message_types_by_name.values()
                              for enum in message.enum_types])

    def test_needs_no_arguments(self):
        status, output, errors = qmsg("types", "more")
        self.assertEqual((status, output), (2, ""))
        self.assertIn("more", errors)

    def test_reports_a_write_error(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            result = subprocess.run([tool.PROGRAM, "types"], stdout=full, stderr=subprocess.PIPE,
                                    text=True, check=False)
        self.assertEqual(result.returncode, 3)
        self.assertEqual(result.stderr, "qmsg types: cannot write standard output: "
                                        "No space left on device\n")


if __name__ == "__main__":
    unittest.main()
