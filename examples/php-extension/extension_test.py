"""Runs the extension in PHP and compares its records with what the requests did.

QMSG_EXTENSION: the extension; QMSG: the tool qmsg.
"""

import collections
import concurrent.futures
import contextlib
import json
import os
import pathlib
import re
import socket
import subprocess
import tempfile
import unittest

TIMEOUT = 60  # seconds
# What PHP's web server runs: it answers with the worker's process ID.
PROGRAM = "<?php http_response_code($_SERVER['SCRIPT_NAME'] === '/missing' ? 404 : 200); echo getmypid();"


def get(port, target):
    """The body of the answer to a request for the bytes `target`."""
    with socket.create_connection(("127.0.0.1", port), timeout=TIMEOUT) as connection:
        connection.sendall(b"GET " + target + b" HTTP/1.0\r\n\r\n")
        answer = b"".join(iter(lambda: connection.recv(65536), b""))
    return answer.partition(b"\r\n\r\n")[2].decode()


def private_memory(pid):
    """The bytes of memory that the process does not share."""
    rollup = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    return 1024 * int(re.search(r"^Private_Dirty: +(\d+) kB$", rollup, re.M).group(1))


class Extension(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.program = self.folder / "program.php"
        self.program.write_text(PROGRAM, encoding="utf-8")
        self.records = self.folder / "records"
        self.log = self.folder / "log"

    def php(self, *arguments, records=None):
        return ["php", "-n", "-d", "display_errors=0", "-d", f"error_log={self.log}",
                "-d", f"extension={os.environ['QMSG_EXTENSION']}",
                "-d", f"qmsg_recorder.records={records or self.records}", *arguments]

    @contextlib.contextmanager
    def server(self, workers=1, **settings):
        """PHP's own web server. Yields its port and its process ID."""
        environment = dict(os.environ)
        if workers > 1:
            environment["PHP_CLI_SERVER_WORKERS"] = str(workers)
        with subprocess.Popen(
                self.php("-S", "127.0.0.1:0", self.program, **settings),
                env=environment, stderr=subprocess.PIPE, text=True,
                start_new_session=True) as server:
            try:
                started = next(line for line in server.stderr if "started" in line)
                port = int(re.search(r"http://127\.0\.0\.1:(\d+)", started).group(1))
                # A full pipe would stop the server.
                drain = concurrent.futures.ThreadPoolExecutor(1)
                drain.submit(server.stderr.read)
                yield port, server.pid
            finally:
                os.killpg(server.pid, 9)  # its workers, too
                drain.shutdown()

    def read(self):
        """The requests in order, each as its begin and its end."""
        run = subprocess.run(
            [os.environ["QMSG"], "decode", "--framing", "any", "--compact", self.records],
            capture_output=True, text=True, check=True, timeout=TIMEOUT)
        requests = collections.defaultdict(list)
        for line in run.stdout.splitlines():
            record = json.loads(line)
            requests[record["queue_id"]].append(record)
        for records in requests.values():
            self.assertEqual([record["@type"].rpartition(".")[2] for record in records],
                             ["RInitData", "RShutdownData"])
        return list(requests.values())

    def test_writes_the_begin_and_the_end_of_a_request(self):
        with self.server() as (port, pid):
            self.assertEqual(get(port, b"/missing?a=1"), str(pid))
        [(begin, end)] = self.read()
        self.assertRegex(begin["queue_id"], "^[0-9a-f]{16}$")
        self.assertEqual((begin["method"], begin["target"], begin["pid"], begin["node_name"]),
                         ("GET", "/missing?a=1", pid, socket.gethostname()))
        version = subprocess.run(["php", "-n", "-r", "echo PHP_VERSION;"], capture_output=True,
                                 text=True, check=True).stdout
        numbers = begin["php_version"]
        self.assertEqual([numbers[part] for part in ("major_version", "minor_version", "release")],
                         [int(number) for number in re.findall(r"\d+", version)[:3]])
        self.assertEqual(end["http_response_code"], 404)
        self.assertEqual(end["memory_limit"], str(128 * 1024 * 1024))  # PHP's own default
        self.assertGreaterEqual(int(end["memory_peak_usage"]), int(end["memory_usage"]))
        self.assertGreater(float(end["total_time"].removesuffix("s")), 0)

    def test_replaces_bytes_that_are_not_utf8(self):
        names = {b"caf\xC3\xA9": "café", b"caf\xE9": "caf\uFFFD", b"\xE9_": "\uFFFD_",
                 b"caf\xC3": "caf\uFFFD", b"a\xFF\xFEb": "a\uFFFD\uFFFDb",
                 b"\xF0\x9F\x98\x80": "\N{GRINNING FACE}",
                 b"\xED\xA0\x80": "\uFFFD",  # a surrogate
                 b"\xC0\xAF": "\uFFFD\uFFFD",  # an overlong slash
                 b"\xE2\x82_": "\uFFFD_"}  # a euro sign, cut off
        for name in names:
            program = os.fsencode(self.folder) + b"/" + name
            with open(program, "wb"):
                pass
            subprocess.run(self.php(program), check=True, timeout=TIMEOUT)
        self.assertEqual([begin["target"].rpartition("/")[2] for begin, _ in self.read()],
                         list(names.values()))

    def test_keeps_the_records_of_forked_workers_apart(self):
        with self.server(workers=3) as (port, _):
            with concurrent.futures.ThreadPoolExecutor(8) as clients:
                pids = list(clients.map(lambda _: get(port, b"/"), range(60)))
        written = [str(begin["pid"]) for begin, _ in self.read()]
        self.assertEqual(collections.Counter(written), collections.Counter(pids))
        self.assertGreater(len(set(written)), 1)

    def test_uses_no_more_memory_after_thousands_of_requests(self):
        with self.server() as (port, pid):
            self.repeat(port, 300)
            before = private_memory(pid)
            self.repeat(port, 2000)
            grown = private_memory(pid) - before
        self.assertEqual(len(self.read()), 2300)
        # If the two records of a request were kept, they would take some 400 bytes each.
        self.assertLess(grown, 512 * 1024)

    @staticmethod
    def repeat(port, times):
        for _ in range(times):
            get(port, b"/")

    def test_answers_the_request_if_nothing_can_be_written(self):
        missing = self.folder / "no such folder" / "records"
        with self.server(records=missing) as (port, pid):
            self.assertEqual([get(port, b"/") for _ in range(2)], [str(pid)] * 2)
        complaint = f"qmsg_recorder: {missing}: No such file or directory"
        self.assertEqual(self.log.read_text(encoding="utf-8").count(complaint), 2)

    def test_writes_nothing_if_no_file_is_set(self):
        run = subprocess.run(
            ["php", "-n", "-d", f"extension={os.environ['QMSG_EXTENSION']}", self.program],
            cwd=self.folder, capture_output=True, text=True, check=True, timeout=TIMEOUT)
        self.assertRegex(run.stdout, r"^\d+$")
        self.assertEqual((run.stderr, list(self.folder.iterdir())), ("", [self.program]))

    def test_exports_only_what_php_looks_up(self):
        shown = subprocess.run(["readelf", "--wide", "--dyn-syms", os.environ["QMSG_EXTENSION"]],
                               capture_output=True, text=True, check=True).stdout
        names = re.findall(r" (?:GLOBAL|WEAK) +DEFAULT +\d+ (\S+)$", shown, re.M)
        # Templates of the standard library are always exported.
        self.assertEqual([name for name in names if not re.match("_ZN?K?St", name)],
                         ["get_module"])
        flags = subprocess.run(["readelf", "--dynamic", os.environ["QMSG_EXTENSION"]],
                               capture_output=True, text=True, check=True).stdout
        self.assertIn("NODELETE", flags)


if __name__ == "__main__":
    unittest.main()
