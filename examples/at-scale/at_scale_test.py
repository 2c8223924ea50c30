"""The way of the messages, and what the tables say in the end, against values worked out by hand.

QMSG: the tool qmsg; QMSG_DESC: the descriptor set.
"""

import contextlib
import datetime
import decimal
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

import psycopg2
import redis

import broker
import capture
import store
import worker
from engines import run_postgres, run_redis
from schema import Schema

HERE = pathlib.Path(__file__).parent
DESCRIPTORS = pathlib.Path(os.environ["QMSG_DESC"])
SCHEMA = Schema(DESCRIPTORS.read_bytes())
PHP, TARQ = "quor.protobuf.QuorPHP.", "quor.protobuf.Tarq."
TIMEOUT = 120  # seconds


def encoded_requests():
    command = [os.environ["QMSG"], "encode", "--framing", "any", HERE / "requests.json"]
    return subprocess.run(command, capture_output=True, check=True, timeout=TIMEOUT).stdout


class TheWholeWay(unittest.TestCase):
    maxDiff = None

    @staticmethod
    def run_over(requests):
        """What run.py makes of the bytes of a capture."""
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "requests.any")
            path.write_bytes(requests)
            return subprocess.run([sys.executable, "-B", HERE / "run.py", path, DESCRIPTORS],
                                  capture_output=True, text=True, timeout=TIMEOUT, check=False)

    def test_ends_as_the_readme_shows(self):
        run = self.run_over(encoded_requests())
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        # By hand: 0.0015 + 0.25 s of SQL in /cart, 0.004 + 1.5 + 0.5 s in /order, whose fourth
        # statement has neither a time nor a connection.
        shown = (HERE / "README.md").read_text(encoding="utf-8").split("```text\n")[1]
        self.assertEqual(run.stdout, shown.split("```")[0])


    def test_does_not_begin_with_what_is_no_capture(self):
        for requests, complaint in (
                (encoded_requests()[:-1], "the capture is cut off in the message at byte 1117"),
                (b"\x02\x0a\x05", "no google.protobuf.Any is at byte 0 of the capture")):
            with self.subTest(complaint):
                run = self.run_over(requests)
                self.assertEqual((run.returncode, run.stdout, run.stderr),
                                 (1, "", f"run.py: {complaint}\n"))


class QueueId(unittest.TestCase):
    def test_is_read_from_each_type_that_has_one(self):
        # Field 1 everywhere, but 7 in RInitData and 6 in RShutdownData.
        types = {PHP + "RInitData": b"\x3a\x02ab", PHP + "RShutdownData": b"\x32\x02ab"}
        for name in ("Functions", "Error", "Storage", "Superglobals", "RequestHeaders",
                     "RawPostData", "ResponseHeaders", "ResponseBody", "SqlConnections",
                     "SqlTransactions", "SqlQueries"):
            types[TARQ + name] = b"\x0a\x02ab"
        for name, message in types.items():
            with self.subTest(name):
                self.assertEqual(SCHEMA.queue_id(name, message), "ab")
        self.assertEqual(set(SCHEMA._readers), set(types))

    def test_is_read_without_a_look_at_the_rest(self):
        # The query in it is not UTF-8, and then no message at all.
        for rest in (b"\x12\x03\x2a\x01\xff", b"\x12\x01\xff"):
            self.assertEqual(SCHEMA.queue_id(TARQ + "SqlQueries", rest + b"\x0a\x01a"), "a")

    def test_is_the_last_one_of_several(self):
        self.assertEqual(SCHEMA.queue_id(TARQ + "Error", b"\x0a\x01a\x0a\x01b"), "b")

    def test_has_to_be_there(self):
        for name, message, complaint in (
                ("quor.protobuf.JQ.Job", b"\x28\x07", "belongs to no request"),
                ("quor.protobuf.Monitor.Event", b"", "belongs to no request"),
                (TARQ + "Error", b"\x52\x01a", "empty queue_id"),
                (TARQ + "Error", b"\x0a\x02a", "no quor.protobuf.Tarq.Error"),
                (TARQ + "Error", b"\x0a\x01\xff", "no quor.protobuf.Tarq.Error")):
            with self.subTest(complaint), self.assertRaisesRegex(ValueError, complaint):
                SCHEMA.queue_id(name, message)


