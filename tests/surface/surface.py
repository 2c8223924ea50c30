"""Compares what libqmsg exports with what its headers declare, name by name, both ways.

Usage: surface.py LIBRARY HEADER_DIR [CLANG_ARGUMENT...]

The expected names are read from the generated headers with libclang: every member function and
static data member of every message class, default instances, arena factories, descriptor tables,
table structs and enum functions. The library may also export type information of the message
classes. For a DLL, the arguments give libclang the target system and the folders of its headers.
"""

import collections
import ctypes
import pathlib
import sys

from clang import cindex

from symbols import exported, readable

FUNCTIONS = {
    cindex.CursorKind.CXX_METHOD,
    cindex.CursorKind.CONSTRUCTOR,
    cindex.CursorKind.DESTRUCTOR,
}
SCOPES = {cindex.CursorKind.NAMESPACE, cindex.CursorKind.LINKAGE_SPEC}
CLASSES = {cindex.CursorKind.CLASS_DECL, cindex.CursorKind.STRUCT_DECL}

# How many of each the headers must declare.
FAMILIES = {
    "classes": 50,
    "virtual tables": 50,
    "default instances": 50,
    "arena factories": 50,
    "descriptor tables": 7,
    "table structs": 7,
    "enum functions": 12,
}


class _StringSet(ctypes.Structure):
    _fields_ = [("strings", ctypes.POINTER(cindex._CXString)), ("count", ctypes.c_uint)]


def manglings(cursor):
    """All symbols of a function: constructors and destructors have several."""
    all_of = cindex.conf.lib.clang_Cursor_getCXXManglings
    all_of.argtypes, all_of.restype = [cindex.Cursor], ctypes.POINTER(_StringSet)
    found = all_of(cursor)
    if not found:
        return {cursor.mangled_name}
    text = cindex.conf.lib.clang_getCString
    strings = found.contents
    held = [strings.strings[i] for i in range(strings.count)]  # text() borrows from them
    return {text(string) for string in held}


def parse(header_dir, arguments):
    headers = sorted(pathlib.Path(header_dir).glob("*.pb.h"))
    if len(headers) != 7:
        sys.exit(f"expected the seven generated headers in {header_dir}, found {len(headers)}")
    source = "".join(f'#include "{header.name}"\n' for header in headers)
    unit = cindex.Index.create().parse(
        "surface.cc",
        args=["-std=c++17", f"-I{header_dir}", "-DNDEBUG", *arguments],
        unsaved_files=[("surface.cc", source)],
    )
    errors = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
    if errors:
        sys.exit("the headers do not parse:\n" + "\n".join(map(str, errors)))
    return unit


def qualified_name(cursor):
    names = []
    while cursor.kind != cindex.CursorKind.TRANSLATION_UNIT:
        names.insert(0, cursor.spelling)
        cursor = cursor.semantic_parent
    return names


def encoded(names):
    text = "".join(f"{len(name)}{name}" for name in names)
    return f"N{text}E" if len(names) > 1 else text


def members(cls):
    """Symbols of the members of one class, without nested classes and templates."""
    names, destructors = set(), 0
    for member in cls.get_children():
        if member.kind in FUNCTIONS:
            names |= manglings(member)
            destructors += member.kind == cindex.CursorKind.DESTRUCTOR
        elif member.kind == cindex.CursorKind.VAR_DECL:
            names.add(member.mangled_name)
    if not destructors:  # Implicit, and virtual as the base's is.
        names |= {encoded(qualified_name(cls))[:-1].join(["_Z", f"D{n}Ev"]) for n in range(3)}
    return names


def assignments(struct):
    """The implicit copy and move assignment of a table struct."""
    name = encoded(qualified_name(struct))
    return {f"_ZN{name}aSERKS_", f"_ZN{name}aSEOS_"}


def surface(unit, header_dir):
    """Expected symbols, and how many there are of each family."""
    expected, allowed, count = set(), set(), collections.Counter()
    pending = [unit.cursor]
    while pending:
        for cursor in pending.pop().get_children():
            file = cursor.location.file
            if not file or pathlib.Path(file.name).parent != pathlib.Path(header_dir):
                continue
            names = qualified_name(cursor)
            if cursor.kind in SCOPES:
                pending.append(cursor)
            elif cursor.kind in CLASSES and cursor.is_definition():
                if names[-1].startswith("TableStruct_"):
                    offsets = [c for c in cursor.get_children() if c.spelling == "offsets"]
                    expected |= {c.mangled_name for c in offsets} | assignments(cursor)
                    count["table structs"] += len(offsets)
                elif names[0] == "quor" and any(
                    child.kind == cindex.CursorKind.CXX_BASE_SPECIFIER
                    for child in cursor.get_children()
                ):
                    expected |= members(cursor) | {"_ZTV" + encoded(names)}
                    allowed |= {"_ZTI" + encoded(names), "_ZTS" + encoded(names)}
                    count["classes"] += 1
                    count["virtual tables"] += 1
            elif (cursor.kind == cindex.CursorKind.VAR_DECL
                  and cursor.linkage == cindex.LinkageKind.EXTERNAL):
                family = "default instances" if names[0] == "quor" else "descriptor tables"
                expected.add(cursor.mangled_name)
                count[family] += 1
            elif names[-1] == "CreateMaybeMessage":
                expected.add(cursor.mangled_name)
                count["arena factories"] += 1
            elif cursor.kind == cindex.CursorKind.FUNCTION_DECL and names[0] == "quor":
                if not cindex.conf.lib.clang_Cursor_isFunctionInlined(cursor):
                    expected.add(cursor.mangled_name)
                    count["enum functions"] += 1
    return expected, allowed, count


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    library, header_dir, *arguments = sys.argv[1:]
    expected, allowed, count = surface(parse(header_dir, arguments), header_dir)
    actual = exported(library)

    missing = readable(expected - actual)
    foreign = readable(actual - expected - allowed)
    wrong_counts = [name for name in FAMILIES if count[name] != FAMILIES[name]]
    for name in missing:
        print(f"missing: {name}")
    for name in foreign:
        print(f"foreign: {name}")
    for name in wrong_counts:
        print(f"{name}: {count[name]} declared instead of {FAMILIES[name]}")
    print(f"{len(expected)} names expected, {len(actual)} exported, {len(missing)} missing, "
          f"{len(foreign)} foreign")
    sys.exit(bool(missing or foreign or wrong_counts))


if __name__ == "__main__":
    main()
