"""Measures everything, in rounds that take turns."""

import datetime
import os
import pathlib
import shutil

import figures
import run
import tool
from run import SIDES

PROTO = pathlib.Path(__file__).resolve().parents[1] / "proto"


class Effort:
    """How often and for how long each thing is measured; the seconds are those of one row."""

    def __init__(self, quick):
        self.rounds, self.seconds = (3, 0.02) if quick else (21, 0.05)
        self.growth_rounds = 1 if quick else 5
        self.allocator_rounds = 3 if quick else 11
        self.starts = 11 if quick else 101
        self.other_rounds, self.other_seconds = (1, 0.05) if quick else (3, 0.2)
        self.tool_rounds, self.tool_bytes = (1, 2_000_000) if quick else (7, 64_000_000)


class Progress:
    """What is being measured: one line that is rewritten on a terminal, else a line a section."""

    def __init__(self, stream):
        self.stream = stream
        self.section = None

    def __call__(self, section, detail=""):
        if self.stream.isatty():
            self.stream.write(f"\r\x1b[K{section} {detail}")
        elif section != self.section:
            self.stream.write(f"{section}\n")
        self.section = section
        self.stream.flush()

    def end(self):
        if self.stream.isatty():
            self.stream.write("\r\x1b[K")


class Bench:
    def __init__(self, build, effort, progress):
        self.build = build
        self.folder = build / "bench"
        self.programs = {side: self.folder / f"bench_{side}" for side in SIDES}
        self.libraries = {"qmsg": build / "src/libqmsg.so",
                          "baseline": self.folder / "baseline/libqmsg_baseline.so"}
        self.implementations_file = build / "benchmarks.txt"
        self.effort = effort
        self.progress = progress
        self.sizes = {}
        self.context = {}

    def rows(self):
        return run.rows(self.programs["qmsg"])

    def measure(self, title, wanted, rounds, preload=""):
        """{side: {row: [nanoseconds of each round]}}"""
        times = {side: {row: [] for row in wanted} for side in SIDES}
        for operation in dict.fromkeys(map(figures.operation, wanted)):
            names = [row for row in wanted if figures.operation(row) == operation]
            for number, side in enumerate(run.alternate(rounds, SIDES)):
                self.progress(title, f"{operation}: {number + 1} of {rounds * len(SIDES)}")
                measured, sizes, self.context = run.benchmark(
                    self.programs[side], names, self.effort.seconds, preload)
                self.sizes.update(sizes)
                for row, time in measured.items():
                    times[side][row].append(time)
        return times

    def allocators(self, wanted):
        """{allocator: {side: {row: times}}} of the installed allocators."""
        return {name: self.measure(f"Parsing with {name}", wanted, self.effort.allocator_rounds,
                                   library)
                for name, library in run.ALLOCATORS.items()
                if not library or run.can_preload(library)}

    def startup(self):
        """{what: {side: {"nanoseconds" and "kibibytes": [one for each process]}}}"""
        load = self.folder / "bench_startup"
        # As when installed: written from end to end, and on the disk. A linker leaves a file in
        # other pieces and in dirty pages of the cache.
        installed = {}
        for side, library in self.libraries.items():
            folder = self.folder / "installed" / side
            folder.mkdir(parents=True, exist_ok=True)
            installed[side] = shutil.copy(library, folder / library.name)
        os.sync()
        commands = {
            f"dlopen_{binding}": {side: (load, binding, installed[side]) for side in SIDES}
            for binding in ("now", "lazy")
        }
        commands["first_reflection"] = {
            side: (self.folder / f"bench_first_reflection_{side}",) for side in SIDES}
        results = {}
        for what, command in commands.items():
            self.progress("Start", what)
            results[what] = {side: {"nanoseconds": [], "kibibytes": []} for side in SIDES}
            for side in run.alternate(self.effort.starts, SIDES):
                time, memory = run.nanoseconds_and_memory(*command[side])
                results[what][side]["nanoseconds"].append(time)
                results[what][side]["kibibytes"].append(memory)
        return results

    def workloads(self):
        """Writes the bytes of the workloads, and returns their folder."""
        folder = self.folder / "workloads"
        run.output(self.folder / "bench_workloads", folder)
        return folder

    def tool(self):
        """{"bytes": of the messages read, "seconds": {what: [of each round]}}"""
        commands, size = tool.prepare(self.build, PROTO, self.workloads(), self.folder / "tool",
                                      self.effort.tool_bytes)
        seconds = {what: [] for what in commands}
        for number in range(self.effort.tool_rounds):
            for what, command in commands.items():
                self.progress("Tool", f"{what}, round {number + 1} of {self.effort.tool_rounds}")
                seconds[what].append(tool.seconds(command))
        return {"bytes": size, "seconds": seconds}

    def implementations(self):
        """({name: {operation: {workload: times}}}, {name: why it was skipped})"""
        workloads = self.workloads()
        commands, skipped = run.listed_implementations(self.implementations_file)
        results = {name: {} for name in commands}
        for number in range(self.effort.other_rounds):
            for name, command in commands.items():
                self.progress("Implementations",
                              f"{name}, round {number + 1} of {self.effort.other_rounds}")
                measures = run.implementation(command, workloads, self.effort.other_seconds,
                                    figures.WORKLOADS)
                for (workload, operation), time in measures.items():
                    by_workload = results[name].setdefault(operation, {})
                    by_workload.setdefault(workload, []).append(time)
        return results, skipped

    def everything(self):
        """What can fail comes first, and what takes longest last."""
        rows = self.rows()
        growth = [row for row in rows if row.startswith("growth_")]
        operations = [row for row in rows if row not in growth]
        results = {
            "date": datetime.date.today().isoformat(),
            "rounds": self.effort.rounds,
            "relocations": {side: run.relocations(self.libraries[side]) for side in SIDES},
            "startup": self.startup(),
        }
        results["tool"] = self.tool()
        results["implementations"], results["skipped"] = self.implementations()
        results["allocators"] = self.allocators(figures.of_operation(operations, "parse"))
        results["growth"] = self.measure("Growth", growth, self.effort.growth_rounds)
        results["operations"] = self.measure("Operations", operations, self.effort.rounds)
        results["bytes"] = self.sizes
        results["machine"] = run.machine(self.context)
        return results
