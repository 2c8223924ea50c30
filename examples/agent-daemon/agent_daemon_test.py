"""The daemon has each record that the agents sent once, whatever happens to the agents.

QMSG_AGENT, QMSG_DAEMON: the programs. The bytes that agents send are made here, by hand.
"""

import os
import pathlib
import re
import select
import signal
import subprocess
import tempfile
import time
import unittest

AGENT, DAEMON = os.environ["QMSG_AGENT"], os.environ["QMSG_DAEMON"]
PATIENCE = 60  # seconds, after which a test that hangs fails
EVENT, PROFILE = "quor.protobuf.Monitor.Event", "quor.protobuf.Tarq.Functions"


def varint(number):
    out = b""
    while number > 127:
        out += bytes([number & 127 | 128])
        number >>= 7
    return out + bytes([number])


def number(field, value):
    return varint(field << 3) + varint(value)


def text(field, content):
    return varint(field << 3 | 2) + varint(len(content)) + content


def in_spool(type_name, message):
    """A google.protobuf.Any after its length."""
    record = text(1, b"x/" + type_name.encode()) + text(2, message)
    return varint(len(record)) + record


def slow(milliseconds):
    """An event of a request that took so long; below one second."""
    return in_spool(EVENT, number(1, 2) + text(6, number(2, milliseconds * 1000000)))


def memory(used):
    return in_spool(EVENT, number(1, 3) + number(7, used))


def profile(*times_called):
    return in_spool(PROFILE, b"".join(text(2, text(2, b"f") + number(3, times))
                                      for times in times_called))


def account(**values):
    return {**dict.fromkeys(("logins", "records", "left out", "events", "memory", "profiles",
                             "calls"), "0"),
            "seconds": "0.000", **{name.replace("_", " "): str(value)
                                   for name, value in values.items()}}


class Daemon:
    def __init__(self, test):
        self.process = subprocess.Popen([DAEMON, "tcp://127.0.0.1:*", "tcp://127.0.0.1:*"],
                                        stdout=subprocess.PIPE)
        test.addCleanup(self.process.stdout.close)
        test.addCleanup(self.process.wait)
        test.addCleanup(self.process.kill)
        self.unread = b""
        self.uri = self.line().removeprefix("login at ")

    def line(self):
        end = time.monotonic() + PATIENCE
        while b"\n" not in self.unread:
            ready, _, _ = select.select([self.process.stdout], [], [], end - time.monotonic())
            more = os.read(self.process.stdout.fileno(), 65536) if ready else b""
            if not more:
                raise AssertionError(f"the daemon says no more than {self.unread}")
            self.unread += more
        line, _, self.unread = self.unread.partition(b"\n")
        return line.decode()

    def report(self, wanted=signal.SIGUSR1):
        """{host: {column: value}}"""
        self.process.send_signal(wanted)
        accounts = {}
        while (line := self.line()) != "end of report":
            host, _, columns = line.partition(": ")
            accounts[host] = dict(re.fullmatch(r"(.+) (\S+)", column).groups()
                                  for column in columns.split(", "))
        return accounts

    def wait_for(self, host, records):
        end = time.monotonic() + PATIENCE
        while self.report().get(host, account())["records"] != str(records):
            if time.monotonic() > end:
                raise AssertionError(f"{host} has not sent {records} records: {self.report()}")
            time.sleep(0.02)

    def end(self):
        accounts = self.report(signal.SIGTERM)
        assert self.process.wait(PATIENCE) == 0
        return accounts


