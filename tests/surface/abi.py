"""Usage: abi.py [--renew] BASELINE LIBRARY

Compares the binary interface of LIBRARY, which must have debug information, with BASELINE, the
released interface as abidw describes it (xz). Reports whether programs that are built against BASELINE
run with LIBRARY, and what to do if they do not. With --renew, LIBRARY's interface becomes the new
BASELINE, unless that would break programs under an unchanged SONAME.
"""

import lzma
import pathlib
import subprocess
import sys
import tempfile

IGNORED = pathlib.Path(__file__).with_name("ignored.ini")
# Bits of abidiff's exit status.
ERROR, CHANGED = 1 | 2, 4 | 8

BREAKS = """\
The binary interface differs from the released one of the same SONAME, {soname}. Programs that were
built against the released headers would read or write the wrong memory, or not start.
What to do: undo the change, or, if it is wanted, raise the SONAME (qmsg_soversion in
CMakeLists.txt) and run ./dev abi. docs/compatibility.md says what that means for users."""
ADDS = """\
The binary interface has grown; released programs go on running with the same SONAME, {soname}.
What to do: run ./dev abi to make the additions part of the interface."""
RENAMED = """\
The SONAME is now {soname} instead of {released}: a new binary interface begins with it.
What to do: run ./dev abi to set it down as the released one."""
SAME = "The binary interface of {soname} is the released one."


def describe(library):
    """The interface of the library, as XML."""
    with tempfile.NamedTemporaryFile(suffix=".abi") as description:
        subprocess.run(
            ["abidw", "--suppressions", IGNORED, "--type-id-style", "hash", "--no-corpus-path",
             "--no-comp-dir-path", "--no-show-locs", "--no-parameter-names", "--no-elf-needed",
             "--exported-interfaces-only", "--out-file", description.name, library], check=True)
        return pathlib.Path(description.name).read_bytes()


def soname(description):
    return description.split(b"soname='", 1)[1].split(b"'", 1)[0].decode()


def difference(released, current, *options):
    """What abidiff says about two descriptions; empty if they are the same."""
    with tempfile.TemporaryDirectory() as folder:
        files = [pathlib.Path(folder, name) for name in ("released.abi", "current.abi")]
        for file, description in zip(files, (released, current)):
            file.write_bytes(description)
        run = subprocess.run(
            ["abidiff", "--suppressions", IGNORED, "--show-bytes", *options, *files],
            capture_output=True, text=True)
    if run.returncode & ERROR:
        sys.exit(f"abidiff failed: {run.stderr or run.stdout}")
    return run.stdout if run.returncode & CHANGED else ""


def verdict(released, current):
    """(a sentence in words, details, whether released programs go on running)"""
    names = {"soname": soname(current), "released": soname(released)}
    if names["soname"] != names["released"]:
        return RENAMED.format(**names), "", True
    broken = difference(released, current, "--leaf-changes-only", "--no-added-syms")
    if broken:
        return BREAKS.format(**names), broken, False
    added = difference(released, current)
    if added:
        return ADDS.format(**names), added, True
    return SAME.format(**names), "", True


def main(arguments):
    renew = arguments[:1] == ["--renew"]
    if len(arguments) != 2 + renew:
        sys.exit(__doc__)
    baseline, library = pathlib.Path(arguments[-2]), arguments[-1]
    current = describe(library)
    if renew and not baseline.exists():
        words, details, compatible = "A first baseline.", "", True
    else:
        words, details, compatible = verdict(lzma.decompress(baseline.read_bytes()), current)
    print(details + words)
    if renew and compatible:
        baseline.write_bytes(lzma.compress(current, preset=9))
        print(f"{baseline.name} describes it now.")
    else:
        sys.exit(words != SAME.format(soname=soname(current)))


if __name__ == "__main__":
    main(sys.argv[1:])
