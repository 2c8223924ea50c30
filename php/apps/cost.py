"""What recording costs: the CPU time of WordPress's front page for a visitor, with opcache.

Each configuration has a PHP-FPM of its own with one worker. The configurations take turns in short rounds
of requests over one connection, and the clock is the kernel's count of the worker's time on a CPU. So
neither the database nor other work on the machine counts, and what slows the machine slows all of them.

QMSG_MODULE: the extension."""

import argparse
import contextlib
import multiprocessing
import os
import pathlib
import random
import signal
import socket
import statistics
import subprocess
import sys
import threading
import time

import wordpress
from application import Unexpected
from browser import Browser
from servers import Database, NoServer, Served, php_version, working_folder
from web_tests import recording

EXCIMER = """<?php
$qmsg_cost_profiler = new ExcimerProfiler();
$qmsg_cost_profiler->setPeriod(0.001);
$qmsg_cost_profiler->setEventType(EXCIMER_CPU);
$qmsg_cost_profiler->start();
register_shutdown_function(static function () use ($qmsg_cost_profiler) {
    $qmsg_cost_profiler->stop();
    file_put_contents('%s', $qmsg_cost_profiler->getLog()->formatCollapsed(), FILE_APPEND);
});
"""


def profilers(folder):
    """The extensions xdebug and excimer, as Debian builds them. They are not installed, which would load
    them into all of the system's PHP."""
    packages = (f"php{php_version()}-xdebug", "php-excimer")
    fetched = subprocess.run(["apt-get", "--quiet", "--quiet", "-o", "APT::Sandbox::User=root", "download",
                              *packages], cwd=folder, capture_output=True, text=True, check=False)
    if fetched.returncode != 0:
        print(f"Without {' and '.join(packages)}, as apt-get download fails. First, as root: apt-get "
              f"update. It says: {fetched.stderr.strip()}", file=sys.stderr)
        return {}
    for package in folder.glob("*.deb"):
        subprocess.run(["dpkg-deb", "--extract", package, folder], check=True)
    return {name: next(folder.glob(f"usr/lib/php/*/{name}.so")) for name in ("xdebug", "excimer")}


def agent(folder):
    """The path of a stream socket that is read by a process of its own, which throws away what it reads."""
    path = folder / "agent"
    listener = socket.socket(socket.AF_UNIX)
    listener.bind(str(path))
    listener.listen()
    path.chmod(0o777)

    def read():
        signal.signal(signal.SIGTERM, signal.SIG_DFL)
        while True:
            connection, _ = listener.accept()
            threading.Thread(target=lambda: all(iter(lambda: connection.recv(1 << 20), b"")),
                             daemon=True).start()
    multiprocessing.Process(target=read, daemon=True).start()
    return path


class Configuration:
    def __init__(self, name, settings, output=None):
        self.name, self.settings, self.output = name, settings, output
        self.costs = []  # milliseconds per request, one for each round
        self.sizes = []  # bytes per request
        self._browser = self._fpm = None

    @contextlib.contextmanager
    def running(self, folder, root):
        with Served(folder, root, self.settings, workers=1).running() as server, \
                Browser(server.port) as self._browser:
            self._fpm = server.fpm
            try:
                self._get(20)
            except Unexpected:
                print(server.logs(), file=sys.stderr)
                raise
            yield

    def _get(self, requests):
        for _ in range(requests):
            response = self._browser.get("/")
            if response.status != 200 or "Hello world!" not in response.body:
                raise Unexpected(f"{self.name}: status {response.status}")

    def _nanoseconds(self):
        [pid] = self._fpm.worker_pids()
        return sum(int(path.read_text().split()[0])
                   for path in pathlib.Path(f"/proc/{pid}/task").glob("*/schedstat"))

    def _empty(self):
        for path in self.output.iterdir():
            os.truncate(path, 0)

    def measure(self, requests):
        if self.output is not None:
            self._empty()
        start = self._nanoseconds()
        self._get(requests)
        time.sleep(0.01)  # the worker ends the request after the response
        self.costs.append((self._nanoseconds() - start) / requests / 1e6)
        if self.output is not None:
            self.sizes.append(sum(path.stat().st_size for path in self.output.iterdir()) / requests)


