"""What holds for each application on the web in the long run, and when something fails."""

import os
import pathlib
import signal
import socket
import statistics
import subprocess
import threading
import time

import records
from browser import Browser
from servers import give_to_web_user, wait_until
from web_tests import EVERYTHING, REQUESTS, recording

# Waits as long as the test says, so that it can end the worker before.
SLOW_PAGE = "<?php usleep((int)$_GET['ms'] * 1000); echo 'The slow page is complete.';\n"


def private_bytes(pid):
    """The memory that the process shares with no other."""
    lines = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()
    return sum(int(line.split()[1]) * 1024 for line in lines if line.startswith("Private_Dirty:"))


class EnduranceTests:
    plain_seconds = None

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        slow = cls.app.root / "slow.php"
        slow.write_text(SLOW_PAGE)
        give_to_web_user(slow)

    # Memory

    def test_workers_do_not_grow(self):
        path = self.recordings / "endurance.any"
        rounds = max(4, REQUESTS // len(self.app.pages))
        with self.served(recording(path, **EVERYTHING), workers=1) as server, \
                Browser(server.port) as browser:
            [pid] = server.fpm.worker_pids()
            sizes = []
            for _ in range(rounds):
                for page in self.app.pages:
                    self.get(browser, page)
                sizes.append(private_bytes(pid))
            self.assertEqual(server.fpm.worker_pids(), [pid])
        # 64 KiB are less than what one page records.
        self.assertLess(sizes[-1], sizes[rounds // 4] + 64 * 1024)
        self.assert_readable(path)
        for name in ("RInitData", "RShutdownData"):
            self.assertEqual(records.count(path, name), rounds * len(self.app.pages))
        path.unlink()

    # Workers that end

    def test_a_reload_loses_no_record(self):
        statuses, stop = [], threading.Event()

        def load(port):
            with Browser(port) as browser:
                while not stop.is_set():
                    statuses.append(browser.get(self.app.pages[0].target).status)

        with self.recorded() as (server, path):
            threads = [threading.Thread(target=load, args=[server.port]) for _ in range(3)]
            for thread in threads:
                thread.start()
            try:
                for reload in range(3):
                    # New workers compile all of the application again.
                    wait_until(lambda: len(statuses) >= 10 * (reload + 1), "answers under load")
                    server.fpm.master.send_signal(signal.SIGUSR2)
                wait_until(lambda: len(statuses) >= 40, "answers after the last reload")
            finally:
                stop.set()
                for thread in threads:
                    thread.join()
            good = statuses.count(self.app.pages[0].status)
            recorded = records.wait_for(path, good)
        self.assertGreater(good, 20)
        self.assertEqual([request.target for request in recorded if not request.begun], [])
        self.assertEqual([request.target for request in records.read(path) if not request.ended], [])
        self.assert_readable(path)

    def test_a_killed_worker_leaves_the_begin_of_its_request(self):
        with self.recorded() as (server, path):
            def ask():
                with Browser(server.port) as browser:
                    return browser.get("/slow.php?ms=20000").status
            killed = threading.Thread(target=ask)
            killed.start()
            begun = wait_until(lambda: [r for r in records.read(path) if r.begun],
                               "the record of a request that runs", 10)
            os.kill(begun[0].one("RInitData")["pid"], signal.SIGKILL)
            killed.join()
            with Browser(server.port) as browser:
                self.get(browser, self.app.pages[0])
            records.wait_for(path, 1)
        self.assertEqual([(request.target, request.ended) for request in records.read(path)],
                         [("/slow.php?ms=20000", False), (self.app.pages[0].target, True)])
        self.assert_readable(path)

    # Outputs that take nothing

    @classmethod
    def seconds_per_page(cls, settings):
        """The median of the front page, and the slowest."""
        with cls.served(settings) as server, Browser(server.port) as browser:
            for page in cls.app.pages:
                cls.get(browser, page)
            times = [cls.get(browser, cls.app.pages[0]).seconds for _ in range(REQUESTS // 10)]
            return statistics.median(times), max(times)

    def assert_as_fast(self, output):
        cls = type(self)
        if cls.plain_seconds is None:
            cls.plain_seconds = self.seconds_per_page({})
        median, slowest = self.seconds_per_page({**recording("", **EVERYTHING), "qmsg.output": output})
        # An output that waits would stop the pages, or slow each by its time limit.
        self.assertLess(median, 3 * self.plain_seconds[0] + 1)
        self.assertLess(slowest, 3 * self.plain_seconds[1] + 5)

    def test_a_full_disk_changes_no_page(self):
        if os.geteuid() != 0:
            self.assert_as_fast("file:/dev/full")
            return
        full = self.folder / "full"
        full.mkdir()
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k,mode=1777", "tmpfs", full],
                                 capture_output=True, check=False)
        if mounted.returncode != 0:  # in a container
            self.assert_as_fast("file:/dev/full")
            return
        try:
            self.assert_as_fast(f"file:{full}/records.any")
            self.assertGreater(records.size(full / "records.any"), 0)
            requests = records.read(full / "records.any")
            self.assertGreater(len(requests), 0)
        finally:
            subprocess.run(["umount", full], check=True)
            full.rmdir()

    def test_no_agent_changes_no_page(self):
        self.assert_as_fast(f"unix:{self.folder}/nobody")

    def agent(self):
        agent = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.addCleanup(agent.close)
        path = self.recordings / f"{self.id().rpartition('.')[2]}.socket"
        agent.bind(str(path))
        path.chmod(0o777)
        agent.listen()
        return agent, f"unix:{path}"

    def test_an_agent_that_accepts_nobody_changes_no_page(self):
        _, output = self.agent()
        self.assert_as_fast(output)

    def test_an_agent_that_does_not_read_changes_no_page(self):
        agent, output = self.agent()
        accepted = []

        def accept():
            while True:
                try:
                    accepted.append(agent.accept()[0])
                except OSError:
                    return
        thread = threading.Thread(target=accept, daemon=True)
        thread.start()
        self.assert_as_fast(output)
        self.assertGreater(len(accepted), 0)
        for connection in accepted:
            connection.close()
