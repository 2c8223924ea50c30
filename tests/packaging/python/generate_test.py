"""What the generator needs, and what it says if that is missing."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["QMSG_SOURCE"])


class Generator(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(dir=os.environ["QMSG_SCRATCH"])
        self.addCleanup(scratch.cleanup)
        self.tools = pathlib.Path(scratch.name)

    def generate(self):
        """Runs the generator with nothing in PATH but the folder of tools."""
        return subprocess.run([sys.executable, str(SOURCE / "python/generate.py"),
                               str(self.tools / "out")], capture_output=True, text=True,
                              env={**os.environ, "PATH": str(self.tools)})

    def tool(self, name, content):
        (self.tools / name).write_text(f"#!/bin/sh\n{content}\n")
        (self.tools / name).chmod(0o755)

    def refusal(self):
        run = self.generate()
        self.assertEqual(run.returncode, 1)
        self.assertNotIn("Traceback", run.stderr)
        self.assertIn("apt-get install protobuf-compiler mypy-protobuf", run.stderr)
        self.assertFalse((self.tools / "out").exists())
        return run.stderr

    def test_refuses_another_release_line_of_protoc(self):
        for version in ["3.20.3", "3.2.1", "22.5", "3.210.0"]:
            self.tool("protoc", f"echo libprotoc {version}")
            self.assertIn(f"needs protoc of release line 3.21; {self.tools}/protoc is "
                          f"'libprotoc {version}'", self.refusal())

    def test_refuses_a_broken_protoc(self):
        self.tool("protoc", "echo broken >&2; exit 1")
        self.assertIn("protoc is 'broken'", self.refusal())

    def test_says_that_there_is_no_protoc(self):
        self.assertIn("needs protoc of release line 3.21; there is none in PATH", self.refusal())

    def test_says_that_there_is_no_generator_of_stubs(self):
        self.tool("protoc", "echo libprotoc 3.21.12")
        self.assertIn("needs protoc-gen-mypy", self.refusal())

    def test_hands_on_the_failure_of_protoc(self):
        self.tool("protoc", '[ "$1" = --version ] && echo libprotoc 3.21.12')
        self.tool("protoc-gen-mypy", "")
        self.assertNotEqual(self.generate().returncode, 0)

    def test_leaves_no_import_at_the_top_level(self):
        for path in pathlib.Path(os.environ["QMSG_PACKAGE"]).glob("*_pb2.py*"):
            with self.subTest(file=path.name):
                self.assertIsNone(re.search(r"^\s*(import|from) \w+_pb2", path.read_text(), re.M))


if __name__ == "__main__":
    unittest.main()