def configurations(folder):
    def output(name):
        path = folder / f"output-{name}"
        path.mkdir()
        path.chmod(0o1777)
        return path

    def recorded(name, **settings):
        path = output(name.replace(" ", "-"))
        return Configuration(name, recording(path / "records.any", **settings), path)

    yield Configuration("not loaded", {})
    yield Configuration("not loaded, a second time", {})
    yield Configuration("loaded, without an output", {"extension": os.environ["QMSG_MODULE"]})
    yield recorded("default")
    yield Configuration("default, to an agent's socket",
                        {**recording(folder), "qmsg.output": f"unix:{agent(folder)}"})
    yield recorded("default without arguments", **{"qmsg.arguments": "0"})
    yield recorded("default without stacks", **{"qmsg.stack_depth": "0"})
    yield recorded("default and sampled functions", **{"qmsg.functions": "sample"})
    yield recorded("everything", **{"qmsg.record": "all"})
    yield recorded("everything and sampled functions", **{"qmsg.record": "all", "qmsg.functions": "sample"})
    yield recorded("default and exact functions", **{"qmsg.functions": "exact"})
    yield recorded("everything and exact functions", **{"qmsg.record": "all", "qmsg.functions": "exact"})
    packages = folder / "packages"
    packages.mkdir()
    if found := profilers(packages):
        path = output("excimer")
        start = folder / "excimer.php"
        start.write_text(EXCIMER % (path / "log"))
        yield Configuration("excimer, each 1 ms", {"extension": found["excimer"],
                                                   "auto_prepend_file": start}, path)
        path = output("xdebug")
        yield Configuration("xdebug's profiler", {
            "zend_extension": found["xdebug"], "xdebug.mode": "profile", "xdebug.output_dir": path,
            "xdebug.start_with_request": "yes", "xdebug.profiler_output_name": "cachegrind.%p",
            "xdebug.use_compression": "0", "xdebug.profiler_append": "1"}, path)


def table(measured):
    def percent(value, base):
        return f"{(value / base - 1) * 100:+.1f} %"
    base = measured[0].costs
    yield "| configuration | median, ms of CPU per request | | lowest, ms | | bytes per request |"
    yield "|---|---:|---:|---:|---:|---:|"
    for one in measured:
        median, lowest = statistics.median(one.costs), min(one.costs)
        size = f"{statistics.median(one.sizes):,.0f}" if one.sizes else ""
        yield (f"| {one.name} | {median:.2f} | {percent(median, statistics.median(base))} "
               f"| {lowest:.2f} | {percent(lowest, min(base))} | {size} |")


def progress(done, rounds):
    if sys.stderr.isatty():
        print(f"\r{done} of {rounds} rounds ", end="\n" if done == rounds else "", file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(prog="./dev bench --php", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=20, help="default: 20")
    parser.add_argument("--requests", type=int, default=20, help="of a round; default: 20")
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("cost.py: ended by SIGTERM"))
    try:
        with working_folder() as folder, Database(folder).running() as database, \
                contextlib.ExitStack() as stack:
            root = wordpress.install(folder, database).root
            measured = list(configurations(folder))
            for one in measured:
                stack.enter_context(one.running(folder, root))
            for done in range(options.rounds):
                progress(done, options.rounds)
                for one in random.sample(measured, len(measured)):
                    one.measure(options.requests)
            progress(options.rounds, options.rounds)
            print("\n".join(table(measured)))
    except (NoServer, Unexpected) as error:
        sys.exit(f"cost.py: {error}")


if __name__ == "__main__":
    main()
