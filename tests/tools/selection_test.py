"""Which messages are read: --message, --offset, --head and --tail; and that a pipe does not make anyone
wait."""

import json
import os
import select
import subprocess
import unittest

import tool
from tool import BAD_DATA, FINE, WRONG_USE

# Five logins, whose hostname, field 1, is their index. Each takes a length and three bytes.
LOGINS = [b"\x0a\x01%d" % i for i in range(5)]
STREAM = tool.delimited(*LOGINS)
OPTIONS = ("--type", "Login.Login", "--framing", "delimited")


class Selection(tool.ToolTest):
    def hosts(self, *arguments, given=STREAM, code=FINE):
        run = self.run_tool("decode", *OPTIONS, "--compact", *arguments, given=given, code=code)
        return "".join(json.loads(line)["hostname"] for line in run.text.splitlines())

    def test_is_by_index_offset_or_end(self):
        for arguments, expected in [
                (("--message", "2"), "2"), (("--message", "0-0"), "0"), (("--message", "1-3"), "123"),
                (("--message", "3-99"), "34"),
                (("--offset", "0"), "0"),  # its length
                (("--offset", "3"), "0"), (("--offset", "4"), "1"), (("--offset", "19"), "4"),
                (("--head", "2"), "01"), (("--head", "99"), "01234"),
                (("--tail", "2"), "34"), (("--tail", "99"), "01234")]:
            with self.subTest(arguments):
                self.assertEqual(expected, self.hosts(*arguments))

    def test_is_of_each_file(self):
        self.file("a", STREAM)
        self.file("b", tool.delimited(b"\x0a\x01x", b"\x0a\x01y"))
        self.assertEqual("0x", self.hosts("--head", "1", "a", "b"))
        self.assertEqual("4y", self.hosts("--tail", "1", "a", "b"))

    def test_that_finds_nothing_says_what_there_is(self):
        for arguments, reason in [
                (("--message", "5"), "no message 5 in 'standard input': it has 20 bytes in 5 messages, "
                                     "counted from 0"),
                (("--offset", "20"), "no message at offset 20 in 'standard input': it has 20 bytes in 5 "
                                     "messages")]:
            with self.subTest(arguments):
                run = self.run_tool("decode", *OPTIONS, *arguments, given=STREAM, code=WRONG_USE)
                self.assertEqual(("", f"qmsg decode: {reason}\n"), (run.text, run.errors))
        run = self.run_tool("decode", "--type", "Login.Login", "--message", "1", given=LOGINS[0],
                            code=WRONG_USE)
        self.assertIn("it has 3 bytes in 1 message,", run.errors)
        for option in ("--head", "--tail"):
            self.assertEqual("", self.hosts(option, "3", given=b""))

    def test_refuses_what_is_no_number_and_two_at_once(self):
        for arguments, reason in [
                (("--message", "x"), "--message x: a number is expected"),
                (("--message", "1-"), "--message 1-: a number is expected"),
                (("--message", "99999999999999999999"), "a number is expected"),
                (("--message", "3-1"), "the last is before the first"),
                (("--head", "0"), "--head 0 selects nothing"),
                (("--tail", "0"), "--tail 0 selects nothing"),
                (("--head", "1", "--tail", "1"), "exclude each other")]:
            with self.subTest(arguments):
                run = self.run_tool("decode", *OPTIONS, *arguments, given=STREAM, code=WRONG_USE)
                self.assertTrue(run.errors.startswith("qmsg decode: "), run.errors)
                self.assertIn(reason, run.errors)

    def test_of_what_is_whole_does_not_need_the_rest(self):
        damaged = STREAM + b"\xff\xff\xff\xff\xff"
        self.assertEqual("01", self.hosts("--head", "2", given=damaged))
        self.assertEqual("2", self.hosts("--message", "2", given=damaged))
        self.assertEqual("2", self.hosts("--offset", "10", given=damaged))
        # The end of the part that can be read, and then the error.
        self.assertEqual("34", self.hosts("--tail", "2", given=damaged, code=BAD_DATA))

    def test_is_of_every_command_that_reads(self):
        self.file("a", STREAM)
        self.file("b", tool.delimited(*LOGINS[:4], b"\x0a\x01x"))
        read = {name: self.run_tool(name, *OPTIONS, "--message", "4", "a").text for name in ("stats", "wire")}
        self.assertRegex(read["stats"], r"(?m)^ +1 +3 ")
        self.assertIn("message 4: 3 bytes", read["wire"])
        self.assertNotIn("message 3", read["wire"])
        self.assertIn("1 message, 0 errors", self.run_tool("check", *OPTIONS, "--message", "4", "a").errors)
        self.run_tool("diff", *OPTIONS, "--message", "0-3", "a", "b")
        self.assertIn("message 4:", self.run_tool("diff", *OPTIONS, "--tail", "1", "a", "b", code=BAD_DATA).text)
        guess = self.run_tool("guess", "--framing", "delimited", "--head", "1", "--json", "a")
        self.assertEqual(1, json.loads(guess.text)["messages"])

    def test_numbers_findings_as_the_whole_file_does(self):
        damaged = tool.delimited(*LOGINS, b"\x10\x05") + b"\xff\xff\xff\xff\xff"
        run = self.run_tool("check", *OPTIONS, "--tail", "1", "--json", given=damaged, code=BAD_DATA)
        self.assertEqual([(5, 21, "unknown-field"), (6, 23, "framing")],
                         [(one["message"], one["offset"], one["code"])
                          for one in map(json.loads, run.text.splitlines())])


class Pipe(tool.ToolTest):
    def test_gives_each_message_as_soon_as_it_is_whole(self):
        reader, writer = os.pipe()
        with subprocess.Popen([tool.PROGRAM, "decode", *OPTIONS, "--compact"], stdin=reader,
                              stdout=subprocess.PIPE) as process, \
                open(writer, "wb", buffering=0) as stream:
            os.close(reader)
            for i, login in enumerate(LOGINS):
                message = tool.delimited(login)
                stream.write(message[:2])
                stream.write(message[2:])
                ready, _, _ = select.select([process.stdout], [], [], 30)
                self.assertTrue(ready, "nothing came")
                self.assertEqual(b'{"hostname":"%d"}\n' % i, process.stdout.readline())
            stream.close()
            self.assertEqual(b"", process.stdout.read())


if __name__ == "__main__":
    unittest.main()
