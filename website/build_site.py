"""Builds the web site: the reference, the guides, the diagrams and the page of the decoder.

Usage: build_site.py DESCRIPTOR_SET OUT_DIR

build.sh adds the scripts decoder.js and search.js.
"""

import base64
import json
import pathlib
import shutil
import sys

import diagram
import elements
import examples
import guides
import jinja2
import markupsafe
import prose
import schema
import search_entries
import wire
from google.protobuf import descriptor_pb2

HERE = pathlib.Path(__file__).resolve().parent


class Site:
    def __init__(self, descriptor_set, out):
        self._set = descriptor_set
        self._out = out
        self._model = schema.Schema(descriptor_set)
        self._prose = prose.Prose(self._model)
        self._templates = jinja2.Environment(
            loader=jinja2.FileSystemLoader(HERE / "templates"), autoescape=True,
            trim_blocks=True, lstrip_blocks=True, undefined=jinja2.StrictUndefined)
        self._templates.globals.update(
            url=url, page=file_page, spaced=wire.spaced, model=self._model,
            is_enum=lambda type_: isinstance(type_, elements.Enum),
            picture=lambda drawn: markupsafe.Markup(diagram.svg(*drawn, link=url)))
        self._templates.filters["prose"] = self._rendered

    def build(self):
        if self._out.exists():
            shutil.rmtree(self._out)
        self._out.mkdir(parents=True)
        found = guides.find()
        guides.render(found, {pathlib.PurePosixPath("proto", file.name): file_page(file)
                              for file in self._model.files}, self._out)
        self._templates.globals["guides"] = found
        shown = examples.choose(self._model)

        self._page("index.html", "index.html", drawn=diagram.all_messages(self._model))
        for file in self._model.files:
            self._page("file.html", file_page(file), file=file, examples=shown,
                       drawn=diagram.around_file(self._model, file))
        self._page("times.html", "times.html")
        self._page("diagram.html", "diagram.html", drawn=diagram.all_messages(self._model))
        self._page("guides.html", "guides.html", groups=guides.GROUPS)
        for guide in found:
            self._page("guide.html", guide.page, guide=guide)
        self._page("decode.html", "decode.html")

        for name in ("style.css", "icon.svg", "decoder/decoder.css"):
            shutil.copy(HERE / name, self._out)
        entries = [*search_entries.of_schema(self._model, url), *search_entries.of_guides(found)]
        self._script("entries.js", "qmsgEntries", entries)
        self._script("descriptors.js", "qmsgDescriptors", _bare_base64(self._set))

    def _page(self, template, name, **values):
        text = self._templates.get_template(template).render(here=name, **values)
        (self._out / name).write_text(text, encoding="utf-8")

    def _script(self, name, variable, value):
        """Writes data as a script: a page opened as a file may not fetch any."""
        text = json.dumps(value, ensure_ascii=False, separators=(",", ":"))
        (self._out / name).write_text(f"window.{variable} = {text};\n", encoding="utf-8")

    def _rendered(self, comment, file):
        parts = []
        for kind, text, message in self._prose.pieces(comment, file):
            if kind == "link":
                parts.append(markupsafe.Markup('<a href="{}">{}</a>').format(url(message), text))
            elif kind == "code":
                parts.append(markupsafe.Markup("<code>{}</code>").format(text))
            else:
                parts.append(markupsafe.escape(text))
        return markupsafe.Markup("").join(parts)


def file_page(file):
    return f"{file.stem}.html" if file.own else "times.html"


def url(declared):
    """The address of a message, enum, field or enum value."""
    owner = (declared.message if isinstance(declared, elements.Field)
             else declared.enum if isinstance(declared, elements.EnumValue) else declared)
    return f"{file_page(owner.file)}#{declared.full_name}"


def _bare_base64(descriptor_set):
    bare = descriptor_pb2.FileDescriptorSet()
    bare.CopyFrom(descriptor_set)
    for file in bare.file:
        file.ClearField("source_code_info")
    return base64.b64encode(bare.SerializeToString()).decode("ascii")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    content = pathlib.Path(sys.argv[1]).read_bytes()
    Site(descriptor_pb2.FileDescriptorSet.FromString(content), pathlib.Path(sys.argv[2])).build()


if __name__ == "__main__":
    main()
