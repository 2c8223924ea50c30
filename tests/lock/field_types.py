"""What the type and the cardinality of a field mean on the wire, in JSON and in C++."""

from google.protobuf import descriptor_pb2

Field = descriptor_pb2.FieldDescriptorProto

# Type: wire type, how the payload is encoded, JSON form, C++ type.
TYPES = {
    "int32": ("varint", "plain", "a number", "int32_t"),
    "int64": ("varint", "plain", "a string of digits", "int64_t"),
    "uint32": ("varint", "plain", "a number", "uint32_t"),
    "uint64": ("varint", "plain", "a string of digits", "uint64_t"),
    "bool": ("varint", "plain", "true or false", "bool"),
    "enum": ("varint", "plain", "the name of a value", "an enum"),
    "sint32": ("varint", "zigzag", "a number", "int32_t"),
    "sint64": ("varint", "zigzag", "a string of digits", "int64_t"),
    "fixed32": ("4 bytes", "integer", "a number", "uint32_t"),
    "sfixed32": ("4 bytes", "integer", "a number", "int32_t"),
    "float": ("4 bytes", "floating point", "a number", "float"),
    "fixed64": ("8 bytes", "integer", "a string of digits", "uint64_t"),
    "sfixed64": ("8 bytes", "integer", "a string of digits", "int64_t"),
    "double": ("8 bytes", "floating point", "a number", "double"),
    "string": ("length", "text", "text", "std::string"),
    "bytes": ("length", "bytes", "text in base64", "std::string"),
    "message": ("length", "message", "an object", "a message class"),
    "group": ("group", "message", "an object", "a message class"),
}

# Encoding written, encoding read: how values arrive.
EXAMPLES = {
    ("plain", "zigzag"): "1 arrives as -1, 2 as 1",
    ("zigzag", "plain"): "-1 arrives as 1, 1 as 2",
    ("integer", "floating point"): "1 arrives as a fraction next to 0",
    ("floating point", "integer"): "1.0 arrives as a number with many digits",
}


def type_name(field):
    return Field.Type.Name(field.type)[len("TYPE_"):].lower()


def described(field):
    """The type as in the schema file."""
    return field.type_name.lstrip(".") or type_name(field)


def is_length_delimited(field):
    return TYPES[type_name(field)][0] == "length"


def setter(field):
    """The C++ function by which the field is given a value."""
    if field.label == Field.LABEL_REPEATED:
        return f"add_{field.name}()"
    return f"{'mutable' if type_name(field) == 'message' else 'set'}_{field.name}()"


def wire_type(field):
    """Repeated numbers are packed: their bytes are one block with a length in front."""
    if field.label == Field.LABEL_REPEATED and not is_length_delimited(field):
        return "length"
    return TYPES[type_name(field)][0]


def type_change(old, new):
    """The kind of change from one type to another."""
    before, after = type_name(old), type_name(new)
    encodings = TYPES[before][1], TYPES[after][1]
    if before == after:
        return f"{before}_type_changed"
    if wire_type(old) != wire_type(new):
        return "type_other_wire"
    if encodings in (("text", "bytes"), ("bytes", "text")):
        return f"{before}_to_{after}"
    if TYPES[before][:2] == TYPES[after][:2]:
        return "type_same_encoding"
    if "message" in encodings or wire_type(old) == "length":
        return "type_other_content"
    return "type_other_encoding"


def type_facts(old, new):
    before, after = TYPES[type_name(old)], TYPES[type_name(new)]
    if before[2] == after[2]:
        json = f"is still {before[2]}, with the range of {described(new)}"
    else:
        json = f"was {before[2]}, becomes {after[2]}"
    return {
        "old": described(old), "new": described(new),
        "old_read": EXAMPLES.get((after[1], before[1]), ""),
        "new_read": EXAMPLES.get((before[1], after[1]), ""),
        "json": json,
        "old_cpp": before[3], "new_cpp": after[3],
    }


def cardinality(field, message):
    entry = field.type_name.rpartition(".")[2]
    if any(nested.name == entry and nested.options.map_entry for nested in message.nested_type):
        return "a map"
    if field.label == Field.LABEL_REPEATED:
        return "repeated"
    if field.label == Field.LABEL_REQUIRED:
        return "required"
    return "optional" if field.proto3_optional else "singular"


def cardinality_change(old, new, before, after):
    """The kind of change from one cardinality to another."""
    kinds = {("singular", "optional"): "optional_added",
             ("optional", "singular"): "optional_removed"}
    if (before, after) in kinds:
        return kinds[before, after]
    if "a map" in (before, after):
        return "map_changed"
    if "repeated" not in (before, after):
        return "required_changed"
    if is_length_delimited(old) and is_length_delimited(new):
        return "repeated_changed"
    return "repeated_changed_packed"
