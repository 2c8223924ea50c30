"""Makes messages of every type as a program would write them, with protobuf's classes for Python."""

import os
import pathlib
import random

from google.protobuf import descriptor_pb2, descriptor_pool, message_factory
from google.protobuf.descriptor import FieldDescriptor

WORDS = ("run", "app", "User::find", "/var/www/index.php", "SELECT id FROM users WHERE id = 7",
         "Undefined variable $user", "GET", "https://shop.example/cart?item=17", "worker-3",
         "text/html; charset=utf-8", "q17", "größer", "{\"a\": 1}", "HTTP_HOST", "10.0.0.7")
# The member that goes with each value of a type tag, as the comments in the schema files say.
TAGS = {
    "QVal": ("value_type", {2: "bool_value", 3: "string_value", 4: "int_value",
                            5: "double_value", 6: "json_value", 7: "tm_value"}),
    "Value": ("value_type", {1: "bool_value", 2: "int_value", 3: "uint_value",
                             4: "double_value", 5: "string_value", 6: "json_value"}),
    "Event": ("event_type", {0: "exec_time", 2: "exec_time", 3: "memory_usage_bytes",
                             4: "php_error", 5: "custom"}),
}
NUMBERS = {FieldDescriptor.TYPE_INT32: 1 << 15, FieldDescriptor.TYPE_UINT32: 1 << 15,
           FieldDescriptor.TYPE_INT64: 1 << 40, FieldDescriptor.TYPE_UINT64: 1 << 48}


def types():
    """The classes of all messages of the schema files, by full name."""
    files = descriptor_pb2.FileDescriptorSet.FromString(
        pathlib.Path(os.environ["QMSG_DESCRIPTOR_SET"]).read_bytes())
    pool = descriptor_pool.DescriptorPool()
    for file in files.file:
        pool.Add(file)
    factory = message_factory.MessageFactory(pool)
    declared = [kind for file in files.file
                for kind in pool.FindFileByName(file.name).message_types_by_name.values()]
    return {kind.full_name: factory.GetPrototype(kind) for kind in declared
            if kind.full_name.startswith("quor.")}


class Maker:
    """The same seed makes the same messages. `presence`: how likely each field is there."""

    def __init__(self, seed, presence):
        self.random = random.Random(seed)
        self.presence = presence

    def fill(self, message):
        kind = message.DESCRIPTOR
        if kind.name == "Timestamp":
            message.seconds = self.random.randint(1_600_000_000, 1_900_000_000)
            message.nanos = self.random.randrange(10**9)
            return
        if kind.name == "Duration":
            message.seconds = self.random.randrange(60)
            message.nanos = self.random.randrange(10**9)
            return
        for field in kind.fields:
            if field.containing_oneof is None and self.random.random() < self.presence:
                self.set(message, field)
        for oneof in kind.oneofs:
            self.choose(message, oneof)

    def choose(self, message, oneof):
        tag, members = TAGS.get(message.DESCRIPTOR.name, ("", {}))
        if members:
            name = members.get(getattr(message, tag))
            fields = [message.DESCRIPTOR.fields_by_name[name]] if name else []
        else:
            fields = oneof.fields if self.random.random() < self.presence else []
        if fields:
            self.set(message, self.random.choice(fields))

    def set(self, message, field):
        if field.label == FieldDescriptor.LABEL_REPEATED:
            for _ in range(self.random.randint(1, 3)):
                self.add(message, field)
        elif field.type == FieldDescriptor.TYPE_MESSAGE:
            inside = getattr(message, field.name)
            inside.SetInParent()
            self.fill(inside)
        else:
            setattr(message, field.name, self.scalar(field))

    def add(self, message, field):
        values = getattr(message, field.name)
        if field.type != FieldDescriptor.TYPE_MESSAGE:
            values.append(self.scalar(field))
        elif field.message_type.GetOptions().map_entry:
            self.fill(values[self.random.randrange(100)])
        else:
            self.fill(values.add())

    def scalar(self, field):
        if field.type == FieldDescriptor.TYPE_STRING:
            return self.random.choice(WORDS)
        if field.type == FieldDescriptor.TYPE_ENUM:
            return self.random.choice(field.enum_type.values).number
        if field.type == FieldDescriptor.TYPE_BOOL:
            return self.random.random() < 0.5
        if field.type == FieldDescriptor.TYPE_DOUBLE:
            return self.random.uniform(-1000, 1000)
        return self.random.randrange(1, NUMBERS[field.type])
