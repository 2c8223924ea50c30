"""Finds the code blocks of a page, and runs them.

The words after its backquotes decide what happens to a block:

    sh             run
    console        lines after "$ " are run (those after "> " continue them); the others are what
                   they print
    LANGUAGE FILE  written to FILE, for the commands after it; or, if FILE has a folder and exists
                   in the source tree, compared with that file, as a part of it
"""

import os
import pathlib
import re
import subprocess
import textwrap
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"^```([^\n`]*)\n(.*?)^```$", re.M | re.S)
HEADING = re.compile(r"^## (.*)$", re.M)
COMMAND = re.compile(r"^\$ (.*(?:\n> .*)*)", re.M)
# Commands that CI runs itself: those of the entry script, and builds by preset.
OF_CI = re.compile(r"^(\./dev \w|cmake (--build )?--preset \w).*\n", re.M)


class Block(NamedTuple):
    """A fenced block. `line` counts from 1, `section` is the last heading of the second level,
    `file` is empty if the block names none."""
    line: int
    section: str
    language: str
    file: str
    text: str

    def source(self):
        """The text of the file that the block is a part of, or None."""
        path = ROOT / self.file
        return path.read_text(encoding="utf-8") if "/" in self.file and path.is_file() else None


def blocks(content):
    """The blocks of a page's text."""
    for found in BLOCK.finditer(content):
        language, _, file = found[1].strip().partition(" ")
        above = content[:found.start()]
        yield Block(above.count("\n") + 1, (["", *HEADING.findall(above)])[-1], language, file,
                    found[2])


class Session:
    """A folder to run commands in, one after the other, with qmsg installed as users have it.

    From the environment: QMSG_PREFIX, where it is installed; QMSG_BUILD, the build tree, which
    stands in for those that pages name; QMSG_PYTHON, the Python package.
    """

    def __init__(self, home):
        self.folder = pathlib.Path(home) / "work"
        self.folder.mkdir()
        self.status = "0"
        prefix = pathlib.Path(home) / "qmsg"  # a path without spaces
        prefix.symlink_to(os.environ["QMSG_PREFIX"])
        library = f"{prefix}/{os.environ['QMSG_LIBDIR']}"
        self.environment = {
            **os.environ,
            "BENCHMARK_MIN_TIME": "0.001",
            "CMAKE_GENERATOR": "Ninja",
            "CMAKE_PREFIX_PATH": str(prefix),
            "HOME": str(home),
            "LC_ALL": "C.UTF-8",
            "LD_LIBRARY_PATH": library,
            "PATH": f"{prefix}/bin:/usr/bin:{os.environ['PATH']}",
            "PKG_CONFIG_PATH": f"{library}/pkgconfig",
            "PYTHONDONTWRITEBYTECODE": "1",
            "PYTHONPATH": os.environ["QMSG_PYTHON"],
            "QMSG_PREFIX": str(prefix),
            "QMSG_SOURCE": str(ROOT),
        }
        (self.folder / "build").mkdir()
        for preset in ("gcc", "release", "bench"):
            (self.folder / "build" / preset).symlink_to(os.environ["QMSG_BUILD"])

    def _bash(self, *arguments):
        return subprocess.run(["bash", *arguments], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False, text=True, errors="replace",
                              timeout=300)

    def run(self, commands):
        """Runs commands, each of which has to succeed; returns their output."""
        done = self._bash("-euo", "pipefail", "-c", OF_CI.sub("", commands))
        if done.returncode:
            raise AssertionError(f"status {done.returncode} from\n{commands}\n{done.stdout}")
        return done.stdout

    def shown(self, console):
        """Runs the commands of a console block and returns it with their output. $? of a command is
        the status of the one before."""
        commands = COMMAND.findall(console)
        script = "".join(f"(exit $status)\n{command}\nstatus=$?; printf '\\0'\n"
                         for command in commands).replace("\n> ", "\n")
        *printed, self.status = self._bash(
            "-c", f"status={self.status.strip()}\n{script}echo $status").stdout.split("\0")
        return "".join(f"$ {command}\n{output}"
                       for command, output in zip(commands, printed, strict=True))

    def write(self, block):
        file = self.folder / block.file
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(block.text, encoding="utf-8")


def is_part(text, source):
    """Whether a source contains these lines, at any indentation."""
    return any(textwrap.indent(text, " " * depth, lambda line: line != "\n") in source
               for depth in range(0, 17, 2))
