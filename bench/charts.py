"""Draws the charts of docs/performance.md. The same results give the same files."""

import statistics

import matplotlib

import figures
import page
from figures import OPERATIONS, WORKLOADS

matplotlib.use("svg")
matplotlib.rcParams.update({
    "svg.hashsalt": "qmsg",
    "svg.fonttype": "none",
    "font.size": 10,
    "axes.spines.top": False,
    "axes.spines.right": False,
    "figure.constrained_layout.use": True,
})
# pylint: disable=wrong-import-position
from matplotlib import pyplot

OWN, OTHER = "#1b6ca8", "#9aa5b1"
OPERATIONS_SHOWN = ("parse", "serialise", "json_parse", "json_serialise")


def save(figure, path):
    figure.savefig(path, facecolor="white", metadata={"Date": None, "Creator": None})
    pyplot.close(figure)


def bars(axes, names, values, colours, form):
    """Horizontal bars from top to bottom, each followed by its value."""
    positions = range(len(names))
    drawn = axes.barh(positions, values, color=colours, height=0.7)
    axes.set_yticks(positions, names)
    axes.invert_yaxis()
    axes.tick_params(axis="y", length=0)
    axes.bar_label(drawn, labels=[form(value) for value in values], padding=4,
                   bbox={"facecolor": "white", "edgecolor": "none", "pad": 1})
    axes.margins(x=0.12)


def operations(results, path):
    ratios = [figures.mean_ratio(results["operations"], operation) for operation in OPERATIONS]
    figure, axes = pyplot.subplots(figsize=(8, 5))
    bars(axes, list(OPERATIONS), ratios, OWN, "{:.2f}".format)
    axes.axvline(1.0, color="black", linewidth=1, zorder=2)
    axes.set_xlabel("how many times as fast as the baseline (geometric mean of six workloads)")
    axes.set_title("The line at 1 is the baseline", loc="left", fontsize=10)
    save(figure, path)


def growth(results, path):
    measured, sizes = results["growth"], results["bytes"]
    found = list(dict.fromkeys(map(figures.operation, measured["qmsg"])))
    figure, all_axes = pyplot.subplots(1, len(found), figsize=(8, 3.8), sharey=True, squeeze=False)
    for axes, operation in zip(all_axes[0], found):
        rows = figures.of_operation(measured["qmsg"], operation)
        for side, name, colour, marker in (("baseline", "baseline", OTHER, "s"),
                                           ("qmsg", "libqmsg", OWN, "o")):
            axes.loglog([sizes[row] for row in rows],
                        [statistics.median(measured[side][row]) / 1e3 for row in rows],
                        color=colour, marker=marker, markersize=5, label=name)
        axes.set_title(operation.partition("_")[2], loc="left")
        axes.set_xlabel("bytes of the message")
        axes.minorticks_off()
        axes.grid(alpha=0.3)
    all_axes[0][0].set_ylabel("microseconds")
    all_axes[0][0].legend(frameon=False)
    save(figure, path)


def means(results, by_name):
    """(name, geometric mean of MB/s) of those that have all workloads, the fastest first."""
    found = [(name, statistics.geometric_mean(speeds.values()))
             for name, speeds in page.implementation_rows(results, by_name)
             if set(speeds) >= set(WORKLOADS)]
    return sorted(found, key=lambda entry: -entry[1])


def implementations(results, path):
    shown = {}
    for operation, by_name in page.implementation_operations(results).items():
        if operation in OPERATIONS_SHOWN:
            own = {"libqmsg": page.own_times(results, operation)}
            if operation == "parse":
                own["libqmsg, arena"] = page.own_times(results, "parse_arena")
            entries = means(results, {**by_name, **own})
            if len(entries) > len(own):
                shown[operation] = entries
    if not shown:
        return
    heights = [len(entries) + 1.5 for entries in shown.values()]
    figure, all_axes = pyplot.subplots(
        len(shown), 1, figsize=(8, 0.32 * sum(heights) + 0.5), squeeze=False,
        gridspec_kw={"height_ratios": heights})
    for axes, (operation, entries) in zip(all_axes[:, 0], shown.items()):
        names, speeds = zip(*entries)
        colours = [OWN if name.startswith("libqmsg") else OTHER for name in names]
        bars(axes, names, speeds, colours, page.number)
        axes.set_title(operation, loc="left")
    all_axes[-1, 0].set_xlabel("MB/s (geometric mean of six workloads)")
    save(figure, path)


def write(results, folder):
    operations(results, folder / "operations.svg")
    growth(results, folder / "growth.svg")
    if page.implementation_operations(results):
        implementations(results, folder / "implementations.svg")
