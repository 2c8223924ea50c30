"""Usage: hardening.py LIBRARY PROBE_OBJECT PROCESSOR BUILD_TYPE

Checks in the built library what cmake/Hardening.cmake asks of the linker and the compiler. Options
that leave no trace in the library, because nothing in it gives them work, are checked in
PROBE_OBJECT, which is compiled with the same options.
"""

import re
import subprocess
import sys


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def undefined_names(file, *options):
    return {line.split("@")[0] for line in
            output("nm", *options, "--undefined-only", "--format=just-symbols", file).split()}


def segments(library):
    """The program headers: (type, flags such as "RW")."""
    header = re.compile(r"^\s+([A-Z_]+)\s(?:\s*0x[0-9a-f]+){5}\s+([RWE ]{3})", re.MULTILINE)
    found = [(kind, flags.replace(" ", ""))
             for kind, flags in header.findall(output("readelf", "--segments", "--wide", library))]
    assert any(kind == "LOAD" for kind, _ in found), "readelf printed no segments"
    return found


def unmarked_functions(library):
    """Exported functions that do not begin with the mark of a place where calls may arrive."""
    functions = {}
    for line in output("readelf", "--dyn-syms", "--wide", library).splitlines():
        fields = line.split()
        if len(fields) == 8 and fields[3] in ("FUNC", "IFUNC") and fields[6] != "UND":
            functions[int(fields[1], 16)] = fields[7]
    assert functions, "readelf printed no functions"
    code = output("objdump", "--disassemble", "--no-show-raw-insn", library)
    marked = {int(address, 16) for address in
              re.findall(r"^\s*([0-9a-f]+):\s+endbr64", code, re.MULTILINE)}
    return sorted(name for address, name in functions.items() if address not in marked)


def failures(library, probe, processor, build_type):
    """Each failed check, as (what is missing, the option that brings it)."""
    headers = segments(library)
    kinds = dict(headers)
    dynamic = output("readelf", "--dynamic", "--wide", library)
    wanted = undefined_names(library, "--dynamic")
    probe_wanted = undefined_names(probe)

    if "GNU_RELRO" not in kinds:
        yield "no part of the library becomes read-only after it is loaded", "-z relro"
    if not re.search(r"\(FLAGS_1\).*\bNOW\b", dynamic):
        yield "the table of addresses stays writable, to be filled when needed", "-z now"
    if kinds.get("GNU_STACK", "E") != "RW":
        yield "the stack is executable", "-z noexecstack"
    if any("W" in flags and "E" in flags for _, flags in headers):
        yield "a segment is writable and executable", "-fPIC"
    if "(TEXTREL)" in dynamic:
        yield "code is changed by relocations", "-fPIC"
    if re.search(r"\((RPATH|RUNPATH)\)", dynamic):
        yield "the library says where other libraries are looked for", "no RPATH"
    if "__stack_chk_fail" not in wanted:
        yield "no function checks its stack frame", "-fstack-protector-strong"
    if build_type != "Debug" and "__memcpy_chk" not in probe_wanted:
        yield "copies into objects of known size are not checked", "-D_FORTIFY_SOURCE=2"
    if processor == "x86_64":
        unmarked = unmarked_functions(library)
        if unmarked:
            yield (f"{len(unmarked)} exported functions without endbr64, such as {unmarked[0]}",
                   "-fcf-protection=full")
        if "sub    $0x1000,%rsp" not in output("objdump", "--disassemble", probe):
            yield "a large stack frame skips pages", "-fstack-clash-protection"


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    found = list(failures(*sys.argv[1:]))
    for what, option in found:
        print(f"FAILED: {what}\n  what to do: bring back {option}; see cmake/Hardening.cmake")
    sys.exit(bool(found))


if __name__ == "__main__":
    main()
