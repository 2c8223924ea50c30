"""The reference as Markdown has every declaration and comment, and its links lead somewhere."""

import pathlib
import re
import tempfile
import unittest

from declarations import ROOT, declared, made_up, model, normal, tag
from google.protobuf import descriptor_pb2

import build_markdown
import links
import schema


class Markdown(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pages = build_markdown.pages(model())

    def section(self, file, name):
        page = self.pages[file.replace(".proto", ".md")]
        [text] = re.findall(rf"^##+ {re.escape(name)}\n(.*?)(?=^##? |\Z)", page, re.M | re.S)
        return text

    def test_has_every_declaration_with_its_bytes(self):
        count = 0
        for file, full_name, type_ in declared():
            package = ".".join(full_name.split(".")[:3])
            section = self.section(file, full_name.removeprefix(package + "."))
            rows = ([f"| {field.number} | `{field.name}` | `{field.json_name}` | " for field in
                     type_.field] if isinstance(type_, descriptor_pb2.DescriptorProto) else
                    [f"| {value.number} | `{value.name}` | `{value.number:02x}` | "
                     for value in type_.value])
            with self.subTest(type=full_name):
                for row in rows:
                    self.assertEqual(section.count("\n" + row), 1, row)
                for field in getattr(type_, "field", []):
                    self.assertRegex(section, rf"(?m)^\| {field.number} \|.*\| `{tag(field)}` ")
            count += len(rows)
        self.assertGreater(count, 200)

    def test_has_every_comment_of_the_schema_files(self):
        for file in sorted((ROOT / "proto").glob("*.proto")):
            text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", self.pages[f"{file.stem}.md"])
            shown = normal(re.sub(r"\\(.)", r"\1", text))
            for line in re.findall(r"^ *// (.*)$", file.read_text(), re.M):
                with self.subTest(file=file.name, line=line):
                    self.assertIn(line, shown)

    def test_links_lead_somewhere(self):
        with tempfile.TemporaryDirectory() as folder:
            documents = [pathlib.Path(folder, name) for name in self.pages]
            for document in documents:
                document.write_text(self.pages[document.name], encoding="utf-8")
            followed = list(links.follow(documents, folder))
        self.assertGreater(len(followed), 100)
        for document, target, fault in followed:
            with self.subTest(document=document, target=target):
                self.assertIsNone(fault)

    def test_headings_of_a_page_differ(self):
        for name, text in self.pages.items():
            headings = re.findall(r"^#+ (.*)$", text, re.M)
            with self.subTest(page=name):
                self.assertEqual(len(set(map(str.lower, headings))), len(headings))

    def test_comments_are_escaped(self):
        text = build_markdown.pages(schema.Schema(made_up("a|b <i> *c* [d](e) `f|g` \\ & #")))
        self.assertIn(r"\| a\|b \<i\> \*c\* \[d\](e) `f\|g` \\ \& \# |".removeprefix("\\"),
                      text["made.md"])


if __name__ == "__main__":
    unittest.main()
