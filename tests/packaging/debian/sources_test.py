"""What debian/ repeats of the project is what the project says, and its changelog is made from
CHANGELOG.md."""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "debian"))
import write_changelog  # noqa: E402

DATE = "Sat, 21 Nov 2026 21:46:16 +0000"
AUTHORS = "The Authors <authors@example.invalid>"


def set_in(file, name):
    return re.search(rf"^set\({name} (.*)\)$", (ROOT / file).read_text(), re.M)[1]


class Packages(unittest.TestCase):
    def test_the_library_package_is_named_after_the_soversion(self):
        library = "libqmsg" + set_in("CMakeLists.txt", "qmsg_soversion")
        named = re.findall(r"\blibqmsg\d+\b", (ROOT / "debian/control").read_text())
        self.assertGreater(len(named), 1)
        self.assertEqual(set(named), {library})
        files = [path.name for path in (ROOT / "debian").glob("libqmsg[0-9]*")]
        self.assertIn(f"{library}.install", files)
        self.assertEqual({name.split(".")[0] for name in files}, {library})

    def test_all_of_protobuf_is_of_the_release_line_that_the_build_wants(self):
        line = set_in("cmake/RequireProtobuf.cmake", "qmsg_protobuf_line")
        major, minor = line.split(".")
        bounds = re.findall(r"\b(\S*protobuf\S*) \((\S+ \S+)\)", (ROOT / "debian/control").read_text())
        self.assertEqual({package for package, _ in bounds},
                         {"libprotobuf-dev", "protobuf-compiler", "python3-protobuf"})
        for package in {package for package, _ in bounds}:
            with self.subTest(package=package):
                self.assertEqual({bound for name, bound in bounds if name == package},
                                 {f">= {line}", f"<< {major}.{int(minor) + 1}~"})

    def test_nobody_has_given_a_licence_yet(self):
        licences = [path.name for path in ROOT.iterdir()
                    if re.match(r"licen[cs]e|copying", path.name, re.I)]
        self.assertEqual(licences, [], "debian/copyright says that there is no licence")


class Changelog(unittest.TestCase):
    MARKDOWN = """\
# Changelog

## 2.10.0 (not released yet)

- One change, which [a page](docs/page.md) explains, at such a length that it fills more than one
  line.
- Another (a small one).

## 2.1.0 (2030-01-02)

- An older change.
"""

    def test_the_changes_of_a_version_become_an_entry(self):
        self.assertEqual(
            write_changelog.changelog("2.10.0", self.MARKDOWN, AUTHORS, DATE), f"""\
qmsg (2.10.0) UNRELEASED; urgency=medium

  * One change, which a page explains, at such a length that it fills more than
    one line.
  * Another (a small one).

 -- {AUTHORS}  {DATE}
""")

    def test_a_release_is_for_the_debian_that_it_is_built_for(self):
        self.assertEqual(
            write_changelog.changelog("2.1.0", self.MARKDOWN, AUTHORS, DATE), f"""\
qmsg (2.1.0) bookworm; urgency=medium

  * An older change.

 -- {AUTHORS}  {DATE}
""")

    def test_a_version_without_changes_is_refused(self):
        for version in ["2.11.0", "2.1", "2"]:
            with self.subTest(version=version):
                with self.assertRaisesRegex(ValueError, f"no section '## {version} "):
                    write_changelog.changelog(version, self.MARKDOWN, AUTHORS, DATE)
        with self.assertRaisesRegex(ValueError, "with a list of changes"):
            write_changelog.changelog("1.0.0", "## 1.0.0 (soon)\n\nNothing.\n", AUTHORS, DATE)

    def test_debian_understands_the_entry_of_the_project(self):
        with tempfile.NamedTemporaryFile("w", suffix=".changelog") as file:
            file.write(write_changelog.project_changelog(DATE))
            file.flush()
            parsed = subprocess.run(
                ["dpkg-parsechangelog", "--file", file.name, "--show-field", "Version"],
                capture_output=True, text=True, check=True)
        text = (ROOT / "CMakeLists.txt").read_text()
        self.assertEqual(parsed.stdout.strip(), re.search(r"VERSION ([\d.]+) LANG", text)[1])
        self.assertEqual(parsed.stderr, "")


if __name__ == "__main__":
    unittest.main()
