"""The example command lines of the help run as they are."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

import tool
from support import command_names, output_of

# The files that examples read. In before.bin and after.bin is one query, field 2 of SqlQueries.
SAMPLES = {
    "capture.bin": b"\x08\x01" + tool.SELECT_1,
    "stream.bin": tool.delimited(tool.in_any("quor.protobuf.Tarq.SqlQuery", tool.SELECT_1)),
    "before.bin": b"\x12\x0a" + tool.SELECT_1,
    "after.bin": b"\x12\x0c\x30\x01" + tool.SELECT_1,
}


def examples_of(command):
    text = output_of(command, "--help").split("Example:\n")[1]
    return re.findall("^  (.*)$", text, re.MULTILINE)


class Examples(unittest.TestCase):
    def test_of_every_command_run(self):
        path = f"{pathlib.Path(tool.PROGRAM).parent}:{os.environ['PATH']}"
        environment = {**os.environ, "PATH": path}
        for command in command_names():
            examples = examples_of(command)
            self.assertTrue(examples, f"{command} has no example")
            with tempfile.TemporaryDirectory() as folder:
                for name, data in SAMPLES.items():
                    (pathlib.Path(folder) / name).write_bytes(data)
                for example in examples:
                    with self.subTest(example):
                        self.assertIn(f"qmsg {command}", example)
                        result = subprocess.run(["bash", "-o", "pipefail", "-c", example],
                                                cwd=folder, env=environment, timeout=60,
                                                stdin=subprocess.DEVNULL, capture_output=True,
                                                check=False)
                        self.assertEqual(result.returncode, 0, result.stderr)


if __name__ == "__main__":
    unittest.main()
