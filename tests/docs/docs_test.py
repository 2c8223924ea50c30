"""Checks the documents' programs, tables, links and commands."""

import os
import re
import subprocess
import unittest

import links
import page
from page import ROOT

README = ROOT / "README.md"


def documents():
    return sorted(ROOT.glob("*.md")) + sorted(ROOT.glob("docs/**/*.md")) + sorted(
        ROOT.glob(".github/**/*.md")) + sorted(
        ROOT.glob("examples/**/*.md"))


def blocks(path, language):
    """The contents of the fenced blocks of a language."""
    return [block.text for block in page.blocks(path.read_text(encoding="utf-8"))
            if block.language == language]


def section(path, heading):
    """The text under a heading, up to the next heading of its level or a higher one."""
    level = heading.index(" ")
    found = re.search(rf"^{re.escape(heading)}\n(.*?)(?=^#{{1,{level}}} |\Z)", path.read_text(),
                      re.M | re.S)
    assert found, f"{path.name} has no heading '{heading}'"
    return found.group(1)


def rows(text):
    """The rows of the tables in a text as lists of cells, without their headings."""
    cells = [re.split(r"\s*\|\s*", line.strip())[1:-1]
             for line in text.splitlines() if line.startswith("|")]
    rules = [row[0].startswith("---") for row in cells] + [False]
    return [row for row, rule, rule_below in zip(cells, rules, rules[1:])
            if not rule and not rule_below]


class Documents(unittest.TestCase):
    def test_the_first_program_is_the_quickstart(self):
        quickstart = (ROOT / "examples/quickstart/main.cc").read_text()
        self.assertEqual(blocks(README, "cpp")[0].strip(), quickstart.strip())

    def test_the_figures_of_the_readme_are_those_of_the_performance_page(self):
        page = rows((ROOT / "docs/performance.md").read_text(encoding="utf-8"))
        measured = {row[0].split(",")[0].strip("`"): row for row in reversed(page)}
        speeds = [f"{measured[name][-1].strip('*')} times as fast" for name in ("serialise", "parse")]
        _, library, baseline, _ = measured["dlopen"]
        [shown, *_] = rows(README.read_text(encoding="utf-8"))
        self.assertEqual(shown, [*speeds, f"{library} µs instead of {baseline} µs"])

    def test_the_example_of_running_out_of_memory_is_one_that_a_test_runs(self):
        test = (ROOT / "tests/adversarial/memory_limit_test.cc").read_text()
        [example] = blocks(ROOT / "docs/allocation-failure.md", "cpp")
        self.assertIn(example, test)

    def test_the_table_of_messages_is_complete(self):
        declared, file = {}, None
        for line in (ROOT / "tests/schema/declarations.txt").read_text().splitlines():
            if not line.startswith(" "):
                file = line.split()[0]
                declared[file] = []
            elif line.startswith("  message "):
                declared[file].append(line.split()[1])
        rows = re.findall(r"^\| \[`(\w+\.proto)`\]\S* \| `(quor\.protobuf\.\w+)` \| (.*?) \|",
                          (ROOT / "docs/messages.md").read_text(), re.M)
        listed = {file: re.findall(r"`(\w+)`", names) for file, _, names in rows}
        self.assertEqual(listed, declared)

    def test_the_index_links_to_every_page_and_has_no_code(self):
        index = (ROOT / "docs/README.md").read_text()
        pages = {path.name for path in ROOT.glob("docs/*.md")} - {"README.md"}
        self.assertEqual(pages - set(links.targets(index)), set())
        self.assertEqual(list(page.blocks(index)), [])

    def test_links_lead_somewhere(self):
        followed = list(links.follow(documents(), ROOT))
        self.assertGreater(len(followed), 100)
        for document, target, fault in followed:
            with self.subTest(document=document, target=target):
                self.assertIsNone(fault)

    def test_ci_runs_every_documented_command_of_the_entry_script(self):
        ci = (ROOT / ".ci/run").read_text() + (ROOT / ".ci/full").read_text()
        for document in documents():
            for command in re.findall(r"^(\./dev \w+)", "\n".join(blocks(document, "sh")), re.M):
                with self.subTest(document=document.name, command=command):
                    self.assertIn(command, ci)

    def test_the_entry_script_explains_itself(self):
        explained = self.run_entry_script("help")
        self.assertEqual((explained.returncode, explained.stderr), (0, ""))
        self.assertIn("Usage: ./dev COMMAND", explained.stdout)
        for arguments in ([], ["tests"], ["test", "gcc", "clang"], ["test", "msvc"], ["demo", "1"]):
            with self.subTest(arguments=arguments):
                refused = self.run_entry_script(*arguments)
                self.assertEqual((refused.returncode, refused.stdout), (2, ""))
                self.assertIn(explained.stdout, refused.stderr)

    @staticmethod
    def run_entry_script(*arguments):
        return subprocess.run([ROOT / "dev", *arguments], capture_output=True, text=True)


if __name__ == "__main__":
    unittest.main()
