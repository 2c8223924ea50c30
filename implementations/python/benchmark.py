"""usage: benchmark.py GENERATED_MODULES pure|cpp|qmsg WORKLOADS_DIR SECONDS

Reads and writes the messages with Python's protobuf: the implementation in Python alone, the one in
C++, or the latter with the compiled classes of the library that QMSG_LIBRARY names.
"""

import ctypes
import os
import pathlib
import statistics
import sys
import time

MESSAGES = {
    "SqlQuery": ("tarq_pb2", "SqlQuery"),
    "SqlQueries": ("tarq_pb2", "SqlQueries"),
    "Functions": ("tarq_pb2", "Functions"),
    "JobList": ("jobqueue_pb2", "JobList"),
    "Event": ("monitor_pb2", "Event"),
    "Text": ("tarq_pb2", "Storage"),
}
BATCHES = 9


def batch(calls, action):
    """The seconds of `calls` calls."""
    start = time.perf_counter()
    for _ in range(calls):
        action()
    return time.perf_counter() - start


def measure(workload, operation, seconds, action):
    """Prints the nanoseconds of one call: the median of nine batches."""
    calls = 1
    while (elapsed := batch(calls, action)) < seconds / 10:  # the warm-up
        calls *= 2
    calls = max(1, int(calls * seconds / BATCHES / elapsed))
    batches = [batch(calls, action) / calls for _ in range(BATCHES)]
    print(workload, operation, f"{statistics.median(batches) * 1e9:.1f}", sep="\t", flush=True)


def use(mode):
    """Selects the implementation of protobuf. Call it before importing the generated modules."""
    implementation = "python" if mode == "pure" else "cpp"
    os.environ["PROTOCOL_BUFFERS_PYTHON_IMPLEMENTATION"] = implementation
    # pylint: disable=import-outside-toplevel
    from google.protobuf import descriptor_pool
    from google.protobuf.internal import api_implementation
    if api_implementation.Type() != implementation:
        sys.exit(f"asked for the implementation '{implementation}', "
                 f"but protobuf runs with '{api_implementation.Type()}'")
    if mode == "qmsg":
        ctypes.CDLL(os.environ["QMSG_LIBRARY"])
        # Fails unless the library has registered its messages with this runtime.
        descriptor_pool.Default().FindMessageTypeByName("quor.protobuf.Tarq.SqlQuery")


def main(modules, mode, folder, seconds):
    use(mode)
    sys.path.insert(0, modules)
    for workload, (module, name) in MESSAGES.items():
        kind = getattr(__import__(module), name)
        content = pathlib.Path(folder, f"{workload}.pb").read_bytes()
        message = kind.FromString(content)
        written = message.SerializeToString(deterministic=True)
        if written != content:
            sys.exit(f"{workload}: writes {len(written)} bytes that differ from the "
                     f"{len(content)} bytes of the workload")
        measure(workload, "parse", seconds, lambda: kind.FromString(content))
        measure(workload, "serialise", seconds, message.SerializeToString)


if len(sys.argv) != 5 or float(sys.argv[4]) <= 0:
    print(__doc__, file=sys.stderr)
    sys.exit(2)
main(*sys.argv[1:4], float(sys.argv[4]))
