"""Follows the links of Markdown documents: each has to lead to a file, and to a heading in it.

Usage: links.py FOLDER    follow those of all documents in FOLDER, such as an installed tree
"""

import os
import pathlib
import re
import sys
import urllib.parse

CODE = re.compile(r"^```.*?^```$|`[^`\n]*`", re.M | re.S)
INLINE = re.compile(r"\]\(([^)\s]+)\)")
DEFINITION = re.compile(r"^\[[^]]+\]: *(\S+)", re.M)
HEADING = re.compile(r"^#+ (.*)$", re.M)


def targets(text):
    """The targets of a document's links and images, without addresses on the web."""
    prose = CODE.sub("", text)
    found = INLINE.findall(prose) + DEFINITION.findall(prose)
    return [target for target in found if not re.match(r"https?://", target)]


def anchors(text):
    """The fragments that link to the headings of a document."""
    found = []
    prose = re.sub(r"^```.*?^```$", "", text, flags=re.M | re.S)
    for heading in HEADING.findall(prose):
        heading = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading)
        anchor = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
        count = sum(known.partition("\0")[0] == anchor for known in found)
        found.append(f"{anchor}\0{count}" if count else anchor)
    return {anchor.replace("\0", "-") for anchor in found}


def fault(document, target, root):
    """What is wrong with a link of a document below `root`, or None."""
    path, _, fragment = target.partition("#")
    file = document
    if path:
        file = pathlib.Path(os.path.normpath(document.parent / urllib.parse.unquote(path)))
    if not file.is_relative_to(root):
        return f"leaves {root}"
    if not file.exists():
        return "no such file"
    if fragment and (file.suffix != ".md" or
                     fragment not in anchors(file.read_text(encoding="utf-8"))):
        return "no such heading"
    return None


def follow(documents, root):
    """Yields (document, target, fault or None) for all links."""
    root = pathlib.Path(root).resolve()
    for document in documents:
        document = pathlib.Path(document).resolve()
        for target in targets(document.read_text(encoding="utf-8")):
            yield document.relative_to(root), target, fault(document, target, root)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    followed = list(follow(sorted(folder.rglob("*.md")), folder))
    dead = [f"{document}: {target}: {found}" for document, target, found in followed if found]
    if not followed:
        sys.exit(f"{folder}: no links were found")
    if dead:
        sys.exit("\n".join([f"Dead links in {folder}:", *dead,
                            "cmake/Install.cmake says what is installed, cmake/fit_links.cmake "
                            "what becomes of links to other files."]))
    print(f"{len(followed)} links lead somewhere.")


if __name__ == "__main__":
    main()