class Partition(unittest.TestCase):
    def test_is_the_crc_of_the_queue_id(self):
        # The check value of CRC-32 is 0xCBF43926 for these digits; the other is gzip's for "ü".
        self.assertEqual(broker.partition_of("123456789"), 0xCBF43926 % 4)
        self.assertEqual(broker.partition_of("ü"), 0x63D969D5 % 4)


class Capture(unittest.TestCase):
    def test_is_read_record_by_record(self):
        records = list(capture.read(encoded_requests()))
        self.assertEqual(len(records), 12)
        self.assertEqual(records[10], (TARQ + "RequestHeaders",
                                       b"\x0a\x02c3\x12\x12Host: shop.example"))

    def test_may_not_be_cut_off(self):
        whole = encoded_requests()
        ends, read = [], 0
        for size in range(len(whole) + 1):
            try:
                read = len(list(capture.read(whole[:size])))
                ends.append(read)
            except ValueError as error:
                self.assertRegex(str(error), "cut off in the message at byte [0-9]+$")
        self.assertEqual(ends, list(range(13)))


def setUpModule():
    Engines.socket = unittest.enterModuleContext(run_redis())
    Engines.address = unittest.enterModuleContext(run_postgres())


class Engines(unittest.TestCase):
    """One Redis and one PostgreSQL, emptied for each test."""

    def setUp(self):
        def give_up(*_):
            raise TimeoutError("nothing came through the broker")
        signal.signal(signal.SIGALRM, give_up)
        signal.alarm(30)
        self.addCleanup(signal.alarm, 0)
        self.broker = redis.Redis(unix_socket_path=self.socket)
        self.addCleanup(self.broker.close)
        self.broker.flushall()
        broker.create_streams(self.broker)
        self.database = self.enterContext(contextlib.closing(psycopg2.connect(self.address)))
        self.query("DROP SCHEMA public CASCADE; CREATE SCHEMA public")
        store.create_tables(SCHEMA, self.database)
        self.store = store.Store(SCHEMA, self.database)

    def query(self, statement):
        with self.database, self.database.cursor() as cursor:
            cursor.execute(statement)
            return cursor.fetchall() if cursor.description else None

    def entries(self, name, partition):
        """What a worker of that name gets first."""
        return next(worker.batches(self.broker, partition, name))


class Broker(Engines):
    def test_keeps_a_request_on_one_partition_in_its_order(self):
        sent = [(TARQ + "Error", b"\x0a\x02" + f"{request}{i % 3}".encode() + bytes([0x38, i]))
                for i in range(30) for request in "abcd"]  # field 7 is one that nobody knows
        self.assertEqual(broker.send(self.broker, SCHEMA, sent), 120)
        seen = {}
        for partition in range(broker.PARTITIONS):
            for _, fields in self.broker.xrange(broker.stream(partition)):
                queue_id, _, ident, message = broker.message_of(fields)
                self.assertEqual(seen.setdefault(queue_id, (partition, []))[0], partition)
                seen[queue_id][1].append((ident, message[-1]))
        self.assertEqual(len(seen), 12)
        self.assertGreater(len({partition for partition, _ in seen.values()}), 1)
        for queue_id, (_, messages) in seen.items():
            self.assertEqual(messages, [(i, int(queue_id[1]) + 3 * i) for i in range(10)])

    def test_hands_what_a_dead_worker_left_to_another_and_to_it_alone(self):
        broker.send(self.broker, SCHEMA, [(TARQ + "Error", b"\x0a\x01a")])
        partition = broker.partition_of("a")
        [(entry, _)] = self.entries("dead", partition)
        broker.send(self.broker, SCHEMA, [(TARQ + "Error", b"\x0a\x01a")])
        [(other, _)] = self.entries("early", partition)
        self.assertNotEqual(other, entry)
        self.broker.xclaim(broker.stream(partition), broker.GROUP, "dead", 0, [entry],
                           idle=worker.IDLE + 1)  # as if that time had passed
        self.assertEqual([claimed for claimed, _ in self.entries("heir", partition)], [entry])
        owners = {pending["message_id"]: pending["consumer"] for pending in
                  self.broker.xpending_range(broker.stream(partition), broker.GROUP, "-", "+", 9)}
        self.assertEqual(owners, {entry: b"heir", other: b"early"})


