"""Compares the messages with and without libqmsg.

Usage: benchmark.py [ROUNDS]

Each round is a new process, with and without the library by turns, that reads the same bytes,
writes them and walks through the fields. The figures are microseconds for one message: the median
over the rounds, and between which values the middle half of the rounds lies.
"""

import json
import statistics
import subprocess
import sys
import time
from unittest import mock

MODES = {"with": "compiled classes", "without": "C++ runtime, dynamic"}
SECONDS_A_MEASUREMENT = 0.05


def sql_queries():
    from qmsg import tarq_pb2
    message = tarq_pb2.SqlQueries(queue_id="request-1")
    for number in range(100):
        query = message.queries.add(connection_id=0, transaction_id=number, flags=5, rows=number,
                                    query="SELECT name, price FROM product WHERE id = ?")
        query.duration.nanos = 1500000 + number
        for line in range(5):
            query.stack_trace.frames.add(frame_id=line, function_name="Shop\\Product::load",
                                         file_name="/srv/shop/src/Product.php", line_no=100 + line)
    return message


def functions():
    from qmsg import tarq_pb2
    message = tarq_pb2.Functions(queue_id="request-1")
    for number in range(200):
        function = message.functions.add(function_name=f"Shop\\Cart::step{number}",
                                         times_called=number, file_name="/srv/shop/src/Cart.php",
                                         line_start=number, line_end=number + 20)
        function.duration_inclusive.nanos = 900000 + number
        function.duration_exclusive.nanos = 300000 + number
    return message


def event():
    from qmsg import monitor_pb2
    message = monitor_pb2.Event(event_type=monitor_pb2.Event.PhpError, rule_name="errors")
    message.timestamp.seconds = 1700000000
    message.php_error.message = "Undefined variable $price"
    message.php_error.file_name = "/srv/shop/src/Cart.php"
    message.php_error.line_no = 42
    return message


SAMPLES = {"100 SQL queries": sql_queries, "200 functions": functions, "one event": event}


def walk(message):
    for field, value in message.ListFields():
        if field.type == field.TYPE_MESSAGE:
            for part in value if field.label == field.LABEL_REPEATED else [value]:
                walk(part)


def microseconds(action):
    repetitions, elapsed = 1, 0.0
    while elapsed < SECONDS_A_MEASUREMENT:
        repetitions *= 2
        start = time.perf_counter()
        for _ in range(repetitions):
            action()
        elapsed = time.perf_counter() - start
    return elapsed / repetitions * 1e6


def measure(mode):
    """One round, in a process of its own: prints the figures and the bytes as JSON."""
    if mode == "without":
        with mock.patch("ctypes.CDLL", side_effect=OSError("libqmsg.so.1: cannot open")):
            import qmsg
    else:
        import qmsg
    if qmsg.implementation() != MODES[mode]:
        sys.exit(f"The benchmark needs {MODES[mode]}; here are: {qmsg.implementation()}. "
                 "Is libqmsg where the loader looks (LD_LIBRARY_PATH)?")
    result = {}
    for name, build in SAMPLES.items():
        encoded = build().SerializeToString()
        kind = type(build())
        message = kind.FromString(encoded)
        result[name] = {
            "bytes": encoded.hex(),
            "decode": microseconds(lambda: kind.FromString(encoded)),
            "encode": microseconds(message.SerializeToString),
            "walk": microseconds(lambda: walk(message)),
        }
    print(json.dumps(result))


def row(name, action, rounds):
    def figure(mode):
        low, middle, high = statistics.quantiles(rounds[mode], n=4)
        return middle, f"{middle:10.2f} ({low:.2f} to {high:.2f})"

    (fast, fast_text), (slow, slow_text) = figure("with"), figure("without")
    print(f"{name:16} {action:7} {fast_text:>32} {slow_text:>32} {slow / fast:7.2f}")


def compare(count):
    rounds = {mode: [] for mode in MODES}
    for number in range(count):
        for mode in sorted(MODES, reverse=bool(number % 2)):
            run = subprocess.run([sys.executable, __file__, mode], stdout=subprocess.PIPE)
            if run.returncode != 0:
                sys.exit(run.returncode)
            rounds[mode].append(json.loads(run.stdout))
    everything = rounds["with"] + rounds["without"]
    print(f"{'message':16} {'action':7} {'with, us':>32} {'without, us':>32} {'ratio':>7}")
    for name in SAMPLES:
        if len({round[name]["bytes"] for round in everything}) != 1:
            sys.exit(f"The bytes of {name} are not the same in all rounds.")
        for action in ["decode", "encode", "walk"]:
            row(name, action, {mode: [round[name][action] for round in rounds[mode]]
                               for mode in MODES})


def main(arguments):
    if len(arguments) == 1 and arguments[0] in MODES:
        measure(arguments[0])
    elif not arguments:
        compare(11)
    elif len(arguments) == 1 and arguments[0].isdigit() and int(arguments[0]) >= 2:
        compare(int(arguments[0]))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv[1:])
