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

HERE = pathlib.Path(__file__).parent
TIMEOUT = 60  # seconds

# Scripts that call main(), how often each function was called, and the functions whose time makes
# up the difference between a function's inclusive and exclusive time. "" is the script.
CLOSURE = re.compile(r"\{closure[^}]*\}")  # PHP 8.4 adds where it is
HELPERS = """
function pause(): void { usleep(2000); }
function wait(): void { usleep(1000); }
function numbers(int $n): Generator
{
    try { while ($n-- > 0) { wait(); yield $n; } } finally { wait(); }
}
"""
CALLS = {
    "nested calls": (
        """function main(): void { outer(); outer(); }
        function outer(): void { pause(); pause(); }""",
        {"main": 1, "outer": 2, "pause": 4},
        {"": ["main"], "main": ["outer"], "outer": ["pause"], "pause": []}),
    "recursion": (
        """function main(): void { countdown(3); }
        function countdown(int $n): void { pause(); $n === 0 || countdown($n - 1); }""",
        {"main": 1, "countdown": 4, "pause": 4},
        {"": ["main"], "main": ["countdown"], "countdown": ["pause"]}),
    "two functions that call each other": (
        """function main(): void { even(4); }
        function even(int $n): bool { wait(); return $n === 0 || odd($n - 1); }
        function odd(int $n): bool { return $n !== 0 && even($n - 1); }""",
        {"main": 1, "even": 3, "odd": 2, "wait": 3},
        {"": ["main"], "main": ["even"]}),
    "an exception": (
        """function main(): void { try { outer(); } catch (Exception) { pause(); } }
        function outer(): void { inner(); }
        function inner(): void { throw new Exception(); }""",
        {"main": 1, "outer": 1, "inner": 1, "pause": 1},
        {"": ["main"], "main": ["outer", "pause"], "outer": ["inner"], "inner": []}),
    "exit": (
        """function main(): void { register_shutdown_function('pause'); Shop::close(); }
        class Shop { static function close(): never { exit; } }""",
        {"main": 1, "Shop::close": 1, "pause": 1},
        {"": ["main", "pause"], "main": ["Shop::close"], "Shop::close": []}),
    "a fatal error": (
        """function main(): void { register_shutdown_function('pause'); Shop::fail(); }
        class Shop { static function fail(): never { trigger_error('sold out', E_USER_ERROR); } }""",
        {"main": 1, "Shop::fail": 1, "pause": 1},
        {"": ["main", "pause"], "main": ["Shop::fail"], "Shop::fail": []}),
    "a generator": (
        "function main(): void { foreach (numbers(3) as $n) { pause(); } }",
        {"main": 1, "numbers": 1, "wait": 4, "pause": 3},
        {"": ["main"], "main": ["numbers", "pause"], "numbers": ["wait"]}),
    "two generators of one function that take turns": (
        """function main(): void
        {
            $other = numbers(2);
            foreach (numbers(2) as $n) { $other->next(); }
        }""",
        {"main": 1, "numbers": 2, "wait": 6},
        {"": ["main"], "main": ["numbers"], "numbers": ["wait"]}),
    "a generator inside a generator": (
        """function main(): void { foreach (all() as $n) { pause(); } }
        function all(): Generator { foreach (numbers(2) as $n) { yield $n; } }""",
        {"main": 1, "all": 1, "numbers": 1, "wait": 3, "pause": 2},
        {"": ["main"], "main": ["all", "pause"], "all": ["numbers"], "numbers": ["wait"]}),
    # The engine resumes the inner generator itself: it is not called by the outer one.
    "yield from": (
        """function main(): void { foreach (all() as $n) { pause(); } }
        function all(): Generator { yield 0; yield from numbers(2); yield from [8, 9]; }""",
        {"main": 1, "all": 1, "numbers": 1, "wait": 3, "pause": 5},
        {"": ["main"], "main": ["all", "numbers", "pause"], "all": [], "numbers": ["wait"]}),
    "a generator that is dropped": (
        "function main(): void { $numbers = numbers(3); $numbers->next(); unset($numbers); }",
        {"main": 1, "numbers": 1, "wait": 3},
        {"": ["main"], "main": ["numbers"], "numbers": ["wait"]}),
    "a generator that throws": (
        """function main(): void { try { foreach (one() as $n) { pause(); } } catch (Exception) {} }
        function one(): Generator { yield 1; throw new Exception(); }""",
        {"main": 1, "one": 1, "pause": 1},
        {"": ["main"], "main": ["one", "pause"], "one": []}),
    "a generator that is thrown into": (
        """function main(): void
        {
            $numbers = numbers(3);
            try { $numbers->throw(new Exception()); } catch (Exception) { pause(); }
        }""",
        {"main": 1, "numbers": 1, "wait": 2, "pause": 1},
        {"": ["main"], "main": ["numbers", "pause"], "numbers": ["wait"]}),
    "a generator that never starts": ("function main(): void { numbers(3); }", {"main": 1},
                                      {"": ["main"], "main": []}),
    # Each bound closure has a run-time cache of its own.
    "a closure bound several times": (
        """function main(): void
        {
            $closure = function () { wait(); };
            for ($i = 0; $i < 3; ++$i) { Closure::bind($closure, null, Shop::class)(); }
        }
        class Shop {}""",
        {"main": 1, "Shop::{closure}": 3, "wait": 3},
        {"": ["main"], "main": ["Shop::{closure}"], "Shop::{closure}": ["wait"]}),
}


