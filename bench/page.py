"""Writes docs/performance.md."""

import statistics
import textwrap

import figures
import gate
from figures import OPERATIONS, WORKLOADS
from run import ALLOCATORS, MALLOC, SIDES

INTRODUCTION = """\
# How fast it is

This page compares `libqmsg` with a *baseline*: protoc's output for the same schema files, compiled
with plain `-O2 -DNDEBUG -fPIC -shared` by the same compiler against the same protobuf runtime. The
same object files ([bench](../bench)) measure both, in separate processes that take turns. Only the
library differs.

```sh
{command}
```

writes this page. A ratio is how many times as fast as the baseline `libqmsg` is: above 1 it is
faster. It is the ratio of the medians of {rounds} rounds; the ratios below it bound the middle half
of the rounds. Times are processor times. MB are millions of bytes of the encoded message, for JSON
and text too.

{machine}, {date}.
"""

BOUNDS = """\
- **Building** happens in the program, in the runtime and in `malloc`. Of the baseline's
  instructions, 3 to 8 % are in the library, by workload (`Text` was not counted), and 59 to 71 % in
  the C library. If the library's part cost nothing, the ratio would be 1.03 to 1.09.
- **Reading on the heap** is bound by `malloc` and `free` in the same way. Another allocator gains
  more there than any code of the library could.
- **JSON, text and reflection** are code of the runtime. They gain only where they validate text.
- **Text that is not ASCII** gains most, because the runtime validates it byte by byte. Without
  `Text`, the means of the five other workloads are lower, as the table shows.
- **PGO** gained 1.02 times in reading and nothing in writing, so the library does not use it.

`valgrind --tool=callgrind build/bench/bench/bench_baseline --benchmark_filter='^build/SqlQueries$'`
counts the instructions by library.
"""

WORKLOAD_TEXTS = {
    "SqlQuery": "one SQL statement with the stack that ran it",
    "SqlQueries": "a request's 100 statements, each with its stack",
    "Functions": "the timings of 2,000 functions",
    "JobList": "500 jobs with the maps of their attributes",
    "Event": "a PHP error as a monitoring rule reports it, with a stack",
    "Text": "300 passages of text, Latin, Cyrillic and Chinese by turns",
}

# The prefix in benchmarks.txt of a program that does only a part of the work.
LIMIT = "limit: "

STARTUP_ROWS = (
    ("dlopen_now", "`dlopen`, all functions bound at once (`RTLD_NOW`)"),
    ("dlopen_lazy", "`dlopen`, functions bound when they are called (`RTLD_LAZY`)"),
    ("first_reflection", "first call of `Tarq::SqlQuery::descriptor()`"),
)


def number(value):
    """Three significant digits, thousands with commas."""
    if value >= 100:
        return f"{value:,.0f}"
    return f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def scaled(value, units):
    """The value in the largest unit that it reaches; the units are sorted, largest first."""
    for unit, factor in units:
        if value >= factor:
            return f"{number(value / factor)} {unit}"
    return number(value)


def count(value):
    return scaled(value, (("M", 1e6), ("k", 1e3)))


def size(value):
    return scaled(value, (("MB", 1e6), ("KB", 1e3), ("bytes", 1)))


def table(head, rows, numbers_from=1):
    marks = ["---"] * numbers_from + ["---:"] * (len(head) - numbers_from)
    lines = ["| " + " | ".join(head) + " |", "|" + "|".join(marks) + "|"]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def workloads(results):
    rows = [[f"`{name}`", WORKLOAD_TEXTS[name], size(results["bytes"][f"parse/{name}"])]
            for name in WORKLOADS]
    return table(["workload", "what it is", "encoded"], rows, numbers_from=2)


def ratio_cell(measured, row):
    times = figures.of_row(measured, row)
    low, high = figures.spread(times)
    return f"{figures.ratio(times):.2f}<br><sub>{low:.2f} to {high:.2f}</sub>"


def ratios(measured):
    return table(["operation", *WORKLOADS, "geometric mean"], [
        [f"`{operation}`", *(ratio_cell(measured, f"{operation}/{name}") for name in WORKLOADS),
         f"**{figures.mean_ratio(measured, operation):.2f}**"] for operation in OPERATIONS])


def meanings():
    return "\n".join(f"- `{operation}`: {text}" for operation, text in OPERATIONS.items()) + "\n"


def absolute(results, figure):
    """A table of figure(bytes of a message, times) for each row."""
    def cell(row):
        return " / ".join(figure(results["bytes"][row], results["operations"][side][row])
                          for side in SIDES)
    return table(["`libqmsg` / baseline", *WORKLOADS], [
        [f"`{operation}`", *(cell(f"{operation}/{name}") for name in WORKLOADS)]
        for operation in OPERATIONS])


