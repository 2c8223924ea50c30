"""The extension in PHP: what it writes against what the requests did.

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

HERE = pathlib.Path(__file__).parent
TIMEOUT = 60  # seconds


def seconds(duration):
    return float(duration.removesuffix("s"))


def get(port, target):
    """The body of the answer to a request for the bytes `target`."""
    with socket.create_connection(("127.0.0.1", port), timeout=TIMEOUT) as connection:
        connection.sendall(b"GET " + target + b" HTTP/1.0\r\n\r\n")
        answer = b"".join(iter(lambda: connection.recv(65536), b""))
    return answer.partition(b"\r\n\r\n")[2].decode()


def private_memory(pid):
    """In bytes, what the process has for itself."""
    rollup = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    return 1024 * int(re.search(r"^Private_Dirty: +(\d+) kB$", rollup, re.M).group(1))


class Extension(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.records = self.folder / "records"
        self.log = self.folder / "log"

    def php(self, *arguments, records=None):
        return ["php", "-n", "-d", "display_errors=0", "-d", f"error_log={self.log}",
                "-d", f"extension={os.environ['QMSG_EXTENSION']}",
                "-d", f"qmsg_recorder.records={records or self.records}", *arguments]

    @contextlib.contextmanager
    def server(self, workers=1, **settings):
        """PHP's own web server; gives its port and its process ID."""
        environment = dict(os.environ)
        if workers > 1:
            environment["PHP_CLI_SERVER_WORKERS"] = str(workers)
        with subprocess.Popen(
                self.php("-S", "127.0.0.1:0", HERE / "app.php", **settings), env=environment,
                stderr=subprocess.PIPE, text=True, start_new_session=True) as server:
            try:
                started = next(line for line in server.stderr if "started" in line)
                port = int(re.search(r"http://127\.0\.0\.1:(\d+)", started).group(1))
                # Nobody reads further: the server must not wait for that.
                drain = concurrent.futures.ThreadPoolExecutor(1)
                drain.submit(server.stderr.read)
                yield port, server.pid
            finally:
                os.killpg(server.pid, 9)  # its workers, too
                drain.shutdown()

    def read(self, path=None):
        """The requests by their queue_id; of each, its records by the short name of their type."""
        run = subprocess.run(
            [os.environ["QMSG"], "decode", "--framing", "any", "--compact", path or self.records],
            capture_output=True, text=True, check=True, timeout=TIMEOUT)
        requests = collections.defaultdict(dict)
        for line in run.stdout.splitlines():
            record = json.loads(line)
            kind = record["@type"].rpartition(".")[2]
            self.assertNotIn(kind, requests[record["queue_id"]])
            requests[record["queue_id"]][kind] = record
        for records in requests.values():
            self.assertEqual(list(records), ["RInitData", "Functions", "RShutdownData"])
        return list(requests.values())

    def request(self, target):
        """The records of one request."""
        with self.server() as (port, _):
            get(port, target)
        [request] = self.read()
        return request

    def functions(self, target):
        listed = self.request(target)["Functions"].get("functions", [])
        return {function["function_name"]: function for function in listed}

    def test_writes_the_begin_and_the_end_of_a_request(self):
        with self.server() as (port, pid):
            self.assertEqual(get(port, b"/missing?a=1"), str(pid))
        [request] = self.read()
        begin, end = request["RInitData"], request["RShutdownData"]
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

    def test_counts_and_times_the_functions(self):
        request = self.request(b"/wait")
        wait, pause = request["Functions"]["functions"]
        self.assertEqual([(f["function_name"], f["times_called"], f["function_type"],
                           f["line_start"], f["line_end"]) for f in (wait, pause)],
                         [("wait", 1, "USER", 4, 9), ("pause", 3, "USER", 11, 14)])
        self.assertEqual(pause["file_name"], str(HERE / "app.php"))
        # Three pauses of 2 ms are all that wait() does: they are its inclusive time, not its own.
        self.assertGreaterEqual(seconds(pause["duration_exclusive"]), 0.006)
        self.assertEqual(pause["duration_exclusive"], pause["duration_inclusive"])
        inside = seconds(wait["duration_inclusive"]) - seconds(wait["duration_exclusive"])
        self.assertAlmostEqual(inside, seconds(pause["duration_inclusive"]), places=8)
        self.assertGreaterEqual(seconds(request["RShutdownData"]["total_time"]),
                                seconds(wait["duration_inclusive"]))

    def test_counts_the_time_of_a_recursion_once(self):
        countdown = self.functions(b"/countdown")["countdown"]
        self.assertEqual(countdown["times_called"], 10)
        self.assertAlmostEqual(seconds(countdown["duration_inclusive"]),
                               seconds(countdown["duration_exclusive"]), places=8)

    def test_ends_the_functions_that_an_exit_or_an_error_leaves(self):
        for target, name in ((b"/close", "Shop::close"), (b"/fail", "Shop::fail")):
            with self.subTest(name):
                self.records.unlink(missing_ok=True)
                self.assertEqual(self.functions(target)[name]["times_called"], 1)

    def test_replaces_what_is_not_utf8(self):
        names = {b"caf\xC3\xA9": "café", b"caf\xE9": "caf\uFFFD", b"\xE9_": "\uFFFD_",
                 b"caf\xC3": "caf\uFFFD", b"a\xFF\xFEb": "a\uFFFD\uFFFDb",
                 b"\xF0\x9F\x98\x80": "\N{GRINNING FACE}",
                 b"\xED\xA0\x80": "\uFFFD",  # a surrogate
                 b"\xC0\xAF": "\uFFFD\uFFFD",  # an overlong slash
                 b"\xE2\x82_": "\uFFFD_"}  # a euro sign, cut off
        target = "/named?" + ",".join(name.hex() for name in names)
        written = [function["function_name"]
                   for function in self.request(target.encode())["Functions"]["functions"]]
        self.assertEqual([name for name in written if name != "{closure}"], list(names.values()))

    def test_keeps_apart_what_forked_workers_write(self):
        with self.server(workers=3) as (port, _):
            with concurrent.futures.ThreadPoolExecutor(8) as clients:
                pids = list(clients.map(lambda _: get(port, b"/wait"), range(60)))
        written = [str(request["RInitData"]["pid"]) for request in self.read()]
        self.assertEqual(collections.Counter(written), collections.Counter(pids))
        self.assertGreater(len(set(written)), 1)

    def test_takes_no_more_memory_after_thousands_of_requests(self):
        with self.server() as (port, pid):
            self.repeat(port, 300)
            before = private_memory(pid)
            self.repeat(port, 2000)
            grown = private_memory(pid) - before
        self.assertEqual(len(self.read()), 2300)
        # 51 functions a request: kept, they take 17 KiB each time.
        self.assertLess(grown, 512 * 1024)

    @staticmethod
    def repeat(port, times):
        for _ in range(times):
            get(port, b"/many")

    def test_leaves_the_request_alone_if_nothing_can_be_written(self):
        missing = self.folder / "no such folder" / "records"
        with self.server(records=missing) as (port, pid):
            self.assertEqual([get(port, b"/") for _ in range(2)], [str(pid)] * 2)
        complaint = f"qmsg_recorder: {missing}: No such file or directory"
        self.assertEqual(self.log.read_text(encoding="utf-8").count(complaint), 2)

    def test_writes_nothing_unless_told_where(self):
        run = subprocess.run(
            ["php", "-n", "-d", f"extension={os.environ['QMSG_EXTENSION']}", HERE / "app.php"],
            cwd=self.folder, capture_output=True, text=True, check=True, timeout=TIMEOUT)
        self.assertRegex(run.stdout, r"^\d+$")
        self.assertEqual((run.stderr, list(self.folder.iterdir())), ("", []))

    def test_shows_only_what_php_asks_for(self):
        shown = subprocess.run(["readelf", "--wide", "--dyn-syms", os.environ["QMSG_EXTENSION"]],
                               capture_output=True, text=True, check=True).stdout
        names = re.findall(r" (?:GLOBAL|WEAK) +DEFAULT +\d+ (\S+)$", shown, re.M)
        # The standard library's templates are everybody's.
        self.assertEqual([name for name in names if not re.match("_ZN?K?St", name)],
                         ["get_module"])
        flags = subprocess.run(["readelf", "--dynamic", os.environ["QMSG_EXTENSION"]],
                               capture_output=True, text=True, check=True).stdout
        self.assertIn("NODELETE", flags)


if __name__ == "__main__":
    unittest.main()
