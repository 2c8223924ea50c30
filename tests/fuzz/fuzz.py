"""Runs the fuzz program, type by type, and sums up what came of it.

usage: fuzz.py BUILD [--tool] [TYPE] [SECONDS]

BUILD is a build folder of the preset fuzz. TYPE is a message's full name or its end, such as
SqlQuery; without it, all are run. SECONDS, 10 if not given, are those of each type. As many types
run at once as there are processors; --jobs says otherwise. In BUILD, corpora/TYPE holds the inputs
that were worth keeping, from which the next run starts, and findings/TYPE what failed. With --tool,
what reads any bytes in the tool is checked instead of the library, and these are in BUILD/tool.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import difflib
import os
import pathlib
import re
import struct
import subprocess
import sys
import time

from google.protobuf.descriptor_pb2 import FieldDescriptorProto, FileDescriptorSet

import seeds  # makes the reference implementation importable
import reference

PACKAGE = "quor.protobuf."
LONGEST_INPUT = 4096


class Wrong(Exception):
    """What the user has to put right."""


# --- Types ---------------------------------------------------------------------------------------


def messages_of(descriptor_set):
    """All messages that the descriptors declare: full name -> descriptor, well-known ones too."""
    files = FileDescriptorSet.FromString(descriptor_set).file
    return {f"{file.package}.{message.name}": message
            for file in files for message in file.message_type}


def find_types(messages, wanted):
    """The full names that are meant. Raises Wrong."""
    own = sorted(name for name in messages if name.startswith(PACKAGE))
    if wanted is None:
        return own
    if wanted in own:
        return [wanted]
    found = [name for name in own if name.endswith("." + wanted)]
    if len(found) == 1:
        return found
    if found:
        raise Wrong(f"'{wanted}' may be any of: {', '.join(found)}")
    ends = {part.lower(): name for name in own
            for part in (name, name.removeprefix(PACKAGE), name.rpartition(".")[2])}
    near = {ends[end] for end in difflib.get_close_matches(wanted.lower(), ends, n=5, cutoff=0.6)}
    raise Wrong(f"No message type is called '{wanted}'. "
                f"{'Near to it' if near else 'There are'}: {', '.join(sorted(near or own))}")


# --- Dictionary ----------------------------------------------------------------------------------

# Of the types that occur; all others are numbers of variable length.
WIRE_TYPES = {FieldDescriptorProto.TYPE_DOUBLE: 1, FieldDescriptorProto.TYPE_STRING: 2,
              FieldDescriptorProto.TYPE_MESSAGE: 2}

# What is at the edge of a type, whichever field it stands in.
VALUES = [
    b"\xff" * 9 + b"\x01",  # -1, the longest number
    b"\xff" * 9 + b"\x02",  # beyond 64 bits
    b"\xff\xff\xff\xff\x07", b"\xff\xff\xff\xff\x0f", b"\x80\x80\x80\x80\x10",  # around 32 bits
    b"\x80\x00",  # 0, longer than needed
    b"\x80\x92\xb8\xc3\x98\xfe\xff\xff\xff\x01", b"\xff\xfb\xfd\xb0\xaf\x07",  # years 1 and 9999
    b"\xff\x93\xeb\xdc\x03", b"\x81\xec\x94\xa3\xfc\xff\xff\xff\xff\x01",  # 999,999,999 ns and less
    *(struct.pack("<d", number) for number in (-0.0, 1e308, 5e-324, float("inf"), float("nan"))),
    "é€😀".encode(), b"\xed\xa0\x80", b"\xc3",  # text, half of a surrogate, cut off
    b"\x0b", b"\x0c", b"\x93\x3e", b"\x94\x3e",  # begin and end of groups 1 and 1000
]


def tags(messages, type_name):
    """The tags of the fields of a message and of all in it."""
    found, seen, waiting = set(), set(), [messages[type_name]]
    while waiting:
        message = waiting.pop()
        for field in message.field:
            found.add(reference.tag(field.number, WIRE_TYPES.get(field.type, reference.VARINT)))
            name = field.type_name.removeprefix(".")
            if name in messages and name not in seen:
                seen.add(name)
                waiting.append(messages[name])
        waiting += message.nested_type  # the entries of maps
    return sorted(found)


def dictionary(messages, type_name):
    """In the form that libFuzzer reads."""
    return "".join('"' + "".join(f"\\x{byte:02x}" for byte in word) + '"\n'
                   for word in tags(messages, type_name) + VALUES)


# --- Runs ----------------------------------------------------------------------------------------


@dataclasses.dataclass
class Outcome:
    type: str
    executions: int = 0
    per_second: int = 0
    edges: int = 0
    new_inputs: int = 0
    findings: list = dataclasses.field(default_factory=list)
    failure: str = ""  # the program failed, and there is no input to show for it
    said: str = ""


def last_number(pattern, text):
    return int((re.findall(pattern, text) or ["0"])[-1])


def explanation(log):
    """The part of a log that says what was found: a disagreement, or the first line of what the
    runtime or a sanitizer says."""
    disagreement = rf"{re.escape(PACKAGE)}[\w.]+: (.*\n)+?(?===)"
    report = ".*(runtime error:|ERROR: |FATAL ).*"
    found = re.search(f"^({disagreement}|{report})", log, re.M)
    return found.group(0).rstrip() if found else "\n".join(log.splitlines()[-10:])


class Runner:
    def __init__(self, build, seconds, tool=False):
        self.build, self.seconds = build, seconds
        self.kept = build / "tool" if tool else build
        self.option = ["--tool"] if tool else []
        self.program = build / "tests/fuzz/fuzz"
        self.messages = messages_of((build / "src/generated/qmsg.desc").read_bytes())

    def _folder(self, kind, type_name):
        folder = self.kept / kind / type_name
        folder.mkdir(parents=True, exist_ok=True)
        return folder

    def run(self, type_name):
        corpus, findings, logs = (self._folder(kind, type_name) for kind in
                                  ("corpora", "findings", "logs"))
        seed = self.build / "seeds" / type_name
        words = logs / "dictionary"
        words.write_text(dictionary(self.messages, type_name))
        inputs_before = len(list(corpus.iterdir()))
        command = [self.program, f"--type={type_name}", *self.option, corpus, seed, f"-dict={words}",
                   f"-max_total_time={self.seconds}", f"-max_len={LONGEST_INPUT}", "-timeout=10",
                   f"-artifact_prefix={findings}/", "-print_final_stats=1", "-print_funcs=0"]
        environment = {"UBSAN_OPTIONS": "print_stacktrace=1", **os.environ}
        run = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                             env=environment)
        log = run.stderr.decode(errors="replace")
        (logs / "log").write_text(log)
        outcome = Outcome(
            type_name,
            last_number(r"number_of_executed_units:\s*(\d+)", log),
            last_number(r"average_exec_per_sec:\s*(\d+)", log),
            last_number(r"\bcov: (\d+)", log),
            len(list(corpus.iterdir())) - inputs_before)
        if run.returncode == 0:
            outcome.failure = "" if outcome.executions else "executed nothing"
        else:
            outcome.findings = re.findall(r"Test unit written to (.*)$", log, re.M)
            outcome.said = explanation(log)
            if not outcome.findings:
                outcome.failure = f"ends with status {run.returncode}, and keeps no input"
        return outcome

    def describe(self, outcome):
        """What went wrong, and how to see it again."""
        option = "".join(" " + option for option in self.option)
        lines = [f"{outcome.type}: {outcome.failure}"] if outcome.failure else []
        for file in outcome.findings:
            lines += [f"{outcome.type}: a finding, {file}",
                      f"  see it again:  {self.build}/tests/fuzz/replay{option} {file}",
                      f"  make it small: {self.program} --type={outcome.type}{option} "
                      f"-minimize_crash=1 -runs=100000 -exact_artifact_path={file}.small {file}"]
        lines += [f"  | {line}" for line in outcome.said.splitlines()]
        lines.append(f"  all it said:   {self.kept}/logs/{outcome.type}/log")
        return "\n".join(lines)


# --- What is shown -------------------------------------------------------------------------------


class Progress:
    """On a terminal a line that is written over, elsewhere a line for each type."""

    def __init__(self, total):
        self.total, self.done, self.overwrite = total, 0, sys.stdout.isatty()

    def finished(self, outcome):
        self.done += 1
        line = (f"{self.done} of {self.total}: {outcome.type}, {outcome.executions:,} executions"
                + (", A FINDING" if outcome.findings or outcome.failure else ""))
        if self.overwrite:
            # The table takes the place of the last one.
            end = "" if self.done < self.total else f"\r{'':100}\r"
            print(f"\r{line[:100]:<100}", end=end, flush=True)
        else:
            print(line, flush=True)


def counted(types):
    return f"{types} type" + ("s" if types != 1 else "")


def table(outcomes, elapsed):
    heading = ("type", "executions", "a second", "edges", "new inputs", "findings")
    rows = [(outcome.type.removeprefix(PACKAGE), outcome.executions, outcome.per_second,
             outcome.edges, outcome.new_inputs, len(outcome.findings) + bool(outcome.failure))
            for outcome in outcomes]
    total = collections.Counter()
    for _, executions, _, _, new_inputs, findings in rows:
        total.update(executions=executions, new_inputs=new_inputs, findings=findings)
    rows.append((f"{counted(len(outcomes))}, {elapsed:.0f} s", total["executions"],
                 round(total["executions"] / max(elapsed, 1)), "", total["new_inputs"],
                 total["findings"]))
    cells = [heading] + [tuple(f"{cell:,}" if isinstance(cell, int) else cell for cell in row)
                         for row in rows]
    widths = [max(map(len, column)) for column in zip(*cells)]
    lines = [f"{name:<{widths[0]}}" + "".join(f"  {number:>{width}}" for number, width in
                                               zip(numbers, widths[1:]))
             for name, *numbers in cells]
    lines.insert(len(lines) - 1, "-" * len(lines[0]))
    return "\n".join(line.rstrip() for line in lines)


def arguments(given):
    parser = argparse.ArgumentParser(usage=__doc__.strip())
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("what", nargs="*", metavar="TYPE or SECONDS")
    parser.add_argument("--tool", action="store_true")
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)))
    options = parser.parse_intermixed_args(given)
    options.type, options.seconds, what = None, 10, list(options.what)
    if what and not what[0].isdigit():
        options.type = what.pop(0)
    if what and what[0].isdigit() and int(what[0]) > 0:
        options.seconds = int(what.pop(0))
    if what:
        raise Wrong(f"'{what[0]}' is not a number of seconds")
    return options


def main(given):
    options = arguments(given)
    runner = Runner(options.build, options.seconds, options.tool)
    types = find_types(runner.messages, options.type)
    seeds.write(options.build / "seeds", types)
    begin, progress, outcomes = time.monotonic(), Progress(len(types)), []
    print(f"{counted(len(types))}, {options.seconds} s each, {options.jobs} at once", flush=True)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for run in concurrent.futures.as_completed(pool.submit(runner.run, name)
                                                   for name in types):
            outcomes.append(run.result())
            progress.finished(outcomes[-1])
    outcomes.sort(key=lambda outcome: outcome.type)
    print(table(outcomes, time.monotonic() - begin))
    bad = [outcome for outcome in outcomes if outcome.findings or outcome.failure]
    for outcome in bad:
        print("\n" + runner.describe(outcome))
    return bool(bad)


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except (Wrong, OSError) as error:
        sys.exit(f"fuzz.py: {error}")
    except KeyboardInterrupt:
        sys.exit("fuzz.py: interrupted")
