"""From a capture through broker and workers into tables, and what these tell.

A worker is killed at the worst moment: it has stored messages and not yet acknowledged them.
"""

import argparse
import contextlib
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

import psycopg2
import redis

import broker as way
import capture
import store
from engines import run_postgres, run_redis, running
from schema import Schema

HERE = pathlib.Path(__file__).parent
DEADLINE = 120  # seconds for the workers


class Run:
    def __init__(self, stack, descriptors):
        self._stack = stack
        self._descriptors = descriptors.resolve()  # workers run elsewhere
        self._sockets = stack.enter_context(run_redis()), stack.enter_context(run_postgres())
        self._log = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()), "log")
        self.broker = redis.Redis(unix_socket_path=self._sockets[0])
        self.database = psycopg2.connect(self._sockets[1])
        self.database.autocommit = True
        self.messages = Schema(descriptors.read_bytes())
        way.create_streams(self.broker)
        with contextlib.closing(psycopg2.connect(self._sockets[1])) as database:
            store.create_tables(self.messages, database)

    def query(self, statement):
        with self.database.cursor() as cursor:
            cursor.execute(statement)
            return [column.name for column in cursor.description], cursor.fetchall()

    def start_worker(self, name, partition):
        command = [sys.executable, "-B", HERE / "worker.py", name, str(partition), *self._sockets,
                   self._descriptors]
        return self._stack.enter_context(running(command, self._log, signal.SIGKILL))

    def wait_until(self, condition, what, workers=()):
        end = time.monotonic() + DEADLINE
        while not condition():
            if any(worker.poll() is not None for worker in workers):
                raise SystemExit(f"run.py: a worker failed:\n{self._log.read_text('utf-8')}")
            if time.monotonic() > end:
                raise SystemExit(f"run.py: after {DEADLINE} seconds still not so: {what}")
            time.sleep(0.01)

    def pending(self, partition):
        return self.broker.xpending(way.stream(partition), way.GROUP)["pending"]

    def stored(self):
        return self.query("SELECT count(*) FROM message")[1][0][0]

    def kill_a_worker(self, partition):
        """Gives back how many messages it had stored, and how many not acknowledged."""
        with contextlib.closing(psycopg2.connect(self._sockets[1])) as other:
            with other, other.cursor() as cursor:
                cursor.execute("LOCK TABLE message IN SHARE MODE")  # it may read, but not store
                worker = self.start_worker("killed", partition)
                self.wait_until(lambda: self.pending(partition) > 0, "the worker reads", [worker])
                self.broker.client_pause(1000 * DEADLINE, all=False)  # now store, not acknowledge
        self.wait_until(lambda: self.stored() > 0, "the worker stores", [worker])
        worker.kill()
        self.wait_until(lambda: "killed" not in {client["name"] for client
                                                 in self.broker.client_list()},
                        "the broker knows that the worker is gone")
        self.broker.client_unpause()
        return self.stored(), self.pending(partition)

    def is_done(self):
        return not any(self.broker.xlen(way.stream(i)) for i in range(way.PARTITIONS))


def copies_of(messages, schema, count):
    """The same requests several times, each under a queue_id of its own."""
    for i in range(count):
        for name, message in messages:
            copy = schema.message_class(name).FromString(message)
            copy.queue_id += f"-{i}"
            yield name, copy.SerializeToString()


def print_table(names, rows):
    texts = [names] + [["" if cell is None else str(cell) for cell in row] for row in rows]
    widths = [max(map(len, column)) for column in zip(*texts)]
    for row in texts:
        print("  " + "  ".join(map(str.ljust, row, widths)).rstrip())


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("capture", type=pathlib.Path, help="made by qmsg encode --framing any")
    parser.add_argument("descriptors", type=pathlib.Path, help="<prefix>/share/qmsg/qmsg.desc")
    parser.add_argument("--copies", type=int, metavar="N",
                        help="measure: N times the same requests, nobody is killed")
    arguments = parser.parse_args()
    try:
        messages = list(capture.read(arguments.capture.read_bytes()))
        process(messages, arguments)
    except (OSError, ValueError) as error:
        raise SystemExit(f"run.py: {error}") from error


def process(messages, arguments):
    with contextlib.ExitStack() as stack:
        run = Run(stack, arguments.descriptors)
        if arguments.copies:
            messages = list(copies_of(messages, run.messages, arguments.copies))
        start = time.monotonic()
        sent = way.send(run.broker, run.messages, messages)
        time_to_send = time.monotonic() - start
        lengths = [run.broker.xlen(way.stream(i)) for i in range(way.PARTITIONS)]
        print(f"sent {sent} messages, to the partitions: {', '.join(map(str, lengths))}")
        start = time.monotonic()
        if not arguments.copies:
            stored, pending = run.kill_a_worker(lengths.index(max(lengths)))
            print(f"a worker is killed: {stored} messages stored, {pending} not acknowledged")
        workers = [run.start_worker(f"worker-{i}", i) for i in range(way.PARTITIONS)]
        run.wait_until(run.is_done, "all messages are acknowledged", workers)
        time_to_store = time.monotonic() - start
        print(f"{run.stored()} messages are stored")
        for title, statement in (query.split("\n", 1) for query in
                                 (HERE / "queries.sql").read_text(encoding="utf-8").split("\n\n")):
            print(f"\n{title.removeprefix('-- ')}")
            print_table(*run.query(statement))
        if arguments.copies:
            size = sum(len(message) for _, message in messages)
            print(f"\n{size / sent:.0f} bytes a message; sent {sent / time_to_send:.0f} a second, "
                  f"stored {sent / time_to_store:.0f} a second")


if __name__ == "__main__":
    main()
