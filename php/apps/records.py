"""What the extension recorded, read by the tool. QMSG: the tool."""

import json
import os
import re
import subprocess

from servers import wait_until

TIMEOUT = 300  # seconds


def _tool(*arguments):
    return subprocess.run([os.environ["QMSG"], *map(str, arguments)], capture_output=True, text=True,
                          timeout=TIMEOUT, check=False)


def seconds(duration):
    """A Duration as JSON has it, such as 0.0015s."""
    return float(duration.removesuffix("s"))


def complaints(path):
    """What `qmsg check` calls an error."""
    result = _tool("check", "--framing", "any", "--json", path)
    if result.returncode not in (0, 1):
        return [result.stderr]
    return [line for line in result.stdout.splitlines() if json.loads(line)["severity"] == "error"]


def warnings(path):
    result = _tool("check", "--framing", "any", "--json", path)
    return [line for line in result.stdout.splitlines() if json.loads(line)["severity"] == "warning"]


class Request:
    """The records of one request, by the name of their type."""

    def __init__(self):
        self.records = {}

    def add(self, name, record):
        self.records.setdefault(name, []).append(record)

    def one(self, name):
        records = self.records.get(name, [])
        assert len(records) == 1, f"{len(records)} {name}, not one: {sorted(self.records)}"
        return records[0]

    @property
    def begun(self):
        return "RInitData" in self.records

    @property
    def ended(self):
        return "RShutdownData" in self.records

    @property
    def target(self):
        return self.one("RInitData").get("target", "")

    @property
    def statements(self):
        return [query for queries in self.records.get("SqlQueries", [])
                for query in queries.get("queries", [])]


def read(path):
    """The requests in a file, in the order of their first records."""
    if not path.exists():
        return []
    result = _tool("decode", "--framing", "any", "--compact", path)
    assert result.returncode == 0, result.stderr
    requests = {}
    for line in result.stdout.splitlines():
        record = json.loads(line)
        name = re.search(r"[^.]*$", record["@type"]).group()
        requests.setdefault(record["queue_id"], Request()).add(name, record)
    return list(requests.values())


def count(path, name):
    """How many records of a type are in a file, which may be large."""
    result = _tool("stats", "--framing", "any", path)
    assert result.returncode == 0, result.stderr
    [total] = [int(line.split()[0]) for line in result.stdout.split("\n\n")[0].splitlines()
               if line.endswith(f".{name}")]
    return total


def size(path):
    return path.stat().st_size if path.exists() else 0


def wait_for_target(path, target):
    """The requests for a target, which have ended."""
    return wait_until(lambda: [request for request in read(path)
                               if request.ended and request.target == target],
                      f"{target} recorded in {path}", 10)


def wait_for(path, count):
    """The first `count` requests that have ended. The end of a request is written after the response
    is sent."""
    last = [-1]

    def ended():
        if size(path) == last[0]:
            return None
        last[0] = size(path)
        requests = [request for request in read(path) if request.ended]
        return requests if len(requests) >= count else None
    return wait_until(ended, f"{count} requests recorded in {path}", 10)
