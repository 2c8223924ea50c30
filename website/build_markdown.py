"""Writes the reference as Markdown: a page for each schema file, times.md, and README.md.

Usage: build_markdown.py DESCRIPTOR_SET OUT_DIR
"""

import pathlib
import re
import sys

import examples
import prose
import schema
import wire

_SPECIAL = re.compile(r"([\\`*_{}\[\]<>#|~&$])")

_PRESENCE = """
## How to read the tables

- **tag**: the bytes in front of the field's value, in hexadecimal, and its wire type.
- **presence**: *implicit*: a field that is absent and one that holds the default are the same, and
  writers leave it out. *tracked*: absent differs from empty or 0. *oneof*: tracked, and at most one
  member is set. A list or a map that is absent is empty.
- **default**: what a reader sees where the field is absent.
"""


def escape(text):
    """Escapes plain text, also for tables."""
    return _SPECIAL.sub(r"\\\1", text)


def code(text):
    """Marks text without backticks as code, also for tables."""
    return "`" + text.replace("|", "\\|") + "`"


def page(type_):
    return f"{type_.file.stem}.md" if type_.file.own else "times.md"


def anchor(type_):
    """The fragment that viewers give to the heading of a message or an enum."""
    return re.sub(r"[^\w-]", "", type_.name.lower())


def link(type_, here, text=None):
    target = "" if page(type_) == here else page(type_)
    return f"[{escape(text or type_.name)}]({target}#{anchor(type_)})"


class Page:
    """Collects the text of one page."""

    def __init__(self, name, prose_):
        self.name = name
        self._prose = prose_
        self._lines = []

    def add(self, *lines):
        self._lines += lines

    def text(self):
        return "\n".join(self._lines).rstrip() + "\n"

    def told(self, comment, file):
        return "".join(
            link(message, self.name, text) if kind == "link"
            else code(text) if kind == "code" else escape(text)
            for kind, text, message in self._prose.pieces(comment, file))

    def table(self, head, rows):
        self.add("| " + " | ".join(head) + " |", "|" + "---|" * len(head))
        self.add(*("| " + " | ".join(row) + " |" for row in rows), "")

    def type(self, field):
        if field.is_map:
            value = field.map_value
            held = link(value.type, self.name) if value.type else escape(value.type_name)
            return f"map\\<{field.map_key.type_name}, {held}\\>"
        name = link(field.type, self.name) if field.type else field.scalar
        return f"repeated {name}" if field.repeated else name

    def tag(self, field):
        text = f"{code(field.tag_hex)} {field.wire_type}"
        if field.is_map:
            text += f", key {code(field.map_key.tag_hex)}, value {code(field.map_value.tag_hex)}"
        return text

    @staticmethod
    def presence(field):
        return {"oneof": f"oneof {code(field.oneof.name) if field.oneof else ''}",
                "repeated": "repeated, packed" if field.packed else "repeated",
                }.get(field.presence, field.presence)

    @staticmethod
    def default(field):
        return field.default if field.default in ("none", "empty") else code(field.default)

    def fields(self, message):
        self.table(
            ("number", "field", "JSON", "type", "tag", "presence", "default", "meaning"),
            [(str(field.number), code(field.name), code(field.json_name), self.type(field),
              self.tag(field), self.presence(field), self.default(field),
              self.told(field.comment, message.file)) for field in message.fields])

    def used_by(self, type_):
        if type_.used_by:
            self.add("Used by: " + ", ".join(
                f"{link(field.message, self.name, field.message.qualified_name)} {code(field.name)}"
                for field in type_.used_by) + ".", "")

    def enum(self, enum):
        self.add(f"### {escape(enum.name)}", "", self.told(enum.comment, enum.file), "")
        self.table(("number", "value", "byte", "meaning"),
                   [(str(value.number), code(value.name), code(value.wire_hex),
                     self.told(value.comment, enum.file)) for value in enum.values])
        self.used_by(enum)

    def message(self, message, example=None):
        header = (message.file.header if message.file.own
                  else message.file.name.replace(".proto", ".pb.h"))
        self.add(f"## {escape(message.name)}", "", self.told(message.comment, message.file), "",
                 f"- full name: {code(message.full_name)}",
                 f"- C++: {code(message.cpp_class)}, {code(f'#include <{header}>')}, "
                 f"index {message.index} in its file", "")
        self.fields(message)
        for oneof in message.oneofs:
            members = ", ".join(code(field.name) for field in oneof.fields)
            self.add(f"Oneof {code(oneof.name)} ({members}): "
                     f"{self.told(oneof.comment, message.file)}", "")
        for enum in message.enums:
            self.enum(enum)
        self.used_by(message)
        if message.uses:
            used = ", ".join(link(type_, self.name) for type_ in message.uses)
            self.add(f"Uses: {used}.", "")
        if example:
            self.add(f"Example: {escape(example.name)}.", "", "```text",
                     *(f"{wire.spaced(part.head + part.value)}    {part.field.name}"
                       for part in example.parts), "```", "", "```json", example.json, "```", "")


def pages(model):
    """{name of a page: its text}"""
    told = prose.Prose(model)
    shown = examples.choose(model)
    made = []

    index = Page("README.md", told)
    index.add("# The messages of qmsg", "", "Every message, field and enum value: its meaning, its "
              "unit or form, what its absence means, and its bytes on the wire.", "")
    index.table(("file", "package", "what it declares"),
                [(f"[{file.name}]({file.stem}.md)", code(file.package),
                  index.told(file.comment, file)) for file in model.files])
    index.add("Times are protobuf's own messages: " + ", ".join(
        link(message, index.name) for message in model.times) + ".", _PRESENCE,
        "## All messages", "")
    index.table(("message", "file", "meaning"),
                [(link(message, index.name), message.file.name,
                  index.told(message.comment, message.file)) for message in model.messages])
    made.append(index)

    for file in model.files:
        own = Page(f"{file.stem}.md", told)
        imports = ", ".join(
            f"[{name}](times.md)" if name.startswith("google/")
            else f"[{name}]({name.removesuffix('.proto')}.md)" for name in file.imports)
        own.add(f"# {file.name}", "", own.told(file.comment, file), "",
                f"Package {code(file.package)}{', imports ' + imports if imports else ''}. "
                "[All files](README.md).", "")
        for message in file.messages:
            own.message(message, shown.get(message.full_name))
        made.append(own)

    times = Page("times.md", told)
    times.add("# Times", "", "protobuf's own messages for points and spans of time. "
              "[All files](README.md).", "")
    for message in model.times:
        times.message(message)
    made.append(times)
    return {page.name: page.text() for page in made}


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    out = pathlib.Path(sys.argv[2])
    out.mkdir(parents=True, exist_ok=True)
    for name, text in pages(schema.load(sys.argv[1])).items():
        (out / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