def seconds(duration):
    return float(duration.removesuffix("s"))


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
        self.records = self.folder / "records"
        self.log = self.folder / "log"

    def php(self, *arguments, records=None):
        return ["php", "-n", "-d", "display_errors=0", "-d", f"error_log={self.log}",
                "-d", f"extension={os.environ['QMSG_EXTENSION']}",
                "-d", f"qmsg_recorder.records={records or self.records}", *arguments]

    @contextlib.contextmanager
    def server(self, *options, workers=1, **settings):
        """PHP's own web server. Yields its port and its process ID."""
        environment = dict(os.environ)
        if workers > 1:
            environment["PHP_CLI_SERVER_WORKERS"] = str(workers)
        with subprocess.Popen(
                self.php(*options, "-S", "127.0.0.1:0", HERE / "app.php", **settings),
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

    def read(self, path=None):
        """The requests in order. Each maps the short name of a type to its record."""
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

    def functions(self, script):
        """The function records of a script that runs on the command line."""
        file = self.folder / "script.php"
        file.write_text("<?php\n" + script, encoding="utf-8")
        self.records.unlink(missing_ok=True)
        subprocess.run(self.php(file), check=False, timeout=TIMEOUT)
        [request] = self.read()
        return request["Functions"].get("functions", [])

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

    def test_counts_each_call_once_and_each_moment_once(self):
        for title, (script, calls, inside) in CALLS.items():
            with self.subTest(title):
                functions = self.functions(HELPERS + script + "\nmain();")
                for function in functions:
                    function["function_name"] = CLOSURE.sub("{closure}", function["function_name"])
                self.assertCountEqual([(f["function_name"], f["times_called"]) for f in functions],
                                      calls.items())
                named = {f["function_name"]: f for f in functions}
                inclusive = {name: seconds(f["duration_inclusive"]) for name, f in named.items()}
                exclusive = {name: seconds(f["duration_exclusive"]) for name, f in named.items()}
                self.assertAlmostEqual(sum(exclusive.values()),
                                       sum(inclusive[name] for name in inside.pop("")), places=8)
                for name, callees in inside.items():
                    self.assertAlmostEqual(inclusive[name] - exclusive[name],
                                           sum(inclusive[callee] for callee in callees), places=8)

    def test_keeps_functions_apart_that_follow_each_other_in_memory(self):
        script = """for ($line = 1; $line <= 50; ++$line) {
            $function = eval(str_repeat("\n", $line) . 'return function () {};');
            $function();
        }"""
        self.assertEqual([(f["line_start"], f["times_called"]) for f in self.functions(script)],
                         [(line + 1, 1) for line in range(1, 51)])

    def test_writes_nothing_to_the_memory_that_opcache_shares(self):
        with self.server("-d", "zend_extension=opcache",
                         "-d", "opcache.protect_memory=1") as (port, pid):
            self.assertEqual([get(port, b"/wait") for _ in range(3)], [str(pid)] * 3)
        self.assertEqual([[f["times_called"] for f in request["Functions"]["functions"]]
                          for request in self.read()], [[1, 3]] * 3)

    def test_replaces_bytes_that_are_not_utf8(self):
        names = {b"caf\xC3\xA9": "café", b"caf\xE9": "caf\uFFFD", b"\xE9_": "\uFFFD_",
                 b"caf\xC3": "caf\uFFFD", b"a\xFF\xFEb": "a\uFFFD\uFFFDb",
                 b"\xF0\x9F\x98\x80": "\N{GRINNING FACE}",
                 b"\xED\xA0\x80": "\uFFFD",  # a surrogate
                 b"\xC0\xAF": "\uFFFD\uFFFD",  # an overlong slash
                 b"\xE2\x82_": "\uFFFD_"}  # a euro sign, cut off
        target = "/named?" + ",".join(name.hex() for name in names)
        written = [function["function_name"]
                   for function in self.request(target.encode())["Functions"]["functions"]]
        self.assertEqual([name for name in written if not CLOSURE.match(name)], list(names.values()))

    def test_keeps_the_records_of_forked_workers_apart(self):
        with self.server(workers=3) as (port, _):
            with concurrent.futures.ThreadPoolExecutor(8) as clients:
                pids = list(clients.map(lambda _: get(port, b"/wait"), range(60)))
        written = [str(request["RInitData"]["pid"]) for request in self.read()]
        self.assertEqual(collections.Counter(written), collections.Counter(pids))
        self.assertGreater(len(set(written)), 1)

    def test_uses_no_more_memory_after_thousands_of_requests(self):
        with self.server() as (port, pid):
            self.repeat(port, 300)
            before = private_memory(pid)
            self.repeat(port, 2000)
            grown = private_memory(pid) - before
        self.assertEqual(len(self.read()), 2300)
        # A request has 51 functions. If they were kept, each request would take 17 KiB.
        self.assertLess(grown, 512 * 1024)

    @staticmethod
    def repeat(port, times):
        for _ in range(times):
            get(port, b"/many")

    def test_answers_the_request_if_nothing_can_be_written(self):
        missing = self.folder / "no such folder" / "records"
        with self.server(records=missing) as (port, pid):
            self.assertEqual([get(port, b"/") for _ in range(2)], [str(pid)] * 2)
        complaint = f"qmsg_recorder: {missing}: No such file or directory"
        self.assertEqual(self.log.read_text(encoding="utf-8").count(complaint), 2)

    def test_writes_nothing_if_no_file_is_set(self):
        run = subprocess.run(
            ["php", "-n", "-d", f"extension={os.environ['QMSG_EXTENSION']}", HERE / "app.php"],
            cwd=self.folder, capture_output=True, text=True, check=True, timeout=TIMEOUT)
        self.assertRegex(run.stdout, r"^\d+$")
        self.assertEqual((run.stderr, list(self.folder.iterdir())), ("", []))

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
