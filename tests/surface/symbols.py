"""The names that an ELF shared library or a DLL exports."""

import re
import subprocess


def exported(library):
    if library.endswith(".dll"):
        run = subprocess.run(["objdump", "--private-headers", library],
                             check=True, capture_output=True, text=True)
        table = run.stdout.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
        return set(re.findall(r"^\s+\[ *\d+\] (\S+)$", table, re.MULTILINE))
    run = subprocess.run(
        ["nm", "--dynamic", "--defined-only", "--format=just-symbols", library],
        check=True, capture_output=True, text=True)
    return set(run.stdout.split())


def readable(names):
    """The names as a C++ programmer writes them, sorted by their symbols."""
    run = subprocess.run(["c++filt"], input="".join(f"{name}\n" for name in sorted(names)),
                         check=True, capture_output=True, text=True)
    return run.stdout.splitlines()