class Tables(Engines):
    def test_are_made_from_the_descriptor(self):
        columns = self.query("SELECT column_name, data_type FROM information_schema.columns "
                             "WHERE table_name = 'sql_query' ORDER BY ordinal_position")
        self.assertEqual(columns, [
            ("queue_id", "text"), ("message_id", "bigint"), ("element", "integer"),
            ("statement_type", "integer"), ("connection_id", "bigint"), ("driver_type", "integer"),
            ("transaction_id", "bigint"), ("query", "text"), ("status", "integer"),
            ("flags", "numeric"), ("error_message", "text"), ("duration", "interval"),
            ("rows", "integer")])

    def test_hold_the_values_of_a_message(self):
        # connection_id 0, no driver, no transaction, the highest flags, 1.0000015 s (of which whole
        # microseconds are kept), -1 rows
        query = (b"\x10\x00\x2a\x02\xc3\xa9\x38" + b"\xff" * 9 + b"\x01" +
                 b"\x4a\x05\x08\x01\x10\xdc\x0b\x50" + b"\xff" * 9 + b"\x01")
        self.store.add([("a", TARQ + "SqlQueries", 7,
                         b"\x0a\x01a\x12" + bytes([len(query)]) + query + b"\x12\x02\x42\x00")])
        self.assertEqual(
            self.query("SELECT * FROM sql_query ORDER BY element"),
            [("a", 7, 0, 0, 0, None, None, "é", 0, decimal.Decimal(2**64 - 1), None,
              datetime.timedelta(seconds=1, microseconds=1), -1),
             ("a", 7, 1, 0, None, None, None, "", 0, 0, "", None, 0)])

    def test_hold_points_in_time(self):
        self.store.add([("a", PHP + "RInitData", 0, b"\x12\x05\x08\x01\x10\xe8\x07\x3a\x01a")])
        self.assertEqual(
            self.query("SELECT timestamp, php_version_release FROM request_begin"),
            [(datetime.datetime(1970, 1, 1, 0, 0, 1, 1, datetime.timezone.utc), None)])

    def test_take_a_message_once(self):
        batch = [("a", TARQ + "SqlQueries", 0, b"\x0a\x01a\x12\x00"),
                 ("a", TARQ + "SqlQueries", 1, b"\x0a\x01a\x12\x00"),
                 ("b", TARQ + "SqlQueries", 0, b"\x0a\x01b\x12\x00"),
                 ("a", TARQ + "Error", 0, b"\x0a\x01a")]
        self.store.add(batch)
        self.store.add(batch + batch[:1])
        self.assertEqual(self.query("SELECT (SELECT count(*) FROM message), "
                                    "(SELECT count(*) FROM sql_query)"), [(4, 3)])

    def test_keep_what_cannot_be_read_and_go_on(self):
        bad = [("SqlQueries", b"\x12\x03\x2a\x01\xff", "DecodeError"),  # not UTF-8
               ("SqlQueries", b"\x12\x03\x2a\x01\x00", "NUL"),  # which PostgreSQL has no text for
               ("SqlQueries", b"\x12\x0d\x4a\x0b\x08" + b"\xff" * 8 + b"\x7f", ""),  # cut off
               ("SqlQueries", b"\x12\x0c\x4a\x0a\x08" + b"\xff" * 8 + b"\x7f", "Error")]  # 2^63-1 s
        self.store.add([("a", TARQ + name, i, message) for i, (name, message, _) in enumerate(bad)]
                       + [("a", TARQ + "SqlQueries", 9, b"\x12\x00")])
        kept = self.query("SELECT bytes, problem FROM message ORDER BY id")
        for (stored, problem), (_, message, expected) in zip(kept, bad):
            self.assertEqual(bytes(stored), message)
            self.assertIn(expected, problem)
        self.assertEqual((len(kept), kept[-1][1]), (5, None))
        self.assertEqual(self.query("SELECT message_id FROM sql_query"), [(9,)])

    def test_spread_over_their_partitions(self):
        self.store.add([(f"{i}", TARQ + "Error", 0, b"") for i in range(100)])
        counts = [self.query(f"SELECT count(*) FROM message_{i}")[0][0]
                  for i in range(store.PARTITIONS)]
        self.assertEqual(sum(counts), 100)
        self.assertGreater(min(counts), 0)


if __name__ == "__main__":
    unittest.main()
