"""Reading a stream takes the memory of its largest message."""

import json
import os
import subprocess
import threading
import unittest

import tool

MEGABYTE = 1 << 20
# A message of some 64 KB: SqlQueries, whose field 2 are queries, whose field 5 is the text.
QUERY = b"\x2a\x78" + b"SELECT * FROM accounts WHERE id = 1;".ljust(120)
MESSAGE = tool.tagged(2, QUERY) * 520
BLOCK = tool.delimited(MESSAGE) * 16


class Memory(tool.ToolTest):
    def run_on(self, size, *arguments):
        """Gives that much of a stream to the tool; returns its output, the number of messages and
        the peak of its memory in bytes."""
        blocks = size // len(BLOCK) + 1
        reader, writer = os.pipe()
        with open(self.folder / "output", "wb") as output:
            process = subprocess.Popen([tool.PROGRAM, *arguments], stdin=reader, stdout=output)
        os.close(reader)

        def feed():
            with open(writer, "wb", buffering=0) as stream:
                for _ in range(blocks):
                    stream.write(BLOCK)

        feeder = threading.Thread(target=feed)
        feeder.start()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        feeder.join()
        self.assertEqual(tool.FINE, process.returncode)
        return self.folder / "output", blocks * 16, usage.ru_maxrss * 1024

    def check(self, size, *arguments):
        output, messages, peak = self.run_on(size, arguments[0], "--type", "SqlQueries",
                                             "--framing", "delimited", *arguments[1:])
        print(f"{arguments[0]}: {messages} messages, {size / 1e9:.2f} GB, "
              f"peak {peak / MEGABYTE:.1f} MiB")
        self.assertLess(peak, 48 * MEGABYTE)
        return output, messages

    def test_of_stats_on_more_than_a_gigabyte(self):
        output, messages = self.check(1_100_000_000, "stats", "--json")
        found = json.loads(output.read_text())["types"][0]
        self.assertEqual((messages, messages * len(MESSAGE)), (found["messages"], found["bytes"]))

    def test_of_check_on_more_than_a_gigabyte(self):
        output, _ = self.check(1_100_000_000, "check")
        self.assertEqual("", output.read_text())

    def test_of_decode_to_text(self):
        output, messages = self.check(100_000_000, "decode", "--to", "text", "--compact")
        with open(output, "rb") as lines:
            self.assertEqual(messages, sum(line == b"---\n" for line in lines))


if __name__ == "__main__":
    unittest.main()
