"""The tables, and how messages get into them."""

import psycopg2
import psycopg2.extras
from google.protobuf.message import DecodeError

import schema

PARTITIONS = 4  # of each table. They have nothing to do with the broker's.

# A table for each type that is looked at: a row for each message, or for each element of a list.
TABLES = {
    "quor.protobuf.QuorPHP.RInitData": ("request_begin", None),
    "quor.protobuf.QuorPHP.RShutdownData": ("request_end", None),
    "quor.protobuf.Tarq.SqlConnections": ("sql_connection", "connections"),
    "quor.protobuf.Tarq.SqlQueries": ("sql_query", "queries"),
}

# Every message as it came. Its key is what makes it safe to store the same one again.
_MESSAGES = """CREATE TABLE message (
    queue_id text, type text, id bigint, bytes bytea NOT NULL, problem text,
    PRIMARY KEY (queue_id, type, id)) PARTITION BY HASH (queue_id)"""
_STORE = """INSERT INTO message (queue_id, type, id, bytes) VALUES (%s, %s, %s, %s)
    ON CONFLICT DO NOTHING"""
_MARK = "UPDATE message SET problem = %s WHERE (queue_id, type, id) = (%s, %s, %s)"


def _columns(messages, name):
    table, elements = TABLES[name]
    descriptor = messages.message_class(name).DESCRIPTOR
    if elements is not None:
        descriptor = descriptor.fields_by_name[elements].message_type
    return table, elements, [column for column in schema.columns(descriptor)
                             if column[0] != "queue_id"]


def create_tables(messages, database):
    statements = {"message": _MESSAGES}
    for name in TABLES:
        table, _, columns = _columns(messages, name)
        declared = "".join(f", {column} {kind}" for column, kind, _ in columns)
        statements[table] = (
            f"CREATE TABLE {table} (queue_id text, message_id bigint, element integer{declared}, "
            "PRIMARY KEY (queue_id, message_id, element)) PARTITION BY HASH (queue_id)")
    with database, database.cursor() as cursor:
        for table, statement in statements.items():
            cursor.execute(statement)
            for remainder in range(PARTITIONS):
                cursor.execute(f"CREATE TABLE {table}_{remainder} PARTITION OF {table} "
                               f"FOR VALUES WITH (MODULUS {PARTITIONS}, REMAINDER {remainder})")


class Store:
    """Puts messages into the tables of a database."""

    def __init__(self, messages, database):
        self._messages = messages
        self._database = database
        self._tables = {name: _columns(messages, name) for name in TABLES}

    def add(self, batch):
        """Stores messages, each given as (queue_id, type, id, bytes), in one transaction. Those
        that are there already are left as they are. One that cannot be read is kept with its
        problem: the next time it would be no better, and all others would wait behind it."""
        with self._database, self._database.cursor() as cursor:
            for queue_id, name, ident, message in batch:
                cursor.execute(_STORE, (queue_id, name, ident, message))
                if cursor.rowcount == 0 or name not in self._tables:
                    continue
                cursor.execute("SAVEPOINT rows")
                try:
                    self._add_rows(cursor, queue_id, name, ident, message)
                except (DecodeError, ValueError, OverflowError, psycopg2.DataError) as error:
                    cursor.execute("ROLLBACK TO rows")
                    problem = f"{type(error).__name__}: {error}"
                    cursor.execute(_MARK, (problem, queue_id, name, ident))

    def _add_rows(self, cursor, queue_id, name, ident, message):
        table, elements, columns = self._tables[name]
        read = self._messages.message_class(name).FromString(message)
        listed = [read] if elements is None else getattr(read, elements)
        rows = [(queue_id, ident, i, *(schema.value(element, path) for _, _, path in columns))
                for i, element in enumerate(listed)]
        psycopg2.extras.execute_values(cursor, f"INSERT INTO {table} VALUES %s", rows)
