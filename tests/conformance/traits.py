"""Unusual traits of the bytes of a message. Random messages do not have names, so deviations are
recorded for traits."""

import functools
import math
import struct

import reference
from reference import END_GROUP, LENGTH, SCHEMA, START_GROUP, VARINT

NAMES = {
    "group": "a field of wire type 3",
    "long number": "a number of more bytes than it needs, or beyond 64 bits",
    "long tag": "a tag or a length of more bytes than it needs, or beyond 32 bits",
    "map": "an entry of a map",
    "NaN": "a double that is not a number",
    "no UTF-8": "text that is not UTF-8",
    "oneof": "a member of a oneof",
    "other type": "a known field number with another wire type",
    "repeated key": "more than one key in an entry of a map",
    "repeated part": "a sub-message twice in a field that is not repeated",
    "stray end": "a tag of field number 0, or the end of a group that did not begin",
    "truncated part": "a sub-message or map entry that ends too early",
    "undeclared value": "an enum value that is not declared",
    "unknown": "an unknown field number",
    "wide bool": "a boolean beyond 32 bits",
    "zero byte": "a text with U+0000 in it",
}


class _Reader(reference.Reader):
    """Notes unusual numbers, tags and lengths."""

    def __init__(self, data, found):
        super().__init__(data)
        self.found = found

    def varint(self, limit=10):
        start = self.position
        try:
            value = super().varint(limit)
        except reference.Refused:
            if self.position - start == limit:
                self._note_long(limit)
            raise
        bits = 64 if limit == 10 else 32
        if len(reference.varint(value)) < self.position - start or value >> bits:
            self._note_long(limit)
        return value

    def _note_long(self, limit):
        self.found.add("long number" if limit == 10 else "long tag")

    def peek(self):
        start = self.position
        value = self.varint(5)
        self.position = start
        return value

    def field_tag(self):
        value = self.peek() % 2**32
        if value < 8 or value & 7 == END_GROUP:
            self.found.add("stray end")
        return self.tag()

    def part(self):
        size, start = self.peek(), self.position
        try:
            return self.length()
        except reference.Refused:
            if start + len(reference.varint(size)) + size > len(self.data):
                self.found.add("truncated part")
            raise


class _Walk:
    def __init__(self):
        self.found = set()
        self.sub_messages = []

    def message(self, type_name, data):
        reader = _Reader(data, self.found)
        seen = set()
        while not reader.done():
            number, wire_type = reader.field_tag()
            field = SCHEMA.messages[type_name].get(number)
            if field is None or wire_type != SCHEMA.wire_type(field):
                self.found.add("other type" if field else "unknown")
                self.unknown(reader, number, wire_type)
                continue
            if number in seen and field.type in SCHEMA.messages and not field.label:
                self.found.add("repeated part")
            seen.add(number)
            if field.oneof:
                self.found.add("oneof")
            if field.label == "map":
                self.found.add("map")
                self.entry(field, reader.part())
            else:
                self.value(reader, field)

    def sub_message(self, type_name, content):
        self.sub_messages.append((type_name, content))
        self.message(type_name, content)

    def value(self, reader, field):
        if field.type in SCHEMA.messages:
            self.sub_message(field.type, reader.part())
        elif field.type == "string":
            self.text(reader.length())
        elif field.type == "double":
            bits = reader.take(8)
            if math.isnan(struct.unpack("<d", bits)[0]):
                self.found.add("NaN")
        else:
            self.number(field.type, reader.varint())

    def number(self, kind, written):
        value = reference.read_number(kind, written)
        if kind == "bool" and written >> 32:
            self.found.add("wide bool")
        if kind in SCHEMA.enums and value not in SCHEMA.enums[kind]:
            self.found.add("undeclared value")

    def text(self, content):
        if b"\0" in content:
            self.found.add("zero byte")
        try:
            content.decode()
        except UnicodeDecodeError:
            self.found.add("no UTF-8")

    def entry(self, field, data):
        reader, numbers = _Reader(data, self.found), []
        while not reader.done():
            number, wire_type = reader.field_tag()
            numbers.append(number)
            if numbers.count(1) > 1:
                self.found.add("repeated key")
            if numbers.count(2) > 1:
                self.found.add("repeated part")
            if (number, wire_type) == (1, VARINT):
                self.number("int32", reader.varint())
            elif (number, wire_type) == (2, LENGTH):
                self.sub_message(field.type, reader.part())
            else:
                self.found.add("other type" if number < 3 else "unknown")
                self.unknown(reader, number, wire_type)

    def unknown(self, reader, number, wire_type):
        if wire_type == START_GROUP:
            self.found.add("group")
        reference.read_unknown(reader, number, wire_type)


@functools.lru_cache(maxsize=None)
def _walked(type_name, content):
    walk = _Walk()
    try:
        walk.message(type_name, content)
    except reference.Refused:
        pass
    return walk


def of(type_name, content):
    """The traits of a message, as far as it can be read."""
    return _walked(type_name, content).found


def sub_messages(type_name, content):
    """(type, bytes) of each message inside a message."""
    return _walked(type_name, content).sub_messages
