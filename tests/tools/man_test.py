"""The manual page, made from the same source as the help."""

import re
import shutil
import subprocess
import tempfile
import unittest

from support import command_names, output_of


def rendered(page):
    text = subprocess.run(["mandoc", "-Tascii"], input=page, capture_output=True, text=True,
                          check=True).stdout
    return re.sub(".\b", "", text)


class Man(unittest.TestCase):
    def setUp(self):
        if shutil.which("mandoc") is None:
            self.skipTest("there is no mandoc")
        self.page = output_of("man")

    def test_is_clean_for_mandoc(self):
        with tempfile.NamedTemporaryFile("w", suffix=".1") as file:
            file.write(self.page)
            file.flush()
            result = subprocess.run(["mandoc", "-Tlint", "-W", "warning", file.name],
                                    capture_output=True, text=True, check=False)
        self.assertEqual((result.returncode, result.stdout + result.stderr), (0, ""))

    def test_has_the_sections_of_a_command(self):
        self.assertEqual(re.findall("^[A-Z][A-Z ]+$", rendered(self.page), re.MULTILINE),
                         ["NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "COMMANDS",
                          "EXIT STATUS", "ENVIRONMENT", "SEE ALSO"])

    def test_explains_every_command_option_and_example_of_the_help(self):
        text = rendered(self.page)
        words = " ".join(text.split())
        parts = re.split(r"^   qmsg ([a-z]+).*$", text, flags=re.MULTILINE)
        sections = dict(zip(parts[1::2], parts[2::2]))
        self.assertEqual(list(sections), command_names())
        for command, section in sections.items():
            command_help = output_of(command, "--help")
            for option in re.findall(r"^  (?:-\w,)?(--[a-z-]+)", command_help, re.MULTILINE):
                self.assertRegex(section, rf"(?m)^ +(-\w, )?{option}\b", f"{command} {option}")
            for example in re.findall("^  (qmsg .*)$", command_help, re.MULTILINE):
                self.assertIn(" ".join(example.split()), words)
            self.assertIn(command_help.splitlines()[0], words)

    def test_shows_choices_and_defaults(self):
        self.assertIn("--format text|json|markdown Format of the output; default: text.",
                      " ".join(rendered(self.page).split()))

    def test_shows_special_characters_as_they_are(self):
        # One would be taken for a hyphen, the other for a request.
        self.assertIn("\\-\\-format", self.page)
        self.assertNotRegex(self.page, r"(?m)^'")

    def test_does_not_depend_on_the_day(self):
        self.assertEqual(self.page, output_of("man"))
        self.assertEqual(len(re.findall(r"\d{4}-\d\d-\d\d", self.page)), 1)
        self.assertRegex(self.page, r'^\.TH QMSG 1 \d{4}-\d\d-\d\d "qmsg \d+\.\d+\.\d+" ')


if __name__ == "__main__":
    unittest.main()
