"""The stubs, as mypy reads them."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import support

RIGHT = """\
import qmsg
from qmsg import quorphp_pb2, tarq_pb2

which: str = qmsg.implementation()
sent = tarq_pb2.SqlQueries(queue_id="request-1")
query = tarq_pb2.SqlQuery(connection_id=0, stack_trace=quorphp_pb2.StackTrace())
text: str = query.query
rows: int = query.rows
kind: quorphp_pb2.QVal.Type.ValueType = quorphp_pb2.QVal.STRING
"""

WRONG = """\
import qmsg
from qmsg import jobqueue_pb2, quorphp_pb2, tarq_pb2

qmsg.load(1)
tarq_pb2.SqlQueries(queue_id=1)
tarq_pb2.SqlQuery(nothing="")
text: str = tarq_pb2.SqlQuery().rows
tarq_pb2.SqlQuery(stack_trace="")
jobqueue_pb2.Joblist()
quorphp_pb2.QVal(value_type="STRING")
"""


def complaints(program):
    """The lines of a program that mypy complains of, and what it says."""
    with tempfile.TemporaryDirectory(dir=os.environ["QMSG_SCRATCH"]) as scratch:
        path = pathlib.Path(scratch) / "program.py"
        path.write_text(program)
        run = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--cache-dir", scratch,
                              path.name], cwd=scratch, capture_output=True, text=True)
    found = {int(line): said
             for line, said in re.findall(r"^program\.py:(\d+): error: (.*)$", run.stdout, re.M)}
    return found, run.stdout + run.stderr


class Stubs(unittest.TestCase):
    def test_come_with_every_generated_module(self):
        found = {path.stem for path in pathlib.Path(os.environ["QMSG_PACKAGE"]).glob("*.pyi")}
        self.assertEqual(found, {f"{schema}_pb2" for schema in support.SCHEMAS})

    def test_carry_the_comments_of_the_schema_files(self):
        stub = pathlib.Path(os.environ["QMSG_PACKAGE"], "login_pb2.pyi").read_text()
        schema = pathlib.Path(os.environ["QMSG_SOURCE"], "proto/login.proto").read_text()
        comment = re.search(r"^  // (.*)$", schema, re.M)[1]
        self.assertIn(comment, stub)

    def test_accept_a_right_program(self):
        found, output = complaints(RIGHT)
        self.assertEqual(found, {}, output)
        self.assertIn("Success", output)

    def test_find_each_mistake(self):
        found, output = complaints(WRONG)
        self.assertEqual(sorted(found), [4, 5, 6, 7, 8, 9, 10], output)


if __name__ == "__main__":
    unittest.main()
