"""The tool on a terminal."""

import os
import subprocess
import unittest

import tool
from tool import SELECT_1


class Terminal(tool.ToolTest):
    def run_on_terminal(self, *arguments, stdin=subprocess.DEVNULL, only_errors=False):
        """Returns exit code and what the terminal shows."""
        controller, terminal = tool.open_terminal()
        process = subprocess.Popen(
            [tool.PROGRAM, *arguments], cwd=self.folder, stderr=terminal,
            stdin=terminal if stdin == "terminal" else stdin,
            stdout=subprocess.DEVNULL if only_errors else terminal)
        os.close(terminal)
        if stdin == "terminal":
            os.write(controller, b"\x04")
        shown = b""
        try:
            while chunk := os.read(controller, 65536):
                shown += chunk
        except OSError:  # the terminal's last user is gone
            pass
        os.close(controller)
        return process.wait(), shown.decode().replace("\r\n", "\n")

    def test_gets_no_binary_data(self):
        self.file("in.json", b"{}")
        code, shown = self.run_on_terminal("encode", "--type", "SqlQuery", "in.json")
        self.assertEqual((tool.WRONG_USE, "qmsg encode: a terminal cannot show these bytes: give "
                          "--out hex, or redirect them to a file\n"), (code, shown))

    def test_is_told_when_the_tool_waits_for_input(self):
        code, shown = self.run_on_terminal("decode", "--type", "SqlQuery", stdin="terminal")
        self.assertEqual(tool.FINE, code)
        self.assertIn("qmsg: reading standard input; end it with Ctrl-D\n", shown)

    def test_shows_progress_of_long_work_and_clears_it(self):
        stream = self.folder / "long.bin"
        content = tool.delimited(b"\x12\x0a" + SELECT_1) * 40_000
        stream.write_bytes(content * (50 if tool.SANITIZED else 400))
        code, shown = self.run_on_terminal("stats", "--type", "SqlQueries", "--framing",
                                           "delimited", "long.bin", only_errors=True)
        self.assertEqual(tool.FINE, code)
        self.assertRegex(shown, r"\rlong\.bin: \d+ %, [\d.]+ MB of [\d.]+ MB, [\d.]+ [kM]B/s\x1b\[K")
        self.assertTrue(shown.endswith("\r\x1b[K"), shown[-40:])

    def test_shows_no_progress_of_short_work(self):
        self.file("short.bin", SELECT_1)
        code, shown = self.run_on_terminal("stats", "--type", "SqlQuery", "short.bin",
                                           only_errors=True)
        self.assertEqual((tool.FINE, ""), (code, shown))


if __name__ == "__main__":
    unittest.main()
