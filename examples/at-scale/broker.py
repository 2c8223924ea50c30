"""The way through the broker: a stream for each partition, read by one group of workers."""

import collections
import zlib

PARTITIONS = 4  # for ever: with another number, requests under way would be torn apart
GROUP = b"store"


def partition_of(queue_id):
    """The same in every process and language, unlike Python's hash()."""
    return zlib.crc32(queue_id.encode()) % PARTITIONS


def stream(partition):
    return f"qmsg:{partition}"


def create_streams(broker):
    for partition in range(PARTITIONS):
        broker.xgroup_create(stream(partition), GROUP, id="0", mkstream=True)


def send(broker, messages, stream_of_messages):
    """Sends (type, bytes) pairs, each to the partition of its request. Gives back how many. The
    number of a message within its request is part of its name: sent twice, it stays one message."""
    numbers = collections.Counter()
    pipeline = broker.pipeline(transaction=False)
    for name, message in stream_of_messages:
        queue_id = messages.queue_id(name, message)
        pipeline.xadd(stream(partition_of(queue_id)), {
            "queue_id": queue_id, "type": name, "id": numbers[queue_id], "message": message})
        numbers[queue_id] += 1
        if len(pipeline) == 1000:
            pipeline.execute()
    pipeline.execute()
    return numbers.total()


def message_of(fields):
    """The (queue_id, type, id, bytes) of what send() sent."""
    return (fields[b"queue_id"].decode(), fields[b"type"].decode(), int(fields[b"id"]),
            fields[b"message"])
