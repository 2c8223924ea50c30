"""Numbers as text, in a locale that writes them with a comma."""

import pathlib
import tempfile
import unittest

from support import BUILT, run

COMMA = """\
LC_NUMERIC
decimal_point ","
thousands_sep "."
grouping 3;3
END LC_NUMERIC
"""

PRINTED = """\
C library: 1234,50
JSON: {"doubleValue":1234.5}, read as 1234,50
text: double_value: 1234.5
read as 1234,50
"""


class Locale(unittest.TestCase):
    def test_numbers_in_json_and_text_keep_their_point(self):
        if not pathlib.Path("/usr/share/i18n/charmaps").is_dir():
            self.skipTest("there is nothing to make a locale from: install locales")
        with tempfile.TemporaryDirectory() as folder:
            source = pathlib.Path(folder) / "comma.src"
            source.write_text(COMMA)
            # It complains of the categories that are not there, and writes what is.
            made = run("localedef", "--force", "--quiet", "-i", str(source), f"{folder}/comma")
            self.assertTrue((pathlib.Path(folder) / "comma/LC_NUMERIC").exists(), made.stderr)
            result = run(BUILT / "embedding_locale_host", LOCPATH=folder, LC_ALL="comma")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(result.stdout, PRINTED)


if __name__ == "__main__":
    unittest.main()
