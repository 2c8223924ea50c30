"""The generated reference: what it says of the wire format, that it is complete, and its links.

The descriptor set and the folder of the generated headers are named in the environment.
"""

import html.parser
import os
import pathlib
import re
import sys
import tempfile
import unittest
import urllib.parse

from docs_test import ROOT
from google.protobuf import descriptor_pb2

sys.path.insert(0, str(ROOT / "docs/reference"))
import build_markdown  # noqa: E402
import build_site  # noqa: E402
import diagram  # noqa: E402
import guides  # noqa: E402
import schema  # noqa: E402
import wire  # noqa: E402

CONTENT = pathlib.Path(os.environ["QMSG_DESCRIPTOR_SET"]).read_bytes()
HEADERS = pathlib.Path(os.environ["QMSG_HEADERS"])
BUNDLES = {"decoder.js", "search.js"}    # made by esbuild


def descriptor_set():
    return descriptor_pb2.FileDescriptorSet.FromString(CONTENT)


def model():
    return schema.Schema(descriptor_set())


def declared():
    """(own file, full name, message or enum descriptor) for all types but the entries of maps."""
    def walk(file, scope, messages, enums):
        for enum in enums:
            yield file, f"{scope}.{enum.name}", enum
        for message in messages:
            if not message.options.map_entry:
                yield file, f"{scope}.{message.name}", message
            yield from walk(file, f"{scope}.{message.name}", message.nested_type, message.enum_type)

    for file in descriptor_set().file:
        if file.package.startswith("quor."):
            yield from walk(file.name, file.package, file.message_type, file.enum_type)


# As the schema files use them: the second digit of a tag. No number is above 15.
WIRE_TYPES = {"bool": 0, "int32": 0, "int64": 0, "uint32": 0, "uint64": 0, "enum": 0, "double": 1,
              "string": 2, "message": 2}


def tag(field):
    kind = descriptor_pb2.FieldDescriptorProto.Type.Name(field.type).removeprefix("TYPE_").lower()
    return f"{field.number * 8 + WIRE_TYPES[kind]:02x}"


class Page(html.parser.HTMLParser):
    """The text of each element that has an id, of the whole page, and all addresses."""

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
            assert values["id"] not in self.texts, f"{values['id']} stands twice"
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


def normal(text):
    return " ".join(text.split())


def made_up(comment="A comment.", number=1, type_="TYPE_STRING", **more):
    """The schema of one message with one field."""
    kinds = descriptor_pb2.FieldDescriptorProto
    field = kinds(name="field", json_name="field", number=number, type=kinds.Type.Value(type_),
                  label=kinds.LABEL_OPTIONAL, **more)
    file = descriptor_pb2.FileDescriptorProto(
        name="made.proto", package="quor.protobuf.Made", syntax="proto3",
        message_type=[descriptor_pb2.DescriptorProto(name="Made", field=[field])])
    for path in ([4, 0], [4, 0, 2, 0]):
        file.source_code_info.location.add(path=path, leading_comments=f" {comment}\n")
    return descriptor_pb2.FileDescriptorSet(file=[file])


