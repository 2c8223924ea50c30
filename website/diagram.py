"""Draws which message holds which, with graphviz.

Usage: diagram.py DESCRIPTOR_SET OUT.svg    writes the picture of docs/messages.md
"""

import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree

import elements
import schema

SVG = "{http://www.w3.org/2000/svg}"

_DOT_HEAD = """digraph {
  graph [rankdir=LR, nodesep=0.12, ranksep=0.5, fontname="Helvetica", fontsize=12, pad=0.1,
         labeljust=l];
  node [shape=box, style="rounded,filled", fontname="Helvetica", fontsize=11, height=0.3,
        margin="0.12,0.04"];
  edge [arrowsize=0.6];
"""

# In this order dot draws the fewest crossing lines and leaves little space.
_FILE_ORDER = ["tarq", "quorphp", "monitor", "jobqueue", "login", "codetrace", "config"]

# Readable on a light and on a dark background.
_STANDALONE_STYLE = """
  .cluster path, .cluster polygon { fill: #eef1f6; stroke: #c3cad6 }
  .cluster text { fill: #4a5568; font-weight: bold }
  .node path { fill: #ffffff; stroke: #5b6b82 }
  .node text { fill: #16202e }
  .edge path { stroke: #7d8796; fill: none }
  .edge polygon { stroke: #7d8796; fill: #7d8796 }
  text { font-family: system-ui, "Segoe UI", "DejaVu Sans", sans-serif }
"""


def _edges(messages):
    """The pairs (holder, held) among the given messages."""
    shown = {id(message) for message in messages}
    return [(message, used) for message in messages for used in message.uses
            if isinstance(used, elements.Message) and id(used) in shown]


def all_messages(model):
    """(messages, edges) of the whole schema."""
    return model.messages, _edges(model.messages)


def around_file(model, file):
    """(messages, edges) of all that holds, or is held by, a message of a file; may be empty."""
    edges = [(holder, held) for holder, held in _edges(model.messages)
             if file in (holder.file, held.file)]
    ends = {id(end) for edge in edges for end in edge}
    return [message for message in model.messages if id(message) in ends], edges


def dot(messages, edges, link=None):
    """The source for graphviz: files are boxes, messages are nodes. `link` gives a node's URL."""
    lines = [_DOT_HEAD]
    files = {message.file.stem: message.file for message in messages}
    for file in sorted(files.values(), key=lambda file: _FILE_ORDER.index(file.stem)
                       if file.stem in _FILE_ORDER else len(_FILE_ORDER)):
        lines.append(f'  subgraph "cluster_{file.stem}" {{ label="{file.name}"; style=rounded;')
        for message in messages:
            if message.file is file:
                url = f', URL="{link(message)}", tooltip="{message.full_name}"' if link else ""
                lines.append(f'    "{message.full_name}" [label="{message.name}"{url}];')
        lines.append("  }")
    lines += [f'  "{holder.full_name}" -> "{held.full_name}";' for holder, held in edges]
    return "\n".join(lines) + "\n}\n"


def svg(messages, edges, link=None):
    """An SVG without colours and fonts: a style sheet has to set them."""
    drawn = subprocess.run(["dot", "-Tsvg"], input=dot(messages, edges, link), text=True,
                           capture_output=True, check=True).stdout
    drawn = drawn[drawn.index("<svg"):]
    drawn = re.sub(r"<!--.*?-->\n?", "", drawn, flags=re.S)
    drawn = re.sub(r' (fill|stroke|font-family)="[^"]*"', "", drawn)
    drawn = drawn.replace("xlink:href=", "href=").replace("xlink:title=", "aria-label=")
    # The white background.
    return re.sub(r'<polygon points="[^"]*"/>\n', "", drawn, count=1)


def content(text):
    """({node}, {(node, node)}) of a picture drawn by dot, by full names."""
    titles = {"node": set(), "edge": set()}
    for group in xml.etree.ElementTree.fromstring(text).iter(SVG + "g"):
        if group.get("class") in titles:
            titles[group.get("class")].add(group.find(SVG + "title").text)
    return titles["node"], {tuple(edge.split("->")) for edge in titles["edge"]}


def standalone(model):
    """The picture of all messages with its own colours, to be shown as an image."""
    drawn = svg(*all_messages(model))
    return re.sub(r"(<svg[^>]*>)", rf"\1\n<style>{_STANDALONE_STYLE}</style>", drawn, count=1)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    pathlib.Path(sys.argv[2]).write_text(standalone(schema.load(sys.argv[1])), encoding="utf-8")


if __name__ == "__main__":
    main()
