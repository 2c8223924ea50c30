"""Measures the library against the baseline: ./dev bench"""

import argparse
import json
import pathlib
import re
import sys

import figures
import gate
from measure import Bench, Effort, Progress
from run import Failure

ROWS = "Rows are such as parse/SqlQuery"
DOCS = pathlib.Path(__file__).resolve().parents[1] / "docs"


def print_ratios(measured):
    print(f"{'row':30} {'ratio':>6}  middle half of the rounds")
    for row, ratio in figures.ratios(measured).items():
        low, high = figures.spread(figures.of_row(measured, row))
        print(f"{row:30} {ratio:6.2f}  {low:.2f} to {high:.2f}")


def print_filtered(bench, pattern):
    wanted = [row for row in bench.rows() if pattern.search(row)]
    if not wanted:
        raise Failure(f"no row matches {pattern.pattern!r}. {ROWS}; all of them: "
                      f"{bench.programs['qmsg']} --benchmark_list_tests")
    measured = bench.measure("Operations", wanted, bench.effort.rounds)
    bench.progress.end()
    print_ratios(measured)


def load(path):
    try:
        return json.loads(path.read_text())
    except FileNotFoundError:
        raise Failure(f"{path} does not exist. First: ./dev bench") from None
    except ValueError as error:
        raise Failure(f"{path} cannot be read: {error}. Measure again: ./dev bench") from error


def write_page(results, folder, command):
    import charts  # only this command needs matplotlib
    import page
    (folder / "performance").mkdir(parents=True, exist_ok=True)
    charts.write(results, folder / "performance")
    (folder / "performance.md").write_text(page.text(results, command))
    print(f"Written: {folder / 'performance.md'}")


def regular_expression(text):
    try:
        return re.compile(text)
    except re.error as error:
        raise argparse.ArgumentTypeError(f"not a regular expression: {error}") from error


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(
        prog="./dev bench", description="Measures for about 15 minutes and writes "
        "docs/performance.md with its charts. Use a machine that does nothing else.")
    parser.add_argument("--quick", action="store_true",
                        help="about 3 minutes; the page goes to build/bench/performance.md")
    choice = parser.add_mutually_exclusive_group()
    choice.add_argument("--filter", metavar="RE", type=regular_expression,
                        help=f"measure only the rows that match RE, and print them. {ROWS}.")
    choice.add_argument("--report-only", action="store_true",
                        help="write the page again from the last results")
    choice.add_argument("--gate", action="store_true",
                        help="measure nothing; list the targets that the last results miss, "
                        "and exit with status 1 if there are any")
    parser.add_argument("build", type=pathlib.Path, help=argparse.SUPPRESS)
    return parser.parse_args(arguments)


def main(arguments):
    given = parse_arguments(arguments)
    results_file = given.build / "results.json"
    bench = Bench(given.build, Effort(given.quick), Progress(sys.stderr))
    if given.filter:
        print_filtered(bench, given.filter)
        return 0
    if given.gate:
        lines = gate.missed(load(results_file))
        print("\n".join(lines) or "All targets are met.")
        return 1 if lines else 0
    if not given.report_only:
        results = bench.everything()
        bench.progress.end()
        results_file.write_text(json.dumps(results, indent=1) + "\n")
    write_page(load(results_file), given.build if given.quick else DOCS,
               "./dev bench --quick" if given.quick else "./dev bench")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except Failure as failure:
        sys.exit(f"./dev bench: {failure}")
    except KeyboardInterrupt:
        sys.exit(130)
