"""Makes random messages as bytes: every kind of field in every form that a reader has to accept,
also forms that no writer chooses, and damaged messages."""

import random

import reference
from reference import FIXED32, FIXED64, LENGTH, SCHEMA, START_GROUP, END_GROUP, VARINT

TYPES = [name for types in SCHEMA.files.values() for name in types]

NUMBERS = [0, 1, 2, 127, 128, 16383, 16384, 2**31 - 1, 2**31, 2**32 - 1, 2**32, 2**63 - 1, 2**63,
           -1, -2**31, 2**32 + 1]
DOUBLES = [bytes.fromhex(bits) for bits in (
    "0000000000000000", "0000000000000080", "000000000000f03f", "000000000000f07f",
    "000000000000f0ff", "000000000000f87f", "010000000000f0ff", "0100000000000000")]
CHARACTERS = [0, 0x41, 0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF]
NOT_UTF8 = [b"\xff", b"\x80", b"\xc3", b"\xe2\x82", b"\xf0\x9f\x98", b"\xc0\x80", b"\xc1\xbf",
            b"\xe0\x9f\xbf", b"\xed\xa0\x80", b"\xf0\x8f\xbf\xbf", b"\xf4\x90\x80\x80"]
UNUSED_NUMBERS = [15, 16, 19000, 2**29 - 1]
MAP_KEYS = [0, 1, 2, -1, 2**31 - 1, -2**31, 2**32 + 1]


class Generator:
    """Generates (type, bytes) without end. The same seed gives the same messages."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.lies = False  # whether lengths may be wrong and texts not UTF-8

    def __iter__(self):
        return self

    def __next__(self):
        type_name = self.random.choice(TYPES)
        damaged = self.chance(0.4)
        self.lies = damaged and self.chance(0.5)
        content = self.message(type_name)
        if damaged and not self.lies:
            content = self.damaged(type_name, content)
        return type_name, content

    def chance(self, probability):
        return self.random.random() < probability

    def message(self, type_name, room=8):
        fields = list(SCHEMA.messages[type_name].values())
        chosen = self.random.choices(fields, k=self.random.randint(0, room))
        if self.chance(0.7):
            chosen.sort(key=lambda field: field.number)
        content = b""
        for field in chosen:
            content += self.unknown(fields) if self.chance(0.06) else self.field(field, room // 2)
        return content

    def field(self, field, room):
        out = self.tag(field.number, SCHEMA.wire_type(field))
        if field.label == "map":
            return out + self.sized(self.map_entry(field, room))
        if field.type in SCHEMA.messages:
            return out + self.sized(self.message(field.type, room))
        if field.type == "string":
            return out + self.sized(self.text())
        if field.type == "double":
            return out + self.double()
        return out + self.varint(self.number(field))

    def map_entry(self, field, room):
        parts = [self.tag(1, VARINT) + self.varint(self.random.choice(MAP_KEYS)),
                 self.tag(2, LENGTH) + self.sized(self.message(field.type, room))]
        if self.chance(0.3):
            odd = self.random.choices(parts + [self.unknown([])], k=self.random.randint(0, 4))
            return b"".join(odd)
        return b"".join(parts)

    def unknown(self, fields, depth=0):
        """A field that the message does not declare, or declares with another wire type."""
        wire_type = self.random.choice([VARINT, FIXED64, LENGTH, START_GROUP, FIXED32])
        numbers = UNUSED_NUMBERS + [field.number for field in fields
                                    if SCHEMA.wire_type(field) != wire_type]
        number = self.random.choice(numbers)
        out = self.tag(number, wire_type)
        if wire_type == VARINT:
            return out + self.varint(self.random.choice(NUMBERS))
        if wire_type == LENGTH:
            return out + self.sized(self.random.randbytes(self.random.randint(0, 5)))
        if wire_type == START_GROUP:
            for _ in range(self.random.randint(0, 2) if depth < 3 else 0):
                out += self.unknown([], depth + 1)
            return out + self.tag(number, END_GROUP)
        return out + self.random.randbytes(8 if wire_type == FIXED64 else 4)

    def number(self, field):
        if field.type in SCHEMA.enums and self.chance(0.7):
            return self.random.choice(list(SCHEMA.enums[field.type]))
        if self.chance(0.2):
            return self.random.getrandbits(64)
        return self.random.choice(NUMBERS)

    def double(self):
        return self.random.choice(DOUBLES) if self.chance(0.7) else self.random.randbytes(8)

    def text(self):
        length = 130 if self.chance(0.01) else self.random.randint(0, 4)
        text = "".join(map(chr, self.random.choices(CHARACTERS, k=length))).encode()
        if self.lies and self.chance(0.15):
            text += self.random.choice(NOT_UTF8) + self.random.choice([b"", b"A"])
        return text

    def sized(self, content):
        size = len(content)
        if self.lies and self.chance(0.08):
            size = self.random.choice([size + 1, max(size - 1, 0), 2**31 - 1, 2**32 - 1, 2**40])
        return self.varint(size, 5) + content

    def tag(self, number, wire_type):
        return self.varint(number << 3 | wire_type, 5)

    def varint(self, value, longest=10):
        """Sometimes longer than needed."""
        out = reference.varint(value)
        if len(out) < longest and self.chance(0.02):
            more = self.random.randint(1, longest - len(out))
            out = out[:-1] + bytes([out[-1] | 128]) + b"\x80" * (more - 1) + b"\0"
        return out

    def damaged(self, type_name, content):
        """The bytes with a random change."""
        at, to = sorted(self.random.choices(range(len(content) + 1), k=2))
        if self.chance(0.2):
            return content[:at]
        if self.chance(0.2):
            return content[:at] + self.message(type_name)[self.random.randint(0, 3):]
        if self.chance(0.2):
            return content[:at] + content[at:to] + content[at:]
        if self.chance(0.2):
            return content[:at] + content[to:]
        if self.chance(0.3):
            return content[:at] + self.random.randbytes(1) + content[at:]
        if at == len(content):
            return content
        return content[:at] + bytes([content[at] ^ 1 << self.random.randint(0, 7)]) + content[at + 1:]
