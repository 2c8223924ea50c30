"""Runs the benchmarks and reads their output."""

import json
import os
import pathlib
import re
import shlex
import subprocess

SIDES = ("qmsg", "baseline")
MALLOC = "malloc"
# Names that the loader resolves.
ALLOCATORS = {MALLOC: "", "tcmalloc": "libtcmalloc_minimal.so.4", "mimalloc": "libmimalloc.so.2"}


class Failure(Exception):
    """Something could not be measured; says what, and what to do."""


def output(*command, **environment):
    try:
        done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                              env={**os.environ, **environment}, check=False)
    except OSError as error:
        raise Failure(f"cannot run {command[0]}: {error.strerror}. Is it built? ./dev bench "
                      "builds everything.") from error
    if done.returncode != 0:
        raise Failure(f"{shlex.join(map(str, command))}\nended with status {done.returncode}: "
                      f"{done.stderr.strip() or done.stdout.strip()}")
    return done.stdout


def alternate(rounds, sides):
    """Each side in each round, in alternating order, so that neither gains when the machine becomes
    slower or faster."""
    for number in range(rounds):
        yield from sides if number % 2 == 0 else reversed(sides)


def rows(program):
    """The names of all rows of a program, such as parse/SqlQuery."""
    return output(program, "--benchmark_list_tests=true").split()


def benchmark(program, wanted, seconds, preload=""):
    """Measures some rows: ({row: nanoseconds of processor time}, {row: bytes of the message}, the
    program's context)."""
    names = "|".join(re.escape(row) for row in wanted)
    environment = {"LD_PRELOAD": preload} if preload else {}
    text = output(program, f"--benchmark_filter=^({names})$", "--benchmark_format=json",
                  f"--benchmark_min_time={seconds}", **environment)
    try:
        report = json.loads(text)
    except ValueError as error:
        raise Failure(f"{program} did not print JSON: {text[:200]}") from error
    times, sizes = {}, {}
    for entry in report["benchmarks"]:
        if entry.get("error_occurred"):
            raise Failure(f"{program} failed at {entry['name']}: {entry['error_message']}")
        times[entry["name"]] = entry["cpu_time"]
        sizes[entry["name"]] = int(entry["bytes"])
    missing = set(wanted) - set(times)
    if missing:
        raise Failure(f"{program} does not measure {', '.join(sorted(missing))}")
    return times, sizes, report["context"]


def can_preload(library):
    done = subprocess.run(["/bin/true"], env={**os.environ, "LD_PRELOAD": library},
                          capture_output=True, check=False)
    return done.returncode == 0 and not done.stderr


def nanoseconds_and_memory(*command):
    """The output of bench_startup or bench_first_reflection."""
    words = output(*command).split()
    if len(words) != 2 or not all(re.fullmatch("-?[0-9]+", word) for word in words):
        raise Failure(f"{command[0]} printed no time and memory: {' '.join(words)}")
    return int(words[0]), int(words[1])


def relocations(library):
    """How many symbols the loader has to look up: all relocations but those that only add the
    library's address."""
    lines = re.findall(r"^[0-9a-f]{8,} +[0-9a-f]{8,} +(R_\S+)", output("readelf", "-rW", library),
                       re.M)
    if not lines:
        raise Failure(f"readelf sees no relocations in {library}")
    return sum("RELATIVE" not in kind for kind in lines)


def listed_implementations(path):
    """({name: words of its command}, {name: why it was skipped}) from lines of
    NAME<TAB>COMMAND or NAME<TAB>skipped: REASON."""
    commands, skipped = {}, {}
    if not path.exists():
        return commands, skipped
    for number, line in enumerate(path.read_text().splitlines(), 1):
        name, tab, command = line.partition("\t")
        if not (name and tab and command):
            raise Failure(f"{path.name}, line {number}: not NAME<TAB>COMMAND: {line!r}")
        if command.startswith("skipped:"):
            skipped[name] = command.partition(":")[2].strip()
        else:
            commands[name] = shlex.split(command)
    return commands, skipped


def implementation(command, folder, seconds, workloads):
    """{(workload, operation): nanoseconds} as the benchmark of another implementation prints it for
    the workloads in a folder."""
    measures = {}
    for line in output(*command, folder, seconds).splitlines():
        measure = re.fullmatch(r"(\w+)\t(\w+)\t([0-9.e+]+)", line)
        if not measure or measure[1] not in workloads:
            raise Failure(f"{shlex.join(command)} did not print a measurement: {line!r}. "
                          "Expected: workload<TAB>operation<TAB>nanoseconds")
        measures[measure[1], measure[2]] = float(measure[3])
    if not measures:
        raise Failure(f"{shlex.join(command)} printed no measurements")
    return measures


def machine(context):
    """The machine, compiler and runtime that the figures depend on."""
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return {
        "processor": model[1].strip() if model else os.uname().machine,
        "cores": os.cpu_count(),
        "compiler": context["compiler"],
        "protobuf": context["protobuf"],
    }
