"""What holds for each application on the web.

QMSG_MODULE: the extension; QMSG: the tool; QMSG_REQUESTS: how many requests the long tests send.
"""

import contextlib
import itertools
import os
import re
import urllib.parse

import records
from application import require
from browser import Browser
from servers import Served

REQUESTS = int(os.environ.get("QMSG_REQUESTS", "200"))

# What the server takes from both ends of a statement.
WITHOUT = "; \t\r\n"

# All that the extension can record.
EVERYTHING = {"qmsg.record": "all", "qmsg.functions": "exact", "qmsg.sql_literals": "1"}


def recording(path, **settings):
    """The settings of PHP with which the extension writes to a file."""
    return {"extension": os.environ["QMSG_MODULE"], "qmsg.output": f"file:{path}", **settings}


def first_difference(mine, theirs):
    """The part of the first line that differs, with what is before it; None if none differs."""
    for one, other in itertools.zip_longest(mine, theirs, fillvalue="(no line)"):
        if one != other:
            same = max(0, len(os.path.commonprefix([one, other])) - 80)
            return one[same:same + 160], other[same:same + 160]
    return None


class WebTests:
    """A class of tests has these for the application that its method `installed` installs."""

    @classmethod
    def setUpClass(cls):
        cls.folder, cls.database, cls.app = cls.installed()
        cls.recordings = cls.folder / f"recordings-{cls.__name__}"
        cls.recordings.mkdir()
        cls.recordings.chmod(0o1777)
        # The first visits fill the application's own caches.
        with cls.served({}) as server, Browser(server.port) as browser:
            cls.visit(browser)

    @classmethod
    @contextlib.contextmanager
    def served(cls, settings, **options):
        server = Served(cls.folder, cls.app.root, settings, **options)
        try:
            with server.running():
                yield server
        except BaseException:
            print(server.logs())
            raise

    @contextlib.contextmanager
    def recorded(self, **settings):
        """A server and the file that it records to."""
        path = self.recordings / f"{self.id().rpartition('.')[2]}.any"
        with self.served(recording(path, **settings)) as server:
            yield server, path

    @classmethod
    def visit(cls, browser):
        """The responses of all pages, each with its page."""
        visited = [(page, cls.get(browser, page)) for page in cls.app.pages]
        cls.app.log_in(browser)
        return visited + [(page, cls.get(browser, page)) for page in cls.app.pages_after_login]

    @staticmethod
    def get(browser, page):
        return require(browser.get(page.target), page.text, page.target, page.status)

    def assert_readable(self, path):
        self.assertEqual(records.complaints(path), [])

    # The pages

    def looks(self, browser):
        """What is compared of each page."""
        return {page.target: [str(response.status), *sorted(map(str.lower, response.headers)),
                              *self.app.lasting(response.body).splitlines()]
                for page, response in self.visit(browser)}

    def assert_same_pages(self, looks, expected, message):
        for target, look in looks.items():
            with self.subTest(target):
                if difference := first_difference(look, expected[target]):
                    self.fail("{}: {!r}, not {!r}".format(message, *difference))

    def test_pages_are_as_without_the_extension(self):
        with self.served({}) as server, Browser(server.port) as browser:
            plain = self.looks(browser)
        with self.served({}) as server, Browser(server.port) as browser:
            self.assert_same_pages(self.looks(browser), plain, "without the extension, a second time")
        with self.recorded(**EVERYTHING) as (server, path), Browser(server.port) as browser:
            self.assert_same_pages(self.looks(browser), plain, "with the extension")
        self.assert_readable(path)

    # The records

    def test_records_each_request(self):
        with self.recorded() as (server, path), Browser(server.port) as browser:
            visited = [(page, self.get(browser, page)) for page in self.app.pages]
            recorded = records.wait_for(path, len(visited))
            workers = server.fpm.worker_pids()
        self.assert_readable(path)
        self.assertEqual(len(recorded), len(visited))
        for request, (page, response) in zip(recorded, visited):
            with self.subTest(page.target):
                begin, end = request.one("RInitData"), request.one("RShutdownData")
                self.assertEqual((begin["method"], begin["target"], end["http_response_code"]),
                                 ("GET", page.target, page.status))
                self.assertIn(begin["pid"], workers)
                self.assertLess(0, records.seconds(end["total_time"]))
                # The end is recorded after the response is sent.
                self.assertLess(records.seconds(end["total_time"]), response.seconds + 0.1)
                memory = int(end["memory_usage"]), int(end["memory_peak_usage"])
                self.assertTrue(0 < memory[0] <= memory[1], memory)

    def test_records_the_statements_that_the_database_runs(self):
        if self.app.database_user is None:
            self.skipTest("it has no MariaDB")
        with self.recorded(**{"qmsg.sql_literals": "1"}) as (server, path), \
                Browser(server.port) as browser:
            for page in self.app.pages:
                self.compare_statements_of(page, browser, path)
            self.app.log_in(browser)
            for page in self.app.pages_after_login:
                self.compare_statements_of(page, browser, path)

    def compare_statements_of(self, page, browser, path):
        with self.database.log_of(self.app.database_user) as logged:
            response = self.get(browser, page)
            [request] = records.wait_for_target(path, page.target)
            self.assert_readable(path)
            os.truncate(path, 0)
        with self.subTest(page.target):
            self.compare_statements(request.statements, logged, response.seconds)

    def compare_statements(self, recorded, logged, longest):
        # The driver sends this one itself.
        logged = [statement for statement in logged if statement.text != "SET NAMES utf8mb4"]
        for number, (mine, theirs) in enumerate(zip(recorded, logged)):
            text = mine["query"].strip(WITHOUT)
            pattern = ".*".join(map(re.escape, text.removesuffix("...").split("[redacted]")))
            self.assertTrue(re.fullmatch(pattern + (".*" if text.endswith("...") else ""),
                                         theirs.text.strip(WITHOUT), re.DOTALL),
                            f"statement {number}: {text!r} is recorded, {theirs.text!r} is in the log")
            if re.match(r"\(?(SELECT|INSERT|UPDATE|DELETE|REPLACE)\b", text, re.IGNORECASE):
                # The server does not count the rows of all others.
                self.assertEqual(mine.get("rows", 0), theirs.rows_sent or theirs.rows_affected, text)
            frames = mine["stack_trace"]["frames"]
            self.assertTrue(frames[-1]["file_name"].startswith(str(self.app.root)), frames)
        # The server ends its measurement after it has sent the result.
        duration = sum(records.seconds(mine["duration"]) for mine in recorded)
        self.assertLessEqual(sum(theirs.seconds for theirs in logged) / 2, duration)
        self.assertLess(duration, longest)
        self.assertEqual([mine["query"] for mine in recorded[len(logged):]], [])
        self.assertEqual([theirs.text for theirs in logged[len(recorded):]], [])

    def test_records_no_secret(self):
        with self.recorded(**EVERYTHING, **self.app.settings) as (server, path), \
                Browser(server.port) as browser:
            visited = self.visit(browser)
            records.wait_for(path, len(visited))
            secrets = dict(self.app.secrets)
            for name, value in browser.cookies.items():
                if len(value) > 12:  # others are names and times, which pages have, too
                    secrets[f"the cookie {name}"] = value
        recorded = path.read_bytes()
        # The search would find them: it finds what is no secret.
        self.assertIn(self.app.pages[0].target.encode(), recorded)
        found = {}
        for what, value in secrets.items():
            for form in {value, urllib.parse.unquote(value), urllib.parse.quote(value)}:
                if (count := recorded.count(form.encode())) > 0:
                    found[what] = count
        self.assertEqual(found, {})
