"""Statistics over the times of all rounds."""

import math
import statistics

# The operations that bench_qmsg and bench_baseline measure.
OPERATIONS = {
    "serialise": "`SerializeToString` into a reused string",
    "serialise_to_array": "`SerializeToArray` into allocated memory",
    "parse": "`ParseFromString` into a new message, and its destruction",
    "parse_arena": "the same on an arena with its own first block",
    "clear_and_reuse": "`ParseFromString` into a reused message",
    "build": "a new message filled by its setters, and its destruction",
    "build_arena": "the same on an arena with its own first block",
    "size": "`ByteSizeLong`",
    "copy": "a copy, and its destruction",
    "merge": "`Clear`, then `MergeFrom` another message",
    "json_serialise": "`MessageToJsonString`",
    "json_parse": "`JsonStringToMessage` into a new message, and its destruction",
    "text_serialise": "`TextFormat::PrintToString`",
    "text_parse": "`TextFormat::ParseFromString` into a new message, and its destruction",
}
WORKLOADS = ("SqlQuery", "SqlQueries", "Functions", "JobList", "Event", "Text")


def operation(row):
    return row.partition("/")[0]


def ratio(times):
    """How many times as fast as the baseline: the ratio of the medians."""
    return statistics.median(times["baseline"]) / statistics.median(times["qmsg"])


def spread(times):
    """The ratios that bound the middle half of the rounds."""
    ratios = sorted(slow / fast for slow, fast in zip(times["baseline"], times["qmsg"]))
    if len(ratios) == 1:
        return ratios[0], ratios[0]
    low, _, high = statistics.quantiles(ratios, n=4, method="inclusive")
    return low, high


def of_row(measured, row):
    """{side: times of all rounds}"""
    return {side: rows[row] for side, rows in measured.items()}


def of_operation(rows, wanted):
    return [row for row in rows if operation(row) == wanted]


def ratios(measured):
    """{row: ratio}"""
    return {row: ratio(of_row(measured, row)) for row in measured["qmsg"]}


def mean_ratio(measured, wanted):
    """The geometric mean of an operation's ratios over its workloads."""
    return statistics.geometric_mean(ratio(of_row(measured, row))
                                     for row in of_operation(measured["qmsg"], wanted))


def mean_ratio_to(slow, fast):
    """The same for the rows of two programs: {row: times} each."""
    return statistics.geometric_mean(statistics.median(slow[row]) / statistics.median(fast[row])
                                     for row in fast)


def megabytes_per_second(size, times):
    return size / statistics.median(times) * 1e3


def per_second(times):
    return 1e9 / statistics.median(times)


def power(sizes, times):
    """The power of the size by which the time grows from the smallest to the largest size."""
    low, high = min(sizes), max(sizes)
    growth = times[sizes.index(high)] / times[sizes.index(low)]
    return math.log(growth) / math.log(high / low)
