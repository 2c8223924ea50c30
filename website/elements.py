"""The elements of a schema: files, messages, enums, fields.

Each works out what the pages show of it: its bytes on the wire, its presence, its names in JSON and
C++.
"""

import dataclasses
import pathlib
import typing

import wire

ROOT_PACKAGE = "quor.protobuf."


@dataclasses.dataclass
class Field:
    message: "Message"
    number: int
    name: str
    json_name: str
    comment: str
    scalar: typing.Optional[str]     # such as "int32"; None for a message or an enum
    type: typing.Optional[typing.Union["Message", "Enum"]]
    repeated: bool
    packed: bool
    oneof: typing.Optional["Oneof"]
    map_key: typing.Optional["Field"] = None    # of a map: its entries' fields 1 and 2
    map_value: typing.Optional["Field"] = None

    @property
    def full_name(self):
        return f"{self.message.full_name}.{self.name}"

    @property
    def short_name(self):
        return f"{self.message.name}.{self.name}"

    @property
    def is_map(self):
        return self.map_key is not None

    @property
    def holds(self):
        """The message or enum in the field, or in the values of a map; None for a scalar."""
        return self.map_value.type if self.is_map else self.type

    @property
    def wire_type(self):
        if self.is_map or self.packed or isinstance(self.type, Message) or (
                self.scalar in wire.LENGTH_DELIMITED):
            return "length-delimited"
        return wire.FIXED.get(self.scalar, "varint")

    @property
    def tag(self):
        return wire.varint(self.number << 3 | wire.WIRE_TYPES[self.wire_type])

    @property
    def tag_hex(self):
        return wire.spaced(self.tag)

    @property
    def type_name(self):
        """The type as the schema file names it, without `repeated`."""
        if self.is_map:
            return f"map<{self.map_key.type_name}, {self.map_value.type_name}>"
        return self.scalar or self.type.name

    @property
    def presence(self):
        """One of: map, repeated, oneof, tracked, implicit."""
        if self.is_map:
            return "map"
        if self.repeated:
            return "repeated"
        if self.oneof:
            return "oneof"
        return "tracked" if isinstance(self.type, Message) else "implicit"

    @property
    def default(self):
        """What a reader sees where the field is absent."""
        if self.is_map or self.repeated:
            return "empty"
        if isinstance(self.type, Message):
            return "none"
        if isinstance(self.type, Enum):
            return self.type.values[0].name
        return {"string": '""', "bytes": '""', "bool": "false"}.get(self.scalar, "0")


@dataclasses.dataclass
class Oneof:
    name: str
    comment: str
    fields: list = dataclasses.field(default_factory=list)


@dataclasses.dataclass
class EnumValue:
    enum: "Enum"
    name: str
    number: int
    comment: str

    @property
    def full_name(self):
        return f"{self.enum.full_name}.{self.name}"

    @property
    def wire_hex(self):
        return wire.spaced(wire.varint(self.number))


@dataclasses.dataclass
class _Type:
    """The common part of messages and enums. `name` has no package: `QVal.Type`."""
    file: "File"
    name: str
    comment: str
    used_by: list = dataclasses.field(default_factory=list)    # the fields that hold it

    @property
    def full_name(self):
        return f"{self.file.package}.{self.name}"

    @property
    def qualified_name(self):
        """Without the root package: `QuorPHP.QVal`."""
        return self.full_name.removeprefix(ROOT_PACKAGE)

    @property
    def cpp_class(self):
        return "::".join([*self.file.package.split("."), *self.name.split(".")])


@dataclasses.dataclass
class Enum(_Type):
    values: list = dataclasses.field(default_factory=list)


@dataclasses.dataclass
class Message(_Type):
    index: int = 0      # in the generated file: nested messages come before their parent
    fields: list = dataclasses.field(default_factory=list)
    oneofs: list = dataclasses.field(default_factory=list)
    enums: list = dataclasses.field(default_factory=list)

    @property
    def uses(self):
        """The messages and enums in its fields, each once, in the order of the fields."""
        return list({id(field.holds): field.holds for field in self.fields if field.holds}.values())


@dataclasses.dataclass
class File:
    name: str
    package: str
    comment: str
    imports: list
    own: bool    # one of this project's schema files
    messages: list = dataclasses.field(default_factory=list)
    enums: list = dataclasses.field(default_factory=list)

    @property
    def stem(self):
        return pathlib.PurePath(self.name).stem

    @property
    def header(self):
        return f"qmsg/{self.stem}.pb.h"
