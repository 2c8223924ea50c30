"""Checks from the schema files alone that each class exports the members that its fields need.

Usage: accessors.py LIBRARY DESCRIPTOR_SET

The tables below give the names for each kind of field. Signatures are not compared. Templates, such
as the setters of singular strings, have no symbols and are not listed.
"""

import pathlib
import re
import sys

from google.protobuf import descriptor_pb2

from symbols import exported, readable

FieldType = descriptor_pb2.FieldDescriptorProto

EVERY_CLASS = """{M} ~{M} operator= New Clear CopyFrom MergeFrom MergeImpl IsInitialized ByteSizeLong
    GetCachedSize SetCachedSize _InternalParse _InternalSerialize GetMetadata GetClassData
    FullMessageName InternalSwap Swap UnsafeArenaSwap descriptor GetDescriptor
    GetReflection default_instance internal_default_instance _class_data_ kIndexInFileMessages"""
MAP_ENTRY = """{M} ~{M} MergeFrom internal_default_instance ValidateKey ValidateValue GetMetadata"""

SCALAR = "{x} set_{x} clear_{x} _internal_{x} _internal_set_{x}"
STRING = """{x} mutable_{x} release_{x} set_allocated_{x} clear_{x}
    _internal_{x} _internal_set_{x} _internal_mutable_{x}"""
MESSAGE = """has_{x} {x} mutable_{x} release_{x} set_allocated_{x} unsafe_arena_release_{x}
    unsafe_arena_set_allocated_{x} clear_{x} _internal_has_{x} _internal_{x} _internal_mutable_{x}"""
REPEATED_STRING = """{x}_size {x} mutable_{x} set_{x} add_{x} clear_{x}
    _internal_{x} _internal_add_{x} _internal_{x}_size"""
REPEATED_MESSAGE = """{x}_size {x} mutable_{x} add_{x} clear_{x}
    _internal_{x} _internal_add_{x} _internal_{x}_size"""
MAP = "{x} mutable_{x} {x}_size clear_{x} _internal_{x} _internal_mutable_{x}"
ONEOF_MEMBER = "has_{x} _internal_has_{x} set_has_{x}"
ONEOF = "{g}_case clear_{g} has_{g} clear_has_{g}"
ENUM = "{E}_IsValid {E}_descriptor {E}_Parse {E}_MIN {E}_MAX {E}_ARRAYSIZE"


def family(field, map_entries):
    repeated = field.label == FieldType.LABEL_REPEATED
    if field.type_name in map_entries:
        return MAP
    if field.type == FieldType.TYPE_MESSAGE:
        return REPEATED_MESSAGE if repeated else MESSAGE
    if field.type == FieldType.TYPE_STRING:
        return REPEATED_STRING if repeated else STRING
    assert not repeated, f"{field.name}: the tables have no family for repeated scalars"
    return SCALAR


def members(message, scope, map_entries):
    """Qualified names of the members of one message's class and of its map entries."""
    cls = f"{scope}{message.name}"
    name = cls.rsplit("::", 1)[-1]
    names = EVERY_CLASS.format(M=name).split()
    for field in message.field:
        names += family(field, map_entries).format(x=field.name).split()
        if field.HasField("oneof_index"):
            names += ONEOF_MEMBER.format(x=field.name).split()
    for oneof in message.oneof_decl:
        names += ONEOF.format(g=oneof.name).split()
    for enum in message.enum_type:
        names += ENUM.format(E=enum.name).split() + [value.name for value in enum.value]
        yield from (f"{cls}_{enum.name}_{function}" for function in ("IsValid", "descriptor"))
    yield from (f"{cls}::{member}" for member in names)
    for nested in message.nested_type:
        entry = f"{cls}_{nested.name}_DoNotUse"
        entry_name = entry.rsplit("::", 1)[-1]
        yield from (f"{entry}::{member}" for member in MAP_ENTRY.format(M=entry_name).split())


def expected(path):
    files = descriptor_pb2.FileDescriptorSet.FromString(pathlib.Path(path).read_bytes()).file
    for file in files:
        if file.package.startswith("quor."):
            map_entries = {
                f".{file.package}.{message.name}.{nested.name}"
                for message in file.message_type for nested in message.nested_type
                if nested.options.map_entry
            }
            scope = file.package.replace(".", "::") + "::"
            for message in file.message_type:
                yield from members(message, scope, map_entries)


def exported_members(library):
    return {re.sub(r"(\[abi:cxx11\])?(\(.*)?$", "", name) for name in readable(exported(library))}


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    wanted = set(expected(sys.argv[2]))
    missing = sorted(wanted - exported_members(sys.argv[1]))
    for name in missing:
        print(f"missing: {name}")
    print(f"{len(wanted)} member names expected, {len(missing)} missing")
    sys.exit(bool(missing) or not wanted)


if __name__ == "__main__":
    main()
