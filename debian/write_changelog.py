#!/usr/bin/python3
"""Prints debian/changelog: what CHANGELOG.md says of the version that CMakeLists.txt names.

Usage: write_changelog.py DATE, such as `git log -1 --format=%cD` prints
"""

import pathlib
import re
import sys
import textwrap

PROJECT = pathlib.Path(__file__).resolve().parent.parent


def section(markdown, version):
    """The remark in the heading of a version, and the items under it."""
    found = re.search(rf"^## {re.escape(version)} \(([^)\n]*)\)\n(.*?)(?=^## |\Z)", markdown,
                      re.M | re.S)
    items = re.findall(r"^- (.*?)(?=^- |\Z)", found[2], re.M | re.S) if found else []
    if not items:
        raise ValueError(f"CHANGELOG.md has no section '## {version} (...)' with a list of changes")
    return found[1], items


def plain(item):
    """Without the targets of links, which lead to files of the source tree."""
    return " ".join(re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", item).split())


def changelog(version, markdown, maintainer, date):
    remark, items = section(markdown, version)
    distribution = "UNRELEASED" if "not released" in remark else "bookworm"
    changes = "\n".join(textwrap.fill(plain(item), 79, initial_indent="  * ",
                                      subsequent_indent="    ", break_long_words=False,
                                      break_on_hyphens=False) for item in items)
    return (f"qmsg ({version}) {distribution}; urgency=medium\n\n{changes}\n\n"
            f" -- {maintainer}  {date}\n")


def project_changelog(date):
    version = re.search(r"^project\(qmsg VERSION (\S+)", (PROJECT / "CMakeLists.txt").read_text(),
                        re.M)[1]
    control = (PROJECT / "debian/control").read_text()
    maintainer = re.search(r"^Maintainer: (.*)$", control, re.M)[1]
    return changelog(version, (PROJECT / "CHANGELOG.md").read_text(), maintainer, date)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    try:
        print(project_changelog(sys.argv[1]), end="")
    except ValueError as error:
        sys.exit(f"write_changelog.py: {error}")
