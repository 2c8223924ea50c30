#!/usr/bin/python3 -IS
"""Replaces all programs that ./dev bench runs, under their names, with predictable figures.

A message of any workload has 1000 bytes, one of growth_x/N 1000 N. bench_qmsg takes a nanosecond
for each byte, half of it with another allocator; bench_baseline takes twice as long. FAKE_MISTAKE is
what one of them does wrong.
"""

import json
import os
import pathlib
import re
import sys

OPERATIONS = ("serialise serialise_to_array parse parse_arena clear_and_reuse build build_arena "
              "size copy merge json_serialise json_parse text_serialise text_parse").split()
WORKLOADS = "SqlQuery SqlQueries Functions JobList Event Text".split()
GROWTH = ["growth_serialise/1", "growth_serialise/4", "growth_parse/1", "growth_parse/4"]
ROWS = [f"{operation}/{name}" for name in WORKLOADS for operation in OPERATIONS] + GROWTH


def entry(row, nanoseconds_a_byte):
    size = 1000 * int(row.partition("/")[2]) if row.startswith("growth") else 1000
    return {"name": row, "cpu_time": size * nanoseconds_a_byte, "bytes": float(size)}


def benchmark(side, arguments):
    given = dict(argument.split("=", 1) for argument in arguments)
    if "--benchmark_list_tests" in given:
        return "\n".join(ROWS)
    time = {"qmsg": 1, "baseline": 2}[side] / (2 if os.environ.get("LD_PRELOAD") else 1)
    entries = [entry(row, time) for row in ROWS if re.search(given["--benchmark_filter"], row)]
    if mistake == "operation":
        entries[0] = {"name": entries[0]["name"], "error_occurred": True,
                      "error_message": "refused"}
    if mistake == "missing":
        entries.pop()
    if mistake == "text":
        return "no JSON"
    return json.dumps({"context": {"compiler": "GCC 1.2", "protobuf": "3.21.9"},
                       "benchmarks": entries})


name = pathlib.Path(sys.argv[0]).name
mistake = os.environ.get("FAKE_MISTAKE", "")
if mistake == "status":
    sys.exit("out of order")
if name in ("bench_qmsg", "bench_baseline"):
    print(benchmark(name.partition("_")[2], sys.argv[1:]))
elif name == "bench_startup":
    print("fast" if mistake == "startup" else
          "6000\t40" if "baseline" in sys.argv[2] else "3000\t20")
elif name.startswith("bench_first_reflection"):
    print("8000\t16")
elif name == "bench_workloads":
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(exist_ok=True)
    (folder / "SqlQueries.pb").write_bytes(bytes(1000))
elif name == "implementation":
    print("SqlQuery\tparse" if mistake == "implementation" else
          "Sql\tparse\t3" if mistake == "implementation workload" else
          "\n".join(f"{workload}\tparse\t4000.0" for workload in WORKLOADS))
elif name == "limit":
    print("SqlQuery\tcopy\t100")
