"""What holds for each program on the command line. QMSG_MODULE: the extension; QMSG: the tool."""

import os
import pathlib
import subprocess
import tempfile

import records
from servers import program
from web_tests import EVERYTHING, first_difference, recording

TIMEOUT = 600  # seconds


class CommandTests:
    """A class of tests has these for its `PROGRAM`. Its method `commands` prepares an empty folder and
    returns the arguments of each run in it; `lasting` takes from an output what differs between two."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="qmsg-apps-")))

    def results(self, name, settings):
        """The lines of all runs, with their status, and of the files that they leave."""
        folder = self.folder / name / "work"
        folder.mkdir(parents=True)
        options = [option for setting, value in settings.items() for option in ("-d", f"{setting}={value}")]
        results = []
        for arguments in self.commands(folder):
            run = subprocess.run(
                ["php", *options, program(self.PROGRAM, self.PROGRAM), *arguments], cwd=folder,
                capture_output=True, text=True, timeout=TIMEOUT, check=False,
                env={**os.environ, "HOME": str(folder.parent), "COMPOSER_ALLOW_SUPERUSER": "1"})
            results.append((f"{arguments}: status {run.returncode}", run.stdout + run.stderr))
        files = [(str(path.relative_to(folder)), path.read_text(errors="replace"))
                 for path in sorted(folder.rglob("*")) if path.is_file()]
        return [line for what, text in results + files for line in
                [what, *self.lasting(text.replace(str(folder.parent), "FOLDER")).splitlines()]]

    def test_does_the_same_as_without_the_extension(self):
        plain = self.results("plain", {})
        self.assertEqual(first_difference(self.results("again", {}), plain), None)
        for functions in ("exact", "sample"):
            path = self.folder / f"{functions}.any"
            settings = recording(path, **{**EVERYTHING, "qmsg.functions": functions})
            with self.subTest(functions=functions):
                self.assertEqual(first_difference(self.results(functions, settings), plain), None)
                self.assertEqual(records.complaints(path), [])
                runs = [request for request in records.read(path) if request.begun and request.ended]
                # A program may start PHP itself.
                self.assertGreaterEqual(len(runs), 4)
                for request in runs:
                    self.assertIn(self.PROGRAM, request.target)
                    if functions == "exact":
                        self.assertGreater(len(request.one("Functions")["functions"]), 10)
