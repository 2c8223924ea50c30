"""The behaviour of all commands: help, wrong use, unreadable files, unwritable outputs, encodings."""

import os
import signal
import subprocess
import unittest

import tool
from tool import BAD_DATA, FINE, INPUT_OUTPUT, SELECT_1, WRONG_USE


class Help(tool.ToolTest):
    def test_names_the_version(self):
        self.assertRegex(self.run_tool("--version").text, r"^qmsg \d+\.\d+\.\d+\n$")

    def test_lists_the_exit_codes_of_all_commands(self):
        self.assertIn("0 fine; 1 the data is bad, or differs; 2 wrong use; 3 input or output failed",
                      " ".join(self.run_tool("--help").text.split()))

    def test_is_what_the_tool_prints_without_a_command(self):
        run = self.run_tool(code=WRONG_USE)
        self.assertEqual(("", self.run_tool("--help").text), (run.text, run.errors))

    def test_is_a_command_too(self):
        self.assertEqual(self.run_tool("--help").text, self.run_tool("help").text)
        self.assertEqual(self.run_tool("decode", "--help").text, self.run_tool("help", "decode").text)


class WrongUse(tool.ToolTest):
    def test_of_a_command_names_the_nearest(self):
        for words, expected in [
                (["decod"], "there is no command 'decod'; did you mean decode?"),
                (["help", "decod"], "there is no command 'decod'; did you mean decode?"),
                (["STATS"], "there is no command 'STATS'; did you mean stats?"),
                ([""], "there is no command ''; qmsg --help explains"),
                (["capture.bin"], "there is no command 'capture.bin'; qmsg --help explains"),
                (["a\033[2J"], "there is no command 'a\\x1b[2J'; qmsg --help explains")]:
            with self.subTest(words):
                run = self.run_tool(*words, code=WRONG_USE)
                self.assertEqual(("", f"qmsg: {expected}\n"), (run.text, run.errors))

    def test_is_reported_with_the_option_and_its_values(self):
        cases = [
            (("decode", "--in", "octal"), "--in: octal not in {binary,hex,base64}"),
            (("decode", "--framing", "lines"), "--framing: lines not in {none,delimited,any}"),
            (("decode", "--typo"), "The following argument was not expected: --typo"),
            (("decode",), "which type? Give --type NAME"),
            (("encode",), "which type? Give --type NAME"),
            (("decode", "--framing", "any", "--type", "Login.Login"), "omit --type"),
            (("diff", "--type", "SqlQuery", "-", "-"), "only one of A and B can be standard input"),
            (("diff", "--type", "SqlQuery", "a"), "B is required"),
        ]
        for arguments, expected in cases:
            with self.subTest(arguments):
                run = self.run_tool(*arguments, code=WRONG_USE)
                self.assertEqual("", run.text)
                self.assertIn(expected, run.errors)


class Files(tool.ToolTest):
    def test_that_cannot_be_read_are_named_with_the_reason(self):
        (self.folder / "a folder").mkdir()
        cases = [
            ("not there.bin", "cannot open 'not there.bin': No such file or directory"),
            ("a folder", "'a folder' is a directory; name the files in it"),
        ]
        if os.geteuid() != 0:  # who may read all
            (self.folder / "locked").touch(mode=0)
            cases.append(("locked", "cannot open 'locked': Permission denied"))
        for name, expected in cases:
            for command in ("decode", "stats"):
                with self.subTest(name, command=command):
                    run = self.run_tool(command, "--type", "SqlQuery", name, code=INPUT_OUTPUT)
                    self.assertEqual(f"qmsg {command}: {expected}\n", run.errors)

    def test_may_have_spaces_in_their_names(self):
        run = self.run_tool("decode", "--type", "SqlQuery", "--compact",
                            self.file("my capture.bin", SELECT_1))
        self.assertEqual('{"query":"SELECT 1"}\n', run.text)

    def test_that_are_empty_are_one_empty_message_or_an_empty_stream(self):
        self.file("empty", b"")
        run = self.run_tool("decode", "--type", "SqlQuery", "empty")
        self.assertEqual(("{}\n", "qmsg: 'empty' is empty: a message without fields\n"),
                         (run.text, run.errors))
        run = self.run_tool("decode", "--type", "SqlQuery", "--framing", "delimited", "empty")
        self.assertEqual(("", "qmsg: 'empty' is empty: no messages\n"), (run.text, run.errors))


