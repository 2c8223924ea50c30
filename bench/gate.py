"""The targets of the figures."""

import statistics

import figures
from run import MALLOC

# Geometric means over the workloads: how many times as fast as the baseline. Too little of building
# is in the library to gain more: see "What bounds it" on the page.
OPERATION_TARGETS = {"serialise": 2.0, "parse": 1.35, "parse_arena": 1.45, "build": 1.0}
ALLOCATOR_TARGET = 2.2  # parsing, with the best allocator, against the baseline with malloc
LOWEST_ROW = 0.97  # no row may be slower than this
DLOPEN_TARGET = 0.55  # the time to load the library, as a part of the baseline's


def best_allocator(allocators):
    """(name, how many times as fast as the baseline with malloc)"""
    baseline = allocators[MALLOC]["baseline"]
    return max(((name, figures.mean_ratio_to(baseline, measured["qmsg"]))
                for name, measured in allocators.items() if name != MALLOC),
               key=lambda pair: pair[1], default=(None, 0.0))


def missed(results):
    """One line for each target that the results miss."""
    lines = []

    def at_least(what, figure, target):
        if not figure >= target:
            lines.append(f"{what}: {figure:.3f}, wanted at least {target}")

    def at_most(what, figure, target):
        if not figure <= target:
            lines.append(f"{what}: {figure:.3f}, wanted at most {target:g}")

    operations = results["operations"]
    for operation, target in OPERATION_TARGETS.items():
        at_least(f"{operation}, geometric mean", figures.mean_ratio(operations, operation), target)
    for row, ratio in figures.ratios(operations).items():
        at_least(row, ratio, LOWEST_ROW)
    name, ratio = best_allocator(results["allocators"])
    if name is None:
        lines.append("parse with an allocator: not measured, because none can be preloaded")
    else:
        at_least(f"parse with {name}, against the baseline with malloc", ratio, ALLOCATOR_TARGET)
    loading = results["startup"]["dlopen_now"]
    at_most("time of dlopen against the baseline", 1 / figures.ratio(
        {side: loading[side]["nanoseconds"] for side in loading}), DLOPEN_TARGET)
    memory = {side: statistics.median(loading[side]["kibibytes"]) for side in loading}
    at_most("private memory of dlopen, KiB", memory["qmsg"], memory["baseline"])
    return lines
