"""What becomes of the times of all rounds."""

import math
import statistics

# Rows that are measured by bench_qmsg and bench_rival, with what they mean.
OPERATIONS = {
    "serialise": "`SerializeToString` into a string that is used again",
    "serialise_to_array": "`SerializeToArray`, into memory that is there",
    "parse": "`ParseFromString` into a new message, and its end",
    "parse_arena": "the same on an arena with a first block of its own",
    "clear_and_reuse": "`ParseFromString` into a message that was parsed into before",
    "build": "a new message filled by its setters, and its end",
    "build_arena": "the same on an arena with a first block of its own",
    "size": "`ByteSizeLong`",
    "copy": "a copy, and its end",
    "merge": "`Clear`, then `MergeFrom` another message",
    "json_serialise": "`MessageToJsonString`",
    "json_parse": "`JsonStringToMessage` into a new message, and its end",
    "text_serialise": "`TextFormat::PrintToString`",
    "text_parse": "`TextFormat::ParseFromString` into a new message, and its end",
}
WORKLOADS = ("SqlQuery", "SqlQueries", "Functions", "JobList", "Event", "Text")


def operation(row):
    return row.partition("/")[0]


def ratio(times):
    """How many times as fast as the rival: the ratio of the medians."""
    return statistics.median(times["rival"]) / statistics.median(times["qmsg"])


def spread(times):
    """Between which ratios the middle half of the rounds lies."""
    ratios = sorted(slow / fast for slow, fast in zip(times["rival"], times["qmsg"]))
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
    """By which power of the size the time grows, from the smallest to the largest: 1 is linear."""
    low, high = min(sizes), max(sizes)
    growth = times[sizes.index(high)] / times[sizes.index(low)]
    return math.log(growth) / math.log(high / low)
