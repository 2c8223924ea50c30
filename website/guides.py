"""Renders the project's Markdown pages: README.md, docs/*.md and others."""

import dataclasses
import html
import os
import pathlib
import re
import shutil
import urllib.parse

import markdown
from markdown.extensions.toc import TocExtension
from markdown.treeprocessors import Treeprocessor

ROOT = pathlib.Path(__file__).resolve().parents[1]

# In reading order for newcomers. A pattern adds the files that no earlier entry names.
GROUPS = {
    "Getting started": ["README.md", "docs/getting-started.md", "docs/php-extension.md",
                        "docs/python.md", "docs/tool.md", "docs/streaming.md",
                        "docs/parse-failure.md", "docs/evolving.md", "docs/at-scale.md"],
    "In depth": ["docs/contract.md", "docs/wire-format.md", "docs/implementations.md",
                 "docs/embedding.md", "docs/*.md", "python/README.md"],
    "Examples": ["examples/README.md", "examples/**/README.md"],
    "The project": ["CHANGELOG.md", "SECURITY.md", "CONTRIBUTING.md", "tests/vectors/README.md"],
}
# The index: guides.html takes its place in the site.
INDEX = "docs/README.md"


@dataclasses.dataclass
class Guide:
    group: str
    path: pathlib.PurePosixPath    # in the source tree
    page: str                      # in the site
    title: str = ""
    summary: str = ""
    body: str = ""
    # (level, title, anchor, text under it)
    headings: list = dataclasses.field(default_factory=list)


def slug(heading, _separator="-"):
    """The anchor of a heading, as viewers of Markdown make it."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def find():
    """The guides in order, still without their text."""
    found = {}
    for group, patterns in GROUPS.items():
        for pattern in patterns:
            for path in sorted(str(path.relative_to(ROOT)) for path in ROOT.glob(pattern)):
                found.setdefault(path, Guide(group, pathlib.PurePosixPath(path), _page(path)))
    del found[INDEX]
    return list(found.values())


def _page(path):
    name = re.sub(r"^docs-|-readme$", "", path.removesuffix(".md").lower().replace("/", "-"))
    return f"guide-{name}.html"


def render(guides, schema_pages, out):
    """Renders the guides. Links lead to other guides and to `schema_pages`, {path in the source
    tree: page}. Images are copied to the folder `out`."""
    pages = {guide.path: guide.page for guide in guides} | schema_pages
    pages[pathlib.PurePosixPath(INDEX)] = "guides.html"
    for guide in guides:
        text = (ROOT / guide.path).read_text(encoding="utf-8")
        converter = markdown.Markdown(
            extensions=["fenced_code", "tables", "sane_lists", "codehilite",
                        TocExtension(slugify=slug)],
            extension_configs={"codehilite": {"guess_lang": False},
                               "tables": {"use_align_attribute": True}})
        converter.treeprocessors.register(_Links(converter, guide.path, pages, out), "links", 0)
        guide.body = _fit_for_all(converter.convert(_captions(text)))
        guide.headings = list(_headings(guide.body, converter.toc_tokens))
        guide.title = "Start" if str(guide.path) == "README.md" else guide.headings[0][1]
        guide.summary = _first_sentence(guide.body)


def _captions(text):
    """Makes a caption of a block's second word, the name of its file."""
    return re.sub(r"^```(\w+) (\S+)$",
                  lambda found: f'<p class="caption">{html.escape(found[2])}</p>\n\n```{found[1]}',
                  text, flags=re.M)


def _fit_for_all(body):
    """Makes scrolling parts reachable by the keyboard, and removes empty table heads."""
    body = re.sub(r"<thead>\s*<tr>\s*(<th[^>]*></th>\s*)+</tr>\s*</thead>", "", body)
    body = re.sub(r"<th(\b[^>]*)></th>", r"<td\1></td>", body)
    body = body.replace("<pre>", '<pre tabindex="0">')
    body = body.replace("<table>", '<div class="scroll" tabindex="0"><table>')
    return body.replace("</table>", "</table></div>")


def _plain(fragment):
    return html.unescape(re.sub(r"<[^>]+>", "", fragment))


def _headings(body, tokens):
    flat = []

    def walk(entries):
        for entry in entries:
            flat.append(entry)
            walk(entry["children"])

    walk(tokens)
    places = [body.rindex("<", 0, body.index(f'id="{entry["id"]}"')) for entry in flat]
    for entry, start, end in zip(flat, places, [*places[1:], len(body)], strict=True):
        under = _plain(body[start:end].partition("</h")[2].partition(">")[2])
        yield entry["level"], html.unescape(entry["name"]), entry["id"], " ".join(under.split())


def _first_sentence(body):
    found = re.search(r"<p>(.*?)</p>", body, re.S)
    text = " ".join(_plain(found[1]).split()) if found else ""
    return re.split(r"(?<=[.:]) (?=[A-Z])", text)[0].rstrip(":")


class _Links(Treeprocessor):
    """Makes links and images fit the site. Shows files that the site does not have as paths."""

    def __init__(self, converter, path, pages, out):
        super().__init__(converter)
        self._path, self._pages, self._out = path, pages, out

    def run(self, root):
        for link in root.iter("a"):
            self._link(link)
        for image in root.iter("img"):
            self._image(image)

    def _target(self, url):
        path = os.path.normpath(self._path.parent / urllib.parse.unquote(url))
        return pathlib.PurePosixPath(path)

    def _link(self, link):
        url, hash_, fragment = link.get("href").partition("#")
        if not url or "://" in url:
            return
        target = self._target(url)
        if target in self._pages:
            link.set("href", self._pages[target] + hash_ + fragment)
        elif str(target) == "proto":
            link.set("href", "index.html#messages")
        else:
            link.tag = "span"
            link.attrib = {"class": "path", "title": f"{target} in the source tree"}

    def _image(self, image):
        target = self._target(image.get("src"))
        name = str(target).replace("/", "-")
        shutil.copy(ROOT / target, self._out / name)
        image.set("src", name)
