"""Runs the code blocks of README.md and docs/ unchanged: they print what the pages show.

Usage: page_test.py PAGE...          run the blocks of these pages, such as tool
       page_test.py --write PAGE...  update the output in their console blocks

The environment is that of page.Session; build/gcc/tests/docs/page sets it.
"""

import sys
import tempfile
import unittest

import page

# Blocks that another test runs or compares: those of a language or, in quotation marks, of a
# section.
HELD_BY = {
    ("README", '"Install"'): "../packaging/debian/installed.sh",
    ("allocation-failure", "cpp"): "docs_test.py",
    ("embedding", "cpp"): "../embedding/page_test.py",
    ("embedding", "text"): "../embedding/collision_test.py",
    ("getting-started", '"Install from source"'): "readme_commands.sh",
    ("hostile-input", "cpp"): "hostile_input_test.py",
    ("php-qmsg", '"Install"'): "../packaging/debian/installed.sh",
    ("performance-guide", "cpp"): "performance_guide_test.py",
    **{("wire-format", language): "wire_format_test.py" for language in
       ("c", "cpp", "go", "java", "js", "php", "python", "rust", "sh", "text", "textproto")},
}


def path_of(name):
    return page.ROOT / ("README.md" if name == "README" else f"docs/{name}.md")


def to_run(name):
    """The blocks of a page that no other test checks."""
    for block in page.blocks(path_of(name).read_text(encoding="utf-8")):
        if not {(name, block.language), (name, f'"{block.section}"')} & HELD_BY.keys():
            yield block


class Page(unittest.TestCase):
    maxDiff = None

    def __init__(self, name):
        super().__init__("run_blocks")
        self.name = name

    def __str__(self):
        return f"{path_of(self.name).name} runs unchanged"

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="page")
        self.addCleanup(scratch.cleanup)
        self.session = page.Session(scratch.name)

    def run_blocks(self):
        for block in to_run(self.name):
            self.check(block, f"{self.name}.md:{block.line}")

    def check(self, block, where):
        if block.language == "sh":
            self.session.run(block.text)
        elif block.language == "console":
            self.assertEqual(self.session.shown(block.text), block.text, where)
        elif source := block.source():
            self.assertTrue(page.is_part(block.text, source), f"{where}: not in {block.file}")
        elif block.file:
            self.session.write(block)
        else:
            self.fail(f"{where}: no rule for a block of '{block.language}'. Name a file "
                      "after the language, or make it sh or console.")


def write(name):
    path = path_of(name)
    with tempfile.TemporaryDirectory(prefix="page") as folder:
        session = page.Session(folder)
        for block in to_run(name):
            if block.language == "sh":
                session.run(block.text)
            elif block.language == "console":
                text = path.read_text(encoding="utf-8")
                path.write_text(text.replace(block.text, session.shown(block.text), 1),
                                encoding="utf-8")
            elif not block.source():
                session.write(block)


def main(arguments):
    if arguments[:1] == ["--write"]:
        for name in arguments[1:]:
            write(name)
        return True
    suite = unittest.TestSuite(Page(name) for name in arguments)
    return unittest.TextTestRunner(verbosity=2).run(suite).wasSuccessful()


if __name__ == "__main__":
    sys.exit(not main(sys.argv[1:]))
