"""The reference implementation of the wire format: reads, writes and prints messages by the
declarations in tests/schema/declarations.txt, without any protobuf library."""

import dataclasses
import datetime
import json
import pathlib
import re
import struct

DECLARATIONS = pathlib.Path(__file__).resolve().parents[2] / "tests/schema/declarations.txt"
VARINT, FIXED64, LENGTH, START_GROUP, END_GROUP, FIXED32 = range(6)
GROUP_LIMIT = 100


class Refused(Exception):
    pass


@dataclasses.dataclass
class Field:
    number: int
    name: str
    type: str
    label: str = ""  # "", "repeated" or "map"
    oneof: str = ""

    @property
    def json_name(self):
        return re.sub(r"_+(\w)", lambda match: match.group(1).upper(), self.name)


TIMESTAMP, DURATION = "google.protobuf.Timestamp", "google.protobuf.Duration"


class Schema:
    """messages: full name -> {number: Field}; enums: full name -> {number: name};
    files: file -> [full name]"""

    def __init__(self, text):
        seconds = {1: Field(1, "seconds", "int64"), 2: Field(2, "nanos", "int32")}
        self.messages = {TIMESTAMP: seconds, DURATION: dict(seconds)}
        self.enums, self.files = {}, {}
        package = message = None
        for line in text.splitlines():
            words = line.split()
            if not line.startswith(" "):
                package = words[1]
                self.files[words[0].removesuffix(".proto")] = types = []
            elif words[0] == "message":
                message = f"{package}.{words[1]}"
                types.append(message)
                self.messages[message] = {}
            elif words[0] == "enum":
                name = f"{message}.{words[1].removesuffix(':')}"
                self.enums[name] = {int(number): value for value, number in
                                    (word.split("=") for word in words[2:])}
            elif words[0].isdigit():
                field = self._field(line)
                self.messages[message][field.number] = field

    def _field(self, line):
        number, name, label, kind, oneof = re.fullmatch(
            r" *(\d+) (\w+): (?:(repeated|map)[ <])?(.*?)>?(?: \(in (\w+)\))?", line).groups()
        if label == "map":
            key, kind = kind.split(", ")
            assert key == "int32"
        return Field(int(number), name, self._full(kind), label or "", oneof or "")

    @staticmethod
    def _full(kind):
        return f"quor.protobuf.{kind}" if "." in kind and not kind.startswith("google.") else kind

    def wire_type(self, field):
        if field.label == "map" or field.type == "string" or field.type in self.messages:
            return LENGTH
        return FIXED64 if field.type == "double" else VARINT


SCHEMA = Schema(DECLARATIONS.read_text())


# --- Bytes ---------------------------------------------------------------------------------------

def varint(value):
    value &= 2**64 - 1
    out = bytearray()
    while value > 127:
        out.append(value & 127 | 128)
        value >>= 7
    out.append(value)
    return bytes(out)


def tag(number, wire_type):
    return varint(number << 3 | wire_type)


def length_delimited(content):
    return varint(len(content)) + content


class Reader:
    def __init__(self, data):
        self.data, self.position = data, 0

    def done(self):
        return self.position == len(self.data)

    def take(self, count):
        if self.position + count > len(self.data):
            raise Refused("the bytes end too early")
        self.position += count
        return self.data[self.position - count:self.position]

    def varint(self, limit=10):
        value = 0
        for index in range(limit):
            byte = self.take(1)[0]
            value |= (byte & 127) << 7 * index
            if byte < 128:
                return value
        raise Refused(f"a varint of more than {limit} bytes")

    def tag(self):
        value = self.varint(5) & 2**32 - 1
        number, wire_type = value >> 3, value & 7
        if number == 0:
            raise Refused("field number 0")
        if wire_type > FIXED32:
            raise Refused(f"wire type {wire_type}")
        return number, wire_type

    def length(self):
        length = self.varint(5)
        if length > 2**31 - 17:
            raise Refused("a length beyond 2 GiB")
        return self.take(length)


# --- Messages ------------------------------------------------------------------------------------

class Message:
    """values: {number: value, list of values, or {key: value} of a map}; fields with
    implicit presence that hold their default are absent, and so are unset members of a oneof.
    unknown: [bytes]"""

    def __init__(self, type_name):
        self.type, self.values, self.unknown = type_name, {}, []


def signed(value, bits):
    value &= 2**bits - 1
    return value - 2**bits if value >> bits - 1 else value


def read_number(kind, value):
    value &= 2**64 - 1
    if kind == "bool":
        return value != 0
    if kind == "int64":
        return signed(value, 64)
    if kind == "uint64":
        return value
    if kind == "uint32":
        return value & 2**32 - 1
    return signed(value, 32)  # int32 and every enum


def read_unknown(reader, number, wire_type, depth=1):
    """The unknown field as a writer writes it: numbers and lengths in their shortest form."""
    if wire_type == VARINT:
        content = varint(reader.varint())
    elif wire_type == FIXED64:
        content = reader.take(8)
    elif wire_type == FIXED32:
        content = reader.take(4)
    elif wire_type == LENGTH:
        content = length_delimited(reader.length())
    elif wire_type == START_GROUP:
        if depth > GROUP_LIMIT:
            raise Refused(f"more than {GROUP_LIMIT} nested groups")
        content = b""
        while True:
            inner, inner_type = reader.tag()
            if inner_type == END_GROUP:
                break
            content += read_unknown(reader, inner, inner_type, depth + 1)
        if inner != number:
            raise Refused("a group that ends under another number")
        content += tag(number, END_GROUP)
    else:
        raise Refused("the end of a group that did not begin")
    return tag(number, wire_type) + content