def megabytes(size_of_message, times):
    return number(figures.megabytes_per_second(size_of_message, times))


def messages(_, times):
    return count(figures.per_second(times))


def growth(results):
    measured, sizes = results["growth"], results["bytes"]
    sections = {operation: figures.of_operation(measured["qmsg"], operation)
                for operation in dict.fromkeys(map(figures.operation, measured["qmsg"]))}
    columns = [(operation, side) for operation in sections for side in SIDES]

    def cell(row, side):
        return number(statistics.median(measured[side][row]) / sizes[row])

    rows = [[size(sizes[same_size[0]]),
             *(cell(row, side) for row in same_size for side in SIDES)]
            for same_size in zip(*sections.values())]
    powers = []
    for operation, side in columns:
        names = sections[operation]
        power = figures.power([sizes[row] for row in names],
                              [statistics.median(measured[side][row]) for row in names])
        powers.append(f"{power:.2f}")
    rows.append(["power of the size", *powers])
    names = {"qmsg": "`libqmsg`", "baseline": "baseline"}
    return table(["size of the message", *(
        f"{operation.partition('_')[2]}, {names[side]}" for operation, side in columns)], rows)


def startup(results):
    rows = []

    def row(what, unit, figure_of):
        figure = {side: figure_of(side) for side in SIDES}
        quotient = f"{figure['qmsg'] / figure['baseline']:.2f}" if figure["baseline"] else "–"
        rows.append([f"{what}, {unit}" if unit else what, *map(number, figure.values()), quotient])

    for key, what in STARTUP_ROWS:
        measured = results["startup"][key]
        row(what, "µs", lambda side: statistics.median(measured[side]["nanoseconds"]) / 1e3)
        row("private memory that it adds", "KiB",
            lambda side: statistics.median(measured[side]["kibibytes"]))
    row("relocations by name", "", lambda side: results["relocations"][side])
    return table(["", "`libqmsg`", "baseline", "of the baseline's"], rows)


def allocators(results):
    measured = results["allocators"]
    baseline = measured[MALLOC]["baseline"]
    rows = []
    for name, times in measured.items():
        speeds = (statistics.geometric_mean(
            figures.megabytes_per_second(results["bytes"][row], times[side][row])
            for row in times[side]) for side in SIDES)
        library = ALLOCATORS[name]
        preloaded = f", `LD_PRELOAD={library}`" if library else " of the C library"
        rows.append([f"{name}{preloaded}", *map(number, speeds),
                     f"{figures.mean_ratio(times, 'parse'):.2f}",
                     f"{figures.mean_ratio_to(baseline, times['qmsg']):.2f}"])
    return table(["allocator", "`libqmsg`, MB/s", "baseline, MB/s", "ratio",
                  "ratio to the baseline with malloc"], rows)


def tool(results):
    read = results["tool"]["bytes"]
    speeds = {what: figures.megabytes_per_second(read, [1e9 * one for one in times])
              for what, times in results["tool"]["seconds"].items()}
    ours, theirs = list(speeds)[-2:]
    return (table(["command", "MB/s"], [[what, number(speed)] for what, speed in speeds.items()]) +
            f"\n{ours}, is {speeds[ours] / speeds[theirs]:.1f} times as fast as {theirs}.\n")


def is_limit(name):
    return name.startswith(LIMIT)


def implementation_operations(results):
    """{operation: {name: {workload: times}}} of all implementations, the library's first."""
    operations = {operation: {} for operation in OPERATIONS}
    for name, measured in results["implementations"].items():
        if not is_limit(name):
            for operation, times in measured.items():
                operations.setdefault(operation, {})[name] = times
    return {operation: by_name for operation, by_name in operations.items() if by_name}


def not_measured(results, limits_wanted):
    return [f"Not measured: {name.removeprefix(LIMIT)}: {reason}.\n"
            for name, reason in results["skipped"].items()
            if is_limit(name) == limits_wanted]


def own_operation(operation):
    """The library's operation for the same purpose: it cannot read only a part of a message."""
    if operation in OPERATIONS:
        return operation
    return "json_parse" if operation.startswith("json") else "parse"


def own_times(results, operation, side="qmsg"):
    return {name: results["operations"][side][f"{operation}/{name}"] for name in WORKLOADS}


def implementation_rows(results, by_name):
    """(name, {workload: MB/s}), the fastest first; those that lack a workload are last."""
    speeds = [(name, {workload: figures.megabytes_per_second(
        results["bytes"][f"parse/{workload}"], samples) for workload, samples in times.items()})
        for name, times in by_name.items()]

    def rank(entry):
        return (-len(entry[1]), -statistics.geometric_mean(entry[1].values()))
    return sorted(speeds, key=rank)


