"""docs/tool.md lists all commands of the tool.

QMSG: the tool.
"""

import os
import re
import subprocess
import unittest

from docs_test import ROOT

PAGE = ROOT / "docs/tool.md"


class Page(unittest.TestCase):
    def test_lists_all_commands(self):
        help_text = subprocess.run([os.environ["QMSG"], "--help"], capture_output=True, text=True,
                                   check=True).stdout
        commands = re.findall(r"^  (\w+)", help_text.split("Subcommands:\n")[1], re.M)
        table = PAGE.read_text().partition("\n\nThe package")[0]
        self.assertEqual(set(commands), set(re.findall(r"`(\w+)`", table.partition("|---|")[2])))


if __name__ == "__main__":
    unittest.main()
