"""The session of docs/tool.md runs as it is shown.

QMSG: the tool. With the argument --write, what the page shows is written anew.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from docs_test import ROOT, blocks

PAGE = ROOT / "docs/tool.md"
CONSOLE = re.compile(r"(?<=^```console\n)(.*?)(?=^```$)", re.M | re.S)


class Session:
    """A folder in which commands run, one after the other."""

    def __init__(self, folder):
        self.folder = folder
        path = f"{pathlib.Path(os.environ['QMSG']).parent}:{os.environ['PATH']}"
        self.environment = {**os.environ, "PATH": path, "LC_ALL": "C.UTF-8"}
        for name, content in zip(("request.json", "one.json"), blocks(PAGE, "json")):
            (folder / name).write_text(content)
        self.status = 0

    def run(self, command):
        """What a terminal would show."""
        done = subprocess.run(["bash", "-c", f"(exit {self.status}); {command}"], cwd=self.folder,
                              env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)
        self.status = done.returncode
        return done.stdout.decode()

    def shown(self, block):
        return "".join(f"$ {command}\n{self.run(command)}"
                       for command in re.findall(r"^\$ (.*)$", block, re.M))


class Page(unittest.TestCase):
    maxDiff = None

    def test_shows_what_the_tool_prints(self):
        shown = CONSOLE.findall(PAGE.read_text())
        self.assertGreater(len(shown), 8)
        with tempfile.TemporaryDirectory() as folder:
            session = Session(pathlib.Path(folder))
            for block in shown:
                self.assertEqual(session.shown(block), block)

    def test_names_all_commands(self):
        help_text = subprocess.run([os.environ["QMSG"], "--help"], capture_output=True, text=True,
                                   check=True).stdout
        commands = re.findall(r"^  (\w+)", help_text.split("Subcommands:\n")[1], re.M)
        table = PAGE.read_text().partition("\n\nThe package")[0]
        self.assertEqual(set(commands), set(re.findall(r"`(\w+)`", table.partition("|---|")[2])))


def write():
    with tempfile.TemporaryDirectory() as folder:
        session = Session(pathlib.Path(folder))
        PAGE.write_text(CONSOLE.sub(lambda block: session.shown(block[0]), PAGE.read_text()))


if __name__ == "__main__":
    if sys.argv[1:] == ["--write"]:
        write()
    else:
        unittest.main()