def speeds_table(results, by_name):
    rows = []
    for name, speeds in implementation_rows(results, by_name):
        complete = set(speeds) >= set(WORKLOADS)
        mean = number(statistics.geometric_mean(speeds.values())) if complete else "–"
        rows.append([name, *(number(speeds[workload]) if workload in speeds else "–"
                             for workload in WORKLOADS), mean])
    return table(["MB/s", *WORKLOADS, "geometric mean"], rows)


def implementations(results):
    sections = []
    for operation, by_name in implementation_operations(results).items():
        own = own_operation(operation)
        note = "" if own == operation else f" (the library: `{own}`)"
        entries = {**by_name, "**`libqmsg`**": own_times(results, own)}
        if own == "parse":
            entries["**`libqmsg`, arena**"] = own_times(results, "parse_arena")
        sections.append(f"### `{operation}`{note}\n\n{speeds_table(results, entries)}")
    sections += not_measured(results, limits_wanted=False)
    return "\n".join(sections) or "None was built for this measurement.\n"


def limits(results):
    entries = {f"{name.removeprefix(LIMIT)}, `{operation}`": times
               for name, measured in results["implementations"].items() if is_limit(name)
               for operation, times in measured.items()}
    left_out = not_measured(results, limits_wanted=True)
    if not entries:
        return "\n".join(left_out) or "None was built for this measurement.\n"
    for operation in ("serialise_to_array", "parse", "parse_arena"):
        entries[f"**`libqmsg`, `{operation}`**"] = own_times(results, operation)
    return "\n".join([speeds_table(results, entries), *left_out])


def targets():
    means = ", ".join(f"`{operation}` {target:g}"
                      for operation, target in gate.OPERATION_TARGETS.items())
    return textwrap.fill(
        f"`./dev bench --gate` fails when a figure misses its target: {means}; parsing with an "
        f"allocator against the baseline with malloc {gate.ALLOCATOR_TARGET:g}; any row "
        f"{gate.LOWEST_ROW:g}; loading in at most {gate.DLOPEN_TARGET:g} of the baseline's time "
        "and in at most its memory.", 100, break_on_hyphens=False) + "\n"


def text(results, command):
    machine = results["machine"]
    described = (f"{machine['processor']}, {machine['cores']} cores, {machine['compiler']}, "
                 f"protobuf {machine['protobuf']}")
    measured = results["operations"]
    parts = [
        INTRODUCTION.format(command=command, rounds=results["rounds"], machine=described,
                            date=results["date"]),
        workloads(results),
        "## Against the baseline\n",
        "![How many times as fast as the baseline, by operation](performance/operations.svg)\n",
        ratios(measured), meanings(), targets(),
        "## What bounds it\n", BOUNDS,
        "## In figures\n",
        "Millions of bytes a second:\n", absolute(results, megabytes),
        "Messages a second:\n", absolute(results, messages),
        "## Large messages\n",
        "Nanoseconds for each byte of a `SqlQueries` of more and more statements. The last row "
        "is the power\nof the size by which the time for a message grows: 1 is linear, and it is "
        "more where a message\noutgrows a cache.\n",
        "![Time by size of the message](performance/growth.svg)\n",
        growth(results),
        "## Start and memory\n",
        "In a process that has already loaded the protobuf runtime; each figure is the median of "
        f"{len(results['startup']['dlopen_now']['qmsg']['nanoseconds'])}\nprocesses. These are "
        "elapsed times.\n",
        startup(results),
        "## Other allocators\n",
        "Parsing into new messages is mostly allocation. The geometric means over the workloads, "
        "when the\nwhole process uses another allocator:\n",
        allocators(results),
        "## The tool\n",
        f"`SqlQueries`, {size(results['tool']['bytes'])} of them, from a file and to `/dev/null`, "
        "in elapsed time. protoc\ndoes not read streams, so both also read one large message:\n",
        tool(results),
        "## Limits\n",
        "How fast each part of the work can be done by itself, and the whole work by code "
        "written for one\nmessage alone, on the same bytes:\n",
        limits(results),
        "## Other implementations\n",
        "The same bytes, read and written by other implementations, in millions of bytes of the "
        "encoded\nmessage a second. They do not all read the same values: "
        "[implementations.md](implementations.md).\n",
    ]
    if implementation_operations(results):
        parts.append("![Other implementations](performance/implementations.svg)\n")
    parts.append(implementations(results))
    return "\n".join(parts)
