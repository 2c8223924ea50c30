"""The web site has every declaration and comment, no dead link, and nothing from elsewhere."""

import html.parser
import pathlib
import re
import tempfile
import unittest
import urllib.parse

from declarations import ROOT, declared, descriptor_set, made_up, model, normal, tag

import build_site
import guides

BUNDLES = {"decoder.js", "search.js"}    # made by esbuild


class Page(html.parser.HTMLParser):
    """The text of a page and of each of its elements with an id, and all its links."""

    VOID = {"meta", "link", "img", "br", "hr", "input"}

    def __init__(self, text):
        super().__init__()
        self.texts, self.links, self.attributes, self._open = {}, [], [], []
        self.whole = ""
        self.feed(text)

    def handle_starttag(self, name, attributes):
        values = dict(attributes)
        self.attributes += attributes
        if "id" in values:
            assert values["id"] not in self.texts, f"{values['id']} occurs twice"
            self.texts[values["id"]] = ""
        self.links += [values[key] for key in ("href", "src") if key in values]
        if name not in self.VOID:
            self._open.append((name, values.get("id")))

    def handle_endtag(self, name):
        if name not in self.VOID:
            assert self._open.pop()[0] == name

    def handle_data(self, text):
        self.whole += text
        for _, id_ in self._open:
            if id_ is not None:
                self.texts[id_] += text


class Site(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with tempfile.TemporaryDirectory() as folder:
            cls.files = cls.build(descriptor_set(), folder)
        cls.pages = {name: Page(content.decode()) for name, content in cls.files.items()
                     if name.endswith(".html")}

    @staticmethod
    def build(content, folder):
        out = pathlib.Path(folder) / "site"
        build_site.Site(content, out).build()
        return {path.name: path.read_bytes() for path in out.iterdir()}

    def test_has_every_declaration_with_its_bytes(self):
        count = 0
        for file, full_name, type_ in declared():
            texts = self.pages[file.replace(".proto", ".html")].texts
            with self.subTest(type=full_name):
                self.assertIn(full_name, texts)
                for field in getattr(type_, "field", []):
                    cells = normal(texts[f"{full_name}.{field.name}"]).replace("JSON ", "").split()
                    json_name = [field.json_name] if field.json_name != field.name else []
                    self.assertEqual(cells[:2 + len(json_name)],
                                     [str(field.number), field.name, *json_name])
                    self.assertIn(tag(field), cells)
                    count += 1
                for value in getattr(type_, "value", []):
                    cells = texts[f"{full_name}.{value.name}"].split()
                    self.assertEqual(cells[:3],
                                     [str(value.number), value.name, f"{value.number:02x}"])
                    count += 1
        self.assertGreater(count, 200)

    def test_has_every_comment_of_the_schema_files(self):
        for file in sorted((ROOT / "proto").glob("*.proto")):
            shown = normal(self.pages[f"{file.stem}.html"].whole)
            lines = re.findall(r"^ *// (.*)$", file.read_text(), re.M)
            self.assertTrue(lines)
            for line in lines:
                with self.subTest(file=file.name, line=line):
                    self.assertIn(line.replace("`", ""), shown)

    def test_links_lead_somewhere(self):
        for name, page in self.pages.items():
            for target in page.links:
                if target.startswith(("https://", "http://")):
                    continue
                path, _, fragment = target.partition("#")
                with self.subTest(page=name, target=target):
                    self.assertIn(path or name, self.files.keys() | BUNDLES)
                    if fragment and path != "decode.html":
                        self.assertIn(urllib.parse.unquote(fragment),
                                      self.pages[path or name].texts)

    def test_pages_load_nothing_from_elsewhere_and_have_no_inline_code_or_style(self):
        for name, page in self.pages.items():
            with self.subTest(page=name):
                self.assertNotIn("style", dict(page.attributes))
                self.assertIn("default-src 'none'", self.files[name].decode())
                for key, value in page.attributes:
                    self.assertFalse(key.startswith("on"), key)
                    if key == "src":
                        self.assertNotIn(":", value)

    def test_comments_are_escaped(self):
        with tempfile.TemporaryDirectory() as folder:
            made = made_up("a <script>b</script> & \"c\"")
            page = self.build(made, folder)["made.html"].decode()
        self.assertIn("a &lt;script&gt;b&lt;/script&gt; &amp; &#34;c&#34;", page)
        self.assertNotIn("<script>b", page)

    def test_examples_open_in_the_decoder(self):
        opened = [urllib.parse.parse_qs(target.partition("#")[2])
                  for page in self.pages.values() for target in page.links
                  if target.startswith("decode.html#")]
        names = {message.full_name for message in model().messages}
        self.assertEqual({query["type"][0] for query in opened}, names)
        self.assertTrue(all(bytes.fromhex(query["hex"][0]) for query in opened))

    def test_a_code_block_with_a_file_name_shows_the_name(self):
        text = guides._captions("```cpp main.cc\nint a;\n```\n")
        self.assertEqual(text, '<p class="caption">main.cc</p>\n\n```cpp\nint a;\n```\n')

    def test_a_search_entry_has_the_text_between_two_headings(self):
        tokens = [{"id": "a", "level": 1, "name": "A", "children": [
            {"id": "b", "level": 2, "name": "B", "children": []}]}]
        body = '<h1 id="a">A</h1><p>one</p><h2 id="b">B</h2><p>two &lt;h2</p>'
        self.assertEqual(list(guides._headings(body, tokens)),
                         [(1, "A", "a", "one"), (2, "B", "b", "two <h2")])


if __name__ == "__main__":
    unittest.main()
