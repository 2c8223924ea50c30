"""Stores what comes in on one partition.

usage: worker.py NAME PARTITION REDIS POSTGRES DESCRIPTORS
"""

import pathlib
import sys

import psycopg2
import redis

from broker import GROUP, message_of, stream
from schema import Schema
from store import Store

BATCH = 100  # messages that are stored in one transaction
IDLE = 1000  # milliseconds after which another worker's messages count as left behind
WAIT = 200  # milliseconds to wait for new messages


def batches(broker, partition, name):
    """The entries that nobody has acknowledged: first those of workers that died, then new ones."""
    while True:
        _, left_behind, _ = broker.xautoclaim(stream(partition), GROUP, name, IDLE, count=BATCH)
        if left_behind:
            yield left_behind
            continue
        for _, entries in broker.xreadgroup(GROUP, name, {stream(partition): ">"}, BATCH, WAIT):
            yield entries


def main():
    name, number, socket, address, descriptors = sys.argv[1:]
    partition = int(number)
    broker = redis.Redis(unix_socket_path=socket, client_name=name)
    messages = Schema(pathlib.Path(descriptors).read_bytes())
    store = Store(messages, psycopg2.connect(address))
    for entries in batches(broker, partition, name):
        store.add([message_of(fields) for _, fields in entries])
        # Only now: a worker that dies before this line leaves the messages to another.
        ids = [entry for entry, _ in entries]
        done = broker.pipeline()
        done.xack(stream(partition), GROUP, *ids).xdel(stream(partition), *ids).execute()


if __name__ == "__main__":
    main()