class Model(unittest.TestCase):
    def test_tags_are_those_worked_out_by_hand(self):
        fields = {field.short_name: field
                  for message in model().messages for field in message.fields}
        for name, expected in {
                "SqlQuery.flags": ("38", "varint", "implicit", "0"),
                "SqlQuery.rows": ("50", "varint", "implicit", "0"),
                "SqlQuery.connection_id": ("10", "varint", "oneof", "0"),
                "SqlQuery.query": ("2a", "length-delimited", "implicit", '""'),
                "SqlQuery.duration": ("4a", "length-delimited", "tracked", "none"),
                "SqlQueries.queries": ("12", "length-delimited", "repeated", "empty"),
                "RequestHeaders.headers": ("12", "length-delimited", "repeated", "empty"),
                "AttrList.attr_list": ("0a", "length-delimited", "map", "empty"),
                "QVal.double_value": ("29", "fixed64", "oneof", "0"),
                "Event.event_type": ("08", "varint", "implicit", "SlowFunctionExecution"),
                "Event.codetrace": ("50", "varint", "implicit", "false")}.items():
            field = fields[name]
            with self.subTest(field=name):
                self.assertEqual(
                    (field.tag_hex, field.wire_type, field.presence, field.default), expected)

    def test_the_parts_of_a_map_entry_have_tags_of_their_own(self):
        field = model().find("quor.protobuf.JQ.AttrList").fields[0]
        self.assertEqual((field.type_name, field.map_key.tag_hex, field.map_value.tag_hex),
                         ("map<int32, QVal>", "08", "12"))

    def test_numbers_from_16_on_take_two_bytes(self):
        for number, type_, expected in ((15, "TYPE_INT32", "78"), (16, "TYPE_INT32", "80 01"),
                                        (16, "TYPE_STRING", "82 01"), (2047, "TYPE_BOOL", "f8 7f"),
                                        (2048, "TYPE_BOOL", "80 80 01"), (1, "TYPE_FLOAT", "0d")):
            with self.subTest(number=number, type=type_):
                [message] = schema.Schema(made_up(number=number, type_=type_)).messages
                self.assertEqual(message.fields[0].tag_hex, expected)

    def test_numbers_in_a_list_are_packed(self):
        made = made_up(type_="TYPE_INT32")
        field = made.file[0].message_type[0].field[0]
        field.label = field.LABEL_REPEATED
        field = schema.Schema(made).messages[0].fields[0]
        self.assertEqual((field.tag_hex, field.packed), ("0a", True))

    def test_enum_values_are_varints(self):
        self.assertEqual([wire.spaced(wire.varint(number)) for number in (0, 5, 300, -1)],
                         ["00", "05", "ac 02", "ff ff ff ff ff ff ff ff ff 01"])

    def test_who_holds_a_value(self):
        value = model().find("quor.protobuf.QuorPHP.QVal")
        holders = [f"{field.message.qualified_name}.{field.name}" for field in value.used_by]
        self.assertEqual(holders,
                         ["QuorPHP.SuperglobalValue.value", "QuorPHP.SuperglobalValue.old_value",
                          "QuorPHP.QuorArrayValue.value", "JQ.AttrList.attr_list",
                          "Monitor.CustomEventData.user_data"])
        self.assertEqual([type_.full_name for type_ in value.uses],
                         ["quor.protobuf.QuorPHP.QVal.Type", "google.protobuf.Timestamp"])

    def test_indexes_are_those_of_the_generated_classes(self):
        for file in model().files:
            header = (HEADERS / f"{file.stem}.pb.h").read_text()
            found = re.findall(r"^class (\w+) final :.*?kIndexInFileMessages =\s*(\d+);", header,
                               re.M | re.S)
            with self.subTest(file=file.name):
                self.assertTrue(found)
                self.assertEqual([(message.name, str(message.index)) for message in file.messages],
                                 found)


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
        anchors = {name: {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
                          for heading in re.findall(r"^#+ (.*)$", text, re.M)}
                   for name, text in self.pages.items()}
        count = 0
        for name, text in self.pages.items():
            for target in re.findall(r"\]\(([^)]*)\)", text):
                page, _, fragment = target.partition("#")
                with self.subTest(page=name, target=target):
                    self.assertIn(page or name, self.pages)
                    if fragment:
                        self.assertIn(fragment, anchors[page or name])
                count += 1
        self.assertGreater(count, 100)

    def test_headings_of_a_page_have_anchors_of_their_own(self):
        for name, text in self.pages.items():
            headings = re.findall(r"^#+ (.*)$", text, re.M)
            with self.subTest(page=name):
                self.assertEqual(len(set(map(str.lower, headings))), len(headings))

    def test_comments_are_escaped(self):
        text = build_markdown.pages(schema.Schema(made_up("a|b <i> *c* [d](e) `f|g` \\ & #")))
        self.assertIn(r"\| a\|b \<i\> \*c\* \[d\](e) `f\|g` \\ \& \# |".removeprefix("\\"),
                      text["made.md"])


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

    def test_nothing_is_loaded_from_elsewhere_or_written_into_a_page(self):
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

    def test_a_block_that_names_a_file_shows_its_name(self):
        text = guides._captions("```cpp main.cc\nint a;\n```\n")
        self.assertEqual(text, '<p class="caption">main.cc</p>\n\n```cpp\nint a;\n```\n')

    def test_a_search_finds_the_text_between_two_headings(self):
        tokens = [{"id": "a", "level": 1, "name": "A", "children": [
            {"id": "b", "level": 2, "name": "B", "children": []}]}]
        body = '<h1 id="a">A</h1><p>one</p><h2 id="b">B</h2><p>two &lt;h2</p>'
        self.assertEqual(list(guides._headings(body, tokens)),
                         [(1, "A", "a", "one"), (2, "B", "b", "two <h2")])


class Picture(unittest.TestCase):
    def test_shows_which_message_holds_which(self):
        names, edges = set(), set()
        types = {full_name: type_ for _, full_name, type_ in declared()}
        for _, full_name, type_ in declared():
            if isinstance(type_, descriptor_pb2.DescriptorProto):
                names.add(full_name)
                fields = list(type_.field)
                for nested in type_.nested_type:
                    fields += nested.field if nested.options.map_entry else []
                edges |= {(full_name, field.type_name[1:]) for field in fields
                          if isinstance(types.get(field.type_name[1:]),
                                        descriptor_pb2.DescriptorProto)}
        drawn = (ROOT / "docs/messages.svg").read_text()
        self.assertEqual(diagram.content(drawn), (names, edges), "Renew it: ./dev docs --picture")
        self.assertIn(("quor.protobuf.JQ.AttrList", "quor.protobuf.QuorPHP.QVal"), edges)

    def test_has_colours_that_are_its_own(self):
        drawn = (ROOT / "docs/messages.svg").read_text()
        style = re.search(r"<style>.*?</style>", diagram.standalone(model()), re.S)[0]
        self.assertIn(style, drawn, "Renew it: ./dev docs --picture")


if __name__ == "__main__":
    unittest.main()