class Agents(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.daemon = Daemon(self)

    def start(self, host, file="-", uri=None):
        agent = subprocess.Popen([AGENT, uri or self.daemon.uri, host, file], bufsize=0,
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE)
        self.addCleanup(agent.communicate)
        self.addCleanup(agent.kill)
        return agent

    def spool(self, name, *records):
        (self.folder / name).write_bytes(b"".join(records))
        return str(self.folder / name)

    def check_end(self, agent, status, output, errors):
        out, err = agent.communicate(timeout=PATIENCE)
        self.assertEqual((agent.returncode, out.decode(), err.decode()), (status, output, errors))

    def check_accounts(self, expected):
        """Returns how many records of each host came again."""
        accounts = self.daemon.end()
        again = {host: int(columns.pop("again")) for host, columns in accounts.items()}
        self.assertEqual(accounts, expected)
        return again

    def test_count_each_on_its_own_and_one_that_is_killed_once(self):
        # Agent k of four has 500 slow requests, 100 values of memory and 300 profiles.
        records = {f"web-{k}": [*(slow((i + k) % 1000) for i in range(500)),
                                *(memory(2**40 + k) for _ in range(100)),
                                *(profile(i, k) for i in range(300))] for k in range(4)}
        for sent in records.values():  # mixed, in an order that is the same each time
            sent.sort(key=lambda record: record[::-1])
        files = {host: self.spool(host, *sent) for host, sent in records.items()}
        others = [(host, self.start(host, files[host])) for host in records if host != "web-2"]

        killed = self.start("web-2")
        killed.stdin.write(b"".join(records["web-2"][:100]) + records["web-2"][100][:-1])
        self.daemon.wait_for("web-2", 100)
        killed.send_signal(signal.SIGKILL)
        self.assertEqual(killed.wait(PATIENCE), -signal.SIGKILL)
        restarted = self.start("web-2", files["web-2"])

        for host, agent in (*others, ("web-2", restarted)):
            self.check_end(agent, 0, f"{host}: the daemon has 900 records\n", "")
        again = self.check_accounts({
            f"web-{k}": account(logins=2 if k == 2 else 1, records=900, events=600,
                                seconds=f"{sum(range(k, 500 + k)) / 1000:.3f}",
                                memory=100 * (2**40 + k), profiles=300,
                                calls=sum(range(300)) + 300 * k)
            for k in range(4)})
        self.assertGreaterEqual(again["web-2"], 100)

    def test_lose_nothing_while_the_daemon_stands_still(self):
        agent = self.start("web-1")
        agent.stdin.write(memory(1) * 10)
        self.daemon.wait_for("web-1", 10)
        self.daemon.process.send_signal(signal.SIGSTOP)
        agent.stdin.write(memory(1) * 90)
        agent.stdin.close()
        agent.stdin = None
        time.sleep(2.5)  # it sends again after one second without an answer
        self.assertIsNone(agent.poll())
        self.daemon.process.send_signal(signal.SIGCONT)
        self.check_end(agent, 0, "web-1: the daemon has 100 records\n", "")
        again = self.check_accounts({"web-1": account(logins=1, records=100, events=100,
                                                      memory=100)})
        self.assertGreater(again["web-1"], 0)

    def test_of_one_name_end_when_the_next_logs_in(self):
        first = self.start("web-1")
        first.stdin.write(memory(1) * 5)
        self.daemon.wait_for("web-1", 5)
        self.check_end(self.start("web-1", self.spool("same", memory(1) * 7)), 0,
                       "web-1: the daemon has 7 records\n", "")
        first.stdin.write(memory(1))
        first.stdin.close()
        first.stdin = None
        self.check_end(first, 1, "", "agent: web-1: refused: the session is over: another agent of "
                       "this name has logged in\n")
        again = self.check_accounts({"web-1": account(logins=2, records=7, events=7, memory=7)})
        self.assertGreaterEqual(again["web-1"], 5)

    def test_of_one_name_do_not_pass_off_their_records_as_the_others(self):
        self.check_end(self.start("web-1", self.spool("one", memory(1), memory(2))), 0,
                       "web-1: the daemon has 2 records\n", "")
        self.check_end(self.start("web-1", self.spool("other", memory(1), memory(3))), 1, "",
                       "agent: web-1: refused: record 1 is not what it was before\n")
        self.check_accounts({"web-1": account(logins=2, records=2, events=2, memory=3)})

    def test_send_what_the_daemon_cannot_use_and_that_is_counted(self):
        # The second one is of another type; its bytes are those of a profile.
        sent = [memory(1), in_spool("quor.protobuf.Unheard", text(2, number(3, 5))),
                in_spool(EVENT, b"\x08"), in_spool(EVENT, text(2, b"\xff")), memory(2), profile()]
        self.check_end(self.start("web-1", self.spool("odd", *sent)), 0,
                       "web-1: the daemon has 6 records\n", "")
        self.check_accounts({"web-1": account(logins=1, records=6, left_out=3, events=2, memory=3,
                                              profiles=1)})

    def test_tell_of_a_damaged_file_after_what_came_before_it(self):
        self.check_end(self.start("web-1", self.spool("cut", memory(1), memory(2), memory(4)[:-1])),
                       1, "", "agent: web-1: the records are cut off or damaged: those before were "
                       "sent\n")
        self.check_accounts({"web-1": account(logins=1, records=2, events=2, memory=3)})

    def test_are_reported_as_the_readme_shows(self):
        lasting = in_spool(EVENT, number(1, 2) + text(6, number(1, 2) + number(2, 500000000)))
        self.check_end(self.start("web-1", self.spool("three", lasting, memory(4096), profile(7))),
                       0, "web-1: the daemon has 3 records\n", "")
        self.daemon.process.send_signal(signal.SIGTERM)
        report = self.daemon.line()
        self.assertRegex(report, "^web-1: logins 1")
        self.assertIn(f"\n{report}\n", pathlib.Path("README.md").read_text(encoding="utf-8"))

    def test_are_refused_without_a_name(self):
        self.check_end(self.start("", self.spool("none")), 1, "", "agent: : refused: a login is a "
                       "type and a quor.protobuf.Login.Login with a hostname\n")
        self.check_accounts({})

    def test_print_their_names_escaped(self):
        self.check_end(self.start("\x1b[2J", self.spool("none")), 0,
                       "\x1b[2J: the daemon has 0 records\n", "")
        self.check_accounts({r"\033[2J": account(logins=1)})

    def test_say_what_is_wrong_with_a_file_or_an_address(self):
        self.check_end(self.start("web-1", "none"), 1, "",
                       "agent: web-1: none: No such file or directory\n")
        self.check_end(self.start("web-1", self.spool("none"), uri="nowhere"), 1, "",
                       "agent: web-1: Invalid argument\n")
        done = subprocess.run([DAEMON, self.daemon.uri, "tcp://127.0.0.1:*"], capture_output=True,
                              text=True, timeout=PATIENCE, check=False)
        self.assertEqual((done.returncode, done.stderr), (
            1, f"daemon: {self.daemon.uri}, tcp://127.0.0.1:*: Address already in use\n"))
        for program in (AGENT, DAEMON):
            done = subprocess.run([program], capture_output=True, text=True, timeout=PATIENCE,
                                  check=False)
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertRegex(done.stderr, "^usage: ")


if __name__ == "__main__":
    unittest.main()
