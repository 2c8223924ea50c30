"""Reads every declaration of a descriptor set, with its comment and the fields that use it."""

import pathlib

from elements import ROOT_PACKAGE, Enum, EnumValue, Field, File, Message, Oneof
from google.protobuf import descriptor_pb2
from wire import LENGTH_DELIMITED

_FieldProto = descriptor_pb2.FieldDescriptorProto
_SCALARS = {getattr(_FieldProto, name): name[len("TYPE_"):].lower()
            for name in _FieldProto.Type.keys()}

# Short comments for protobuf's own messages: of the message, then of its fields.
_TIMES = {
    "google.protobuf.Timestamp": (
        "A point in time, counted from 1970-01-01T00:00:00Z without leap seconds. In JSON a text "
        "such as \"2024-01-31T12:00:00.5Z\".",
        "Seconds since 1970-01-01T00:00:00Z; negative before it.",
        "The fraction of a second, 0 to 999999999, counted forwards also before 1970."),
    "google.protobuf.Duration": (
        "A span of time. In JSON a text of seconds such as \"0.001500s\".",
        "Whole seconds; negative for a span backwards.",
        "The fraction of a second, -999999999 to 999999999, of the same sign as `seconds`."),
}


class Schema:
    """A descriptor set: `files` are this project's, `times` are protobuf's own messages."""

    def __init__(self, descriptor_set):
        self._types = {}
        readers = [_FileReader(file, self._types) for file in descriptor_set.file]
        for reader in readers:
            reader.read_fields()
        files = [reader.file for reader in readers]
        self.files = sorted((file for file in files if file.own), key=lambda file: file.name)
        self.times = [message for file in files if not file.own for message in file.messages]
        _tell_times(self.times)

    @property
    def messages(self):
        return [message for file in self.files for message in file.messages]

    @property
    def enums(self):
        return [enum for file in self.files for enum in file.enums]

    def find(self, full_name):
        return self._types[full_name]


def load(path):
    """The schema in a file, a descriptor set with source info."""
    return Schema(descriptor_pb2.FileDescriptorSet.FromString(pathlib.Path(path).read_bytes()))


def _tell_times(messages):
    for message in messages:
        message.comment, *told = _TIMES[message.full_name]
        for field, comment in zip(message.fields, told, strict=True):
            field.comment = comment


class _FileReader:
    """Reads one file in two passes: first the types, then the fields, which refer to types."""

    def __init__(self, proto, types):
        self._types = types
        self._comments = {tuple(place.path): place for place in proto.source_code_info.location}
        self._pending = []
        self._entries = {}
        own = proto.package.startswith(ROOT_PACKAGE)
        # The file's comment: above the first statement, separated by a blank line.
        syntax = self._comments.get((12,))
        head = syntax.leading_detached_comments[0] if (
            syntax and syntax.leading_detached_comments) else self._comment((12,))
        self.file = File(proto.name, proto.package, _one_paragraph(head), list(proto.dependency),
                         own)
        self._index = 0
        for number, message in enumerate(proto.message_type):
            self._message(message, "", (4, number))
        for number, enum in enumerate(proto.enum_type):
            self.file.enums.append(self._enum(enum, "", (5, number)))

    def _comment(self, path):
        place = self._comments.get(path)
        return _one_paragraph(place.leading_comments or place.trailing_comments) if place else ""

    def _message(self, proto, scope, path):
        message = Message(self.file, scope + proto.name, self._comment(path))
        for number, nested in enumerate(proto.nested_type):
            self._message(nested, message.name + ".", (*path, 3, number))
        message.index = self._index
        self._index += 1
        self._types[message.full_name] = message
        if proto.options.map_entry:
            self._entries[message.full_name] = message
        else:
            self.file.messages.append(message)
        for number, enum in enumerate(proto.enum_type):
            message.enums.append(self._enum(enum, message.name + ".", (*path, 4, number)))
        self.file.enums.extend(message.enums)
        message.oneofs = [Oneof(oneof.name, self._comment((*path, 8, number)))
                          for number, oneof in enumerate(proto.oneof_decl)]
        self._pending.append((message, proto, path))

    def _enum(self, proto, scope, path):
        enum = Enum(self.file, scope + proto.name, self._comment(path))
        enum.values = [EnumValue(enum, value.name, value.number, self._comment((*path, 2, number)))
                       for number, value in enumerate(proto.value)]
        self._types[enum.full_name] = enum
        return enum

    def read_fields(self):
        for message, proto, path in self._pending:
            message.fields = [self._field(message, field, (*path, 2, number))
                              for number, field in enumerate(proto.field)]
        for name, entry in self._entries.items():
            for message in self.file.messages:
                for field in message.fields:
                    if field.type is self._types[name]:
                        field.map_key, field.map_value = entry.fields
        for message in self.file.messages:
            for field in message.fields:
                if field.holds:
                    field.holds.used_by.append(field)

    def _field(self, message, proto, path):
        repeated = proto.label == proto.LABEL_REPEATED
        type_ = self._types[proto.type_name.removeprefix(".")] if proto.type_name else None
        scalar = None if type_ else _SCALARS[proto.type]
        packed = repeated and scalar not in LENGTH_DELIMITED and not isinstance(type_, Message)
        oneof = message.oneofs[proto.oneof_index] if proto.HasField("oneof_index") else None
        field = Field(message, proto.number, proto.name, proto.json_name, self._comment(path),
                      scalar, type_, repeated, packed, oneof)
        if oneof:
            oneof.fields.append(field)
        return field


def _one_paragraph(comment):
    return " ".join(comment.split())
