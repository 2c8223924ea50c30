"""Runs the tool, and builds the bytes of messages for its tests."""

import os
import pathlib
import pty
import subprocess
import tempfile
import unittest

import reference

PROGRAM = os.environ["QMSG"]
SANITIZED = os.environ["QMSG_SANITIZED"] == "1"
FINE, BAD_DATA, WRONG_USE, INPUT_OUTPUT = range(4)

# By hand: field 5, a text of eight bytes.
SELECT_1 = bytes.fromhex("2a08") + b"SELECT 1"


class Run:
    """What a run of the tool gave."""

    def __init__(self, arguments, given, **options):
        done = subprocess.run([PROGRAM, *arguments], input=given, capture_output=True, check=False,
                              timeout=300, **options)
        self.code, self.bytes = done.returncode, done.stdout
        self.errors = done.stderr.decode()

    @property
    def text(self):
        return self.bytes.decode()


def qmsg(*arguments, stdin=b""):
    """Returns (exit status, standard output, standard error)."""
    run = Run(arguments, stdin)
    return run.code, run.text, run.errors


class ToolTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_tool(self, *arguments, given=b"", code=FINE, **options):
        """Runs it in an empty folder; `given` is standard input. Fails if it ends otherwise."""
        run = Run(arguments, given, cwd=self.folder, **options)
        self.assertEqual(code, run.code, run.errors)
        return run

    def file(self, name, content):
        (self.folder / name).write_bytes(content)
        return name


def open_terminal():
    """The two ends of a terminal; where the system has none, the test is skipped."""
    try:
        return pty.openpty()
    except OSError as error:
        raise unittest.SkipTest(f"no terminals here: {error}") from error


def delimited(*messages):
    return b"".join(map(reference.length_delimited, messages))


def in_any(type_name, message, url="type.googleapis.com/"):
    """A google.protobuf.Any: type_url, field 1; value, field 2, which is not written if empty."""
    return tagged(1, (url + type_name).encode()) + (tagged(2, message) if message else b"")


def tagged(number, content):
    """A length-delimited field."""
    return reference.tag(number, reference.LENGTH) + reference.length_delimited(content)