class Output(tool.ToolTest):
    def test_that_cannot_be_written_is_an_error(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([tool.PROGRAM, "decode", "--type", "SqlQuery"], input=SELECT_1,
                                  stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertEqual((INPUT_OUTPUT,
                          "qmsg decode: cannot write standard output: No space left on device\n"),
                         (done.returncode, done.stderr.decode()))

    def test_into_a_closed_pipe_ends_the_tool_quietly(self):
        stream = self.file("stream.bin", tool.delimited(SELECT_1) * 100_000)
        for disposition in (signal.SIG_DFL, signal.SIG_IGN):
            with self.subTest(disposition):
                reader, writer = os.pipe()
                os.close(reader)
                done = subprocess.run(
                    [tool.PROGRAM, "decode", "--type", "SqlQuery", "--framing", "delimited",
                     stream], cwd=self.folder, stdout=writer, stderr=subprocess.PIPE, check=False,
                    restore_signals=False,
                    preexec_fn=lambda handler=disposition: signal.signal(signal.SIGPIPE, handler))
                os.close(writer)
                self.assertIn(done.returncode, (-signal.SIGPIPE, INPUT_OUTPUT))
                self.assertEqual(b"", done.stderr)


class Encodings(tool.ToolTest):
    def test_of_input_may_contain_separators(self):
        for form, given in (("hex", "2a 08 53:45,4c454354\n2031"), ("hex", "2A0853454C4543542031"),
                            ("base64", "KghTRUxFQ1QgMQ=="), ("base64", "KghTRUxF\n Q1QgMQ"),
                            ("base64", "KghTRUxFQ1QgMQ==\n")):
            with self.subTest(given):
                run = self.run_tool("decode", "--type", "SqlQuery", "--compact", "--in", form,
                                    given=given.encode())
                self.assertEqual('{"query":"SELECT 1"}\n', run.text)

    def test_of_base64_may_use_the_url_safe_alphabet(self):
        # Field 1 is -513, whose varint has digits 62 and 63 of base64.
        for given in (b"CP/7/////////wE=", b"CP_7_________wE="):
            with self.subTest(given):
                run = self.run_tool("decode", "--type", "SqlQuery", "--compact", "--in", "base64",
                                    given=given)
                self.assertEqual('{"statement_type":-513}\n', run.text)

    def test_that_are_invalid_are_refused_with_line_and_column(self):
        cases = [
            ("hex", b"2a\n0g", BAD_DATA, "standard input: line 2, column 2: 'g' is not a hexadecimal digit"),
            ("hex", b"2a0", BAD_DATA, "'standard input' ends in the middle of a byte"),
            ("hex", b"\x00", BAD_DATA, "line 1, column 1: byte 0x00 is not a hexadecimal digit"),
            ("base64", b"Kg=*", BAD_DATA, "line 1, column 4: '*' is not white space after the end of base64"),
            ("base64", b"Kg==Kg", BAD_DATA, "line 1, column 5: 'K' is not white space after the end of base64"),
            ("base64", b"K", BAD_DATA, "ends in the middle of a byte of base64"),
            ("base64", b"Kg\xff=", BAD_DATA, "line 1, column 3: byte 0xff is not base64"),
        ]
        for form, given, code, expected in cases:
            with self.subTest(given):
                run = self.run_tool("decode", "--type", "SqlQuery", "--in", form, given=given,
                                    code=code)
                self.assertEqual("", run.text)
                self.assertIn(expected, run.errors)


if __name__ == "__main__":
    unittest.main()