def read(type_name, data, visit=lambda *_: None, message=None):
    """Reads bytes into a message. `visit(type, field, value)` sees each known field."""
    message = message or Message(type_name)
    fields = SCHEMA.messages[type_name]
    reader = Reader(data)
    while not reader.done():
        number, wire_type = reader.tag()
        field = fields.get(number)
        if field is None or wire_type != SCHEMA.wire_type(field):
            message.unknown.append(read_unknown(reader, number, wire_type))
        else:
            _read_field(message, field, reader, visit)
    return message


def _read_field(message, field, reader, visit):
    values, number = message.values, field.number
    if field.oneof:
        for other in SCHEMA.messages[message.type].values():
            if other.oneof == field.oneof and other is not field:
                values.pop(other.number, None)
    if field.label == "map":
        key, value = _read_entry(message.type, field, reader.length(), visit)
        values.setdefault(number, {})[key] = value
        visit(message.type, field, values[number])
        return
    if field.type in SCHEMA.messages:
        old = values.get(number) if not field.label else None
        value = read(field.type, reader.length(), visit, old)
    elif field.type == "string":
        try:
            value = reader.length().decode("utf-8")
        except UnicodeDecodeError:
            raise Refused(f"{message.type}.{field.name} is not UTF-8") from None
    elif field.type == "double":
        value = reader.take(8)
    else:
        value = read_number(field.type, reader.varint())
    visit(message.type, field, value)
    if field.label == "repeated":
        values.setdefault(number, []).append(value)
    elif field.oneof or isinstance(value, Message) or value:
        values[number] = value
    else:
        values.pop(number, None)


def _read_entry(type_name, field, data, visit):
    entry = f"{type_name}.{field.name.title().replace('_', '')}Entry"
    key, value, reader = 0, Message(field.type), Reader(data)
    while not reader.done():
        number, wire_type = reader.tag()
        if (number, wire_type) == (1, VARINT):
            key = read_number("int32", reader.varint())
            visit(entry, Field(1, "key", "int32"), key)
        elif (number, wire_type) == (2, LENGTH):
            read(field.type, reader.length(), visit, value)
            visit(entry, Field(2, "value", field.type), value)
        else:
            read_unknown(reader, number, wire_type)
    return key, value


def write(message, unknown=True):
    out = b""
    for number, value in sorted(message.values.items()):
        field = SCHEMA.messages[message.type][number]
        if field.label == "map":
            for key in sorted(value):
                entry = tag(1, VARINT) + varint(key) + tag(2, LENGTH) + length_delimited(
                    write(value[key], unknown))
                out += tag(number, LENGTH) + length_delimited(entry)
        else:
            for element in value if field.label == "repeated" else [value]:
                out += tag(number, SCHEMA.wire_type(field)) + _write_value(element, unknown)
    return out + (b"".join(message.unknown) if unknown else b"")


def _write_value(value, unknown):
    if isinstance(value, Message):
        return length_delimited(write(value, unknown))
    if isinstance(value, str):
        return length_delimited(value.encode())
    return value if isinstance(value, bytes) else varint(value)


# --- JSON ----------------------------------------------------------------------------------------

class NoJson(Exception):
    pass


def to_json(message):
    """The message as a value for json.dumps. Raises NoJson."""
    if message.type == TIMESTAMP:
        return _timestamp(message)
    if message.type == DURATION:
        return _duration(message)
    out = {}
    for number, value in sorted(message.values.items()):
        field = SCHEMA.messages[message.type][number]
        if field.label == "map":
            out[field.json_name] = {str(key): to_json(value[key]) for key in sorted(value)}
        elif field.label == "repeated":
            out[field.json_name] = [_json_value(field, element) for element in value]
        else:
            out[field.json_name] = _json_value(field, value)
    return out


def json_text(message):
    try:
        return json.dumps(to_json(message), ensure_ascii=False)
    except NoJson:
        return "none"


def _json_value(field, value):
    if isinstance(value, Message):
        return to_json(value)
    if field.type in ("int64", "uint64"):
        return str(value)
    if field.type == "double":
        number = struct.unpack("<d", value)[0]
        if number != number:
            return "NaN"
        return {float("inf"): "Infinity", float("-inf"): "-Infinity"}.get(number, number)
    if field.type in SCHEMA.enums:
        return SCHEMA.enums[field.type].get(value, value)
    return value


def _fraction(nanos):
    digits = f"{nanos:09}"
    while digits.endswith("000"):
        digits = digits[:-3]
    return f".{digits}" if digits else ""


def _timestamp(message):
    seconds, nanos = message.values.get(1, 0), message.values.get(2, 0)
    if not -62135596800 <= seconds <= 253402300799 or not 0 <= nanos <= 999999999:
        raise NoJson
    time = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)
    return f"{time.isoformat()}{_fraction(nanos)}Z"


def _duration(message):
    seconds, nanos = message.values.get(1, 0), message.values.get(2, 0)
    if abs(seconds) > 315576000000 or abs(nanos) > 999999999 or seconds * nanos < 0:
        raise NoJson
    sign = "-" if seconds < 0 or nanos < 0 else ""
    return f"{sign}{abs(seconds)}{_fraction(abs(nanos))}s"
