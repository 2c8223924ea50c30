"""Usage: tidy_sources.py COMPILE_COMMANDS

Prints the sources that clang-tidy has to read to see each of our .cc files once: unity sources, files
that are compiled alone, and files that other projects compile, for which it takes the options of a
neighbour. In front of each, on a line of its own, is the option that names its folder's .clang-tidy:
clang-tidy would look for that of a unity source in the build folder.
"""

import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
# tests/windows/lint.sh reads them.
FOR_WINDOWS = re.compile(r"(^|/)windows/")


def included(source):
    """The files that a unity source includes."""
    return re.findall(r'^#include "(/.*)"$', source.read_text(), re.MULTILINE)


def configuration(source, build):
    folder = source.relative_to(build if build in source.parents else ROOT).parts[0]
    file = ROOT / folder / ".clang-tidy"
    return f"--config-file={file if file.exists() else ROOT / '.clang-tidy'}"


def main():
    build = pathlib.Path(sys.argv[1]).resolve().parent
    read, sources = set(), []
    for command in json.loads(pathlib.Path(sys.argv[1]).read_text()):
        source = pathlib.Path(command["file"])
        unity = source.parent.name == "Unity"
        if source.suffix == ".c" or build in source.parents and not unity:
            continue  # generated
        files = set(included(source)) if unity else {str(source)}
        own = {file for file in files if not file.startswith(f"{build}/")} - read
        if own:
            sources.append(source)
            read |= own
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.cc"],
                            cwd=ROOT, check=True, capture_output=True, text=True).stdout.split()
    sources += [ROOT / file for file in listed
                if str(ROOT / file) not in read and not FOR_WINDOWS.search(file)]
    for source in sorted(sources, key=lambda source: -len(source.read_text())):
        print(configuration(source, build), source, sep="\n")


if __name__ == "__main__":
    main()
