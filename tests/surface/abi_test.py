"""The verdicts of abi.py on changes of a schema file, each built into a small library."""

import lzma
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import abi

SCHEMA = pathlib.Path(os.environ["QMSG_SOURCE"], "proto", "config.proto")


def build(schema, soname="libqmsg.so.1"):
    """The description of a library with the messages of one schema file."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "config.proto").write_text(schema)
        subprocess.run([os.environ["PROTOC"], f"--proto_path={folder}", f"--cpp_out={folder}",
                        "config.proto"], check=True)
        library = folder / "library"
        subprocess.run([os.environ["CXX"], "-std=c++14", "-O0", "-g", "-w", "-DNDEBUG", "-fPIC",
                        "-shared", f"-Wl,-soname,{soname}", "-o", library,
                        folder / "config.pb.cc", "-lprotobuf"], check=True)
        return abi.describe(library)


class Baseline(unittest.TestCase):
    def test_it_holds_no_path_of_the_machine_that_it_was_written_on(self):
        baseline = pathlib.Path(abi.__file__).with_name("libqmsg.abi.xz")
        paths = re.findall(rb"path='(/[^']*)'", lzma.decompress(baseline.read_bytes()))
        self.assertEqual(paths, [])


class Verdict(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.schema = SCHEMA.read_text()
        cls.released = build(cls.schema)

    def after(self, old, new, **options):
        self.assertEqual(self.schema.count(old), 1, f"{old} has to be in config.proto once")
        return abi.verdict(self.released, build(self.schema.replace(old, new), **options))

    def assert_runs_on(self, verdict, words, detail=""):
        self.assertIn(words, verdict[0])
        self.assertIn(detail, verdict[1])
        self.assertTrue(verdict[2])

    def assert_breaks(self, verdict, detail):
        self.assertIn("raise the SONAME", verdict[0])
        self.assertIn(detail, verdict[1])
        self.assertFalse(verdict[2])

    def test_the_same_schema_gives_the_released_interface(self):
        verdict = abi.verdict(self.released, build(self.schema))
        self.assert_runs_on(verdict, "The binary interface of libqmsg.so.1 is the released one.")
        self.assertEqual(verdict[1], "")

    def test_a_new_message_is_an_addition(self):
        verdict = abi.verdict(self.released, build(self.schema + "message Extra { bool x = 1; }"))
        self.assert_runs_on(verdict, "has grown", "quor::protobuf::Config::Extra")

    def test_a_new_enum_value_is_an_addition(self):
        self.assert_runs_on(self.after("JSON = 6;", "JSON = 6; TUPLE = 7;"), "has grown",
                            "Config5Value5TUPLE")

    def test_another_number_is_not_seen_in_the_interface(self):
        self.assert_runs_on(self.after("uint32 id = 1;", "uint32 id = 9;"), "is the released one")

    def test_a_new_field_needs_a_new_soname(self):
        verdict = self.after("uint32 id = 1;", "uint32 id = 1; uint64 extra = 77;")
        self.assert_breaks(verdict, "'class quor::protobuf::Config::Set' changed:\n"
                                    "  type size changed")
        self.assertIn("uint64_t extra_", verdict[1])

    def test_a_renamed_field_needs_a_new_soname(self):
        self.assert_breaks(self.after("uint32 id = 1;", "uint32 key = 1;"), "_internal_id")

    def test_another_type_of_a_field_needs_a_new_soname(self):
        self.assert_breaks(self.after("uint32 id = 1;", "string id = 1;"), "_internal_set_id")

    def test_under_a_new_soname_any_change_begins_a_new_interface(self):
        verdict = self.after("uint32 id = 1;", "bool id = 1;", soname="libqmsg.so.2")
        self.assert_runs_on(verdict, "The SONAME is now libqmsg.so.2 instead of libqmsg.so.1")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
