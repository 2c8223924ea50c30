"""The memory of `qmsg check` does not grow with its input."""

import os
import subprocess
import tempfile
import unittest

from tool import PROGRAM
from check_test import (IN_TRANSACTION_7, ON_CONNECTION_7, any_of, framed, queries, tagged)

LIMIT = 48 * 1024  # KiB


def peak(parts, *arguments):
    """The most memory that the command had, in KiB, over an input that comes in parts: what is in
    memory here when it begins would count as its own."""
    with tempfile.TemporaryFile() as file:
        for part in parts:
            file.write(part)
        file.seek(0)
        # pylint: disable=consider-using-with
        process = subprocess.Popen([PROGRAM, "check", *arguments], stdin=file,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    assert process.returncode == 0
    return usage.ru_maxrss


class Memory(unittest.TestCase):
    def test_does_not_grow_with_findings(self):
        # 10 05: field 2, which is not declared.
        self.assertLess(peak([b"\x10\x05" * 500000], "--type", "Login.Login"), LIMIT)

    def test_does_not_grow_with_a_stream(self):
        message = framed(any_of("Login.Login", tagged(1, b"a" * 10000)))
        self.assertLess(peak((message for _ in range(10000)), "--framing", "any"), LIMIT)

    def test_does_not_grow_with_elements(self):
        # 12 02 30 01: queries[i], with status 1.
        self.assertLess(peak([bytes.fromhex("12023001") * 1000000], "--type", "SqlQueries"), LIMIT)

    def test_does_not_grow_with_requests(self):
        stream = (framed(queries(b"%d" % i, ON_CONNECTION_7, IN_TRANSACTION_7))
                  for i in range(200000))
        self.assertLess(peak(stream, "--framing", "any"), LIMIT)

    def test_does_not_grow_with_names_of_requests(self):
        stream = (framed(queries(b"%d" % i * 2000, ON_CONNECTION_7)) for i in range(20000))
        self.assertLess(peak(stream, "--framing", "any"), LIMIT)

    def test_does_not_grow_with_one_request(self):
        message = framed(queries(b"r", *[ON_CONNECTION_7] * 1000))
        self.assertLess(peak((message for _ in range(2000)), "--framing", "any"), 2 * LIMIT)


if __name__ == "__main__":
    unittest.main()
