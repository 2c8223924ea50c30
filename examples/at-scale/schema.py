"""The messages, known from the descriptor set alone: no generated classes."""

import datetime

from google.protobuf import descriptor_pb2, descriptor_pool, message_factory
from google.protobuf.descriptor import FieldDescriptor
from google.protobuf.message import DecodeError


class Schema:
    """Made from the bytes of a descriptor set, such as <prefix>/share/qmsg/qmsg.desc."""

    def __init__(self, descriptor_set):
        self._files = descriptor_pb2.FileDescriptorSet.FromString(descriptor_set).file
        self._pool = descriptor_pool.DescriptorPool()
        for file in self._files:  # each after those that it imports
            self._pool.Add(file)
        self._factory = message_factory.MessageFactory(self._pool)
        self._readers = self._queue_id_readers()

    def message_class(self, name):
        return self._factory.GetPrototype(self._pool.FindMessageTypeByName(name))

    def queue_id(self, name, message):
        """The request's tag in the bytes of a message of that type; all else is skipped. Raises
        ValueError if there is none, or the bytes are not that of a message."""
        if name not in self._readers:
            raise ValueError(f"{name} has no queue_id: it belongs to no request")
        try:
            queue_id = self._readers[name].FromString(message).queue_id
        except DecodeError as error:
            raise ValueError(f"no {name}: {error}") from error
        if not queue_id:
            raise ValueError(f"this {name} has an empty queue_id")
        return queue_id

    def _queue_id_readers(self):
        """For each type a class that knows its queue_id and nothing else. What it does not know it
        does not look into."""
        parts = descriptor_pb2.FileDescriptorProto(
            name="queue_id.proto", package="only_queue_id", syntax="proto3")
        names = {}
        for file in self._files:
            for message in file.message_type:
                for field in message.field:
                    # The queue_id of a job is a number, and names a queue.
                    if field.name == "queue_id" and field.type == field.TYPE_STRING:
                        part = f"T{len(names)}"
                        names[f"{file.package}.{message.name}"] = part
                        parts.message_type.add(name=part).field.add().CopyFrom(field)
        pool = descriptor_pool.DescriptorPool()
        pool.Add(parts)
        factory = message_factory.MessageFactory(pool)
        return {name: factory.GetPrototype(pool.FindMessageTypeByName(f"only_queue_id.{part}"))
                for name, part in names.items()}


_INTEGERS = {FieldDescriptor.CPPTYPE_INT32: "integer", FieldDescriptor.CPPTYPE_UINT32: "bigint",
             FieldDescriptor.CPPTYPE_INT64: "bigint", FieldDescriptor.CPPTYPE_UINT64: "numeric(20)"}
_SCALARS = {**_INTEGERS, FieldDescriptor.CPPTYPE_BOOL: "boolean",
            FieldDescriptor.CPPTYPE_STRING: "text", FieldDescriptor.CPPTYPE_ENUM: "integer",
            FieldDescriptor.CPPTYPE_DOUBLE: "double precision"}
_TIMES = {"google.protobuf.Duration": "interval", "google.protobuf.Timestamp": "timestamptz"}


def columns(descriptor, path=()):
    """The columns for a message, as (name, type in SQL, path of fields). A sub-message becomes one
    column for each of its fields. Lists have none, and neither has what lies in them."""
    for field in descriptor.fields:
        here = (*path, field)
        name = "_".join(part.name for part in here)
        if field.label == FieldDescriptor.LABEL_REPEATED:
            continue
        if field.message_type is None:
            yield name, _SCALARS[field.cpp_type], here
        elif field.message_type.full_name in _TIMES:
            yield name, _TIMES[field.message_type.full_name], here
        else:
            yield from columns(field.message_type, here)


def value(message, path):
    """What stands in a column: None for what is not there, a member of a oneof included. Raises
    ValueError or OverflowError for a time that is none."""
    for field in path:
        if field.has_presence and not message.HasField(field.name):
            return None
        message = getattr(message, field.name)
    if field.message_type is None:
        return message
    if field.message_type.full_name == "google.protobuf.Duration":
        return message.ToTimedelta()
    return message.ToDatetime(datetime.timezone.utc)
