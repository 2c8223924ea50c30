"""Usage: run.py [--quick] [APPLICATION...]
Installs applications, serves them with the extension, and checks pages and records.
QMSG_MODULE: the extension; QMSG: the tool."""

import argparse
import contextlib
import functools
import importlib
import os
import signal
import sys
import time
import unittest

from servers import Database, working_folder

WEB = ("wordpress", "dokuwiki", "phpmyadmin", "mediawiki")
COMMANDS = ("composer", "phpunit")
PARTS = ("mysqli",)
ALL = WEB + COMMANDS + PARTS


class Result(unittest.TextTestResult):
    """Says how long each test took."""

    def startTest(self, test):
        self._start = time.monotonic()
        super().startTest(test)

    def addSuccess(self, test):
        self.stream.write(f"{time.monotonic() - self._start:5.1f} s ")
        super().addSuccess(test)

    def getDescription(self, test):
        if not hasattr(test, "_testMethodName") or "SubTest" in type(test).__name__:
            return f"{self.getDescription(test.test_case)} {test._subDescription()}"
        name = getattr(test, "PROGRAM", type(test).__name__)
        return f"{name}: {test._testMethodName.removeprefix('test_').replace('_', ' ')}"


class Surroundings:
    """What the applications share, made when the first one needs it."""

    def __init__(self, stack):
        self._stack = stack

    @functools.cached_property
    def folder(self):
        return self._stack.enter_context(working_folder())

    @functools.cached_property
    def database(self):
        return self._stack.enter_context(Database(self.folder).running())


def web_tests(name, surroundings):
    from endurance_tests import EnduranceTests  # read QMSG_REQUESTS
    from web_tests import WebTests

    def installed():
        module = importlib.import_module(name)
        database = surroundings.database if module.NEEDS_DATABASE else None
        return surroundings.folder, database, module.install(surroundings.folder, database)
    return type(name, (EnduranceTests, WebTests, unittest.TestCase),
                {"installed": staticmethod(installed), "__module__": __name__})


def main():
    parser = argparse.ArgumentParser(prog="./dev apps", description=__doc__.split("\n", 1)[1])
    parser.add_argument("--quick", action="store_true", help="send fewer requests")
    parser.add_argument("--only", metavar="TEXT", help="run the tests with TEXT in their names")
    parser.add_argument("apps", nargs="*", metavar="APPLICATION",
                        help="one of " + ", ".join(ALL) + "; without any, all")
    options = parser.parse_args()
    for name in options.apps:
        if name not in ALL:
            parser.error(f"there is no '{name}'. There are {', '.join(ALL)}")
    os.environ["QMSG_REQUESTS"] = "200" if options.quick else "2000"
    # unittest goes on after any other exception.
    signal.signal(signal.SIGTERM, signal.default_int_handler)

    loader = unittest.TestLoader()
    if options.only:
        loader.testNamePatterns = [f"*{options.only}*"]
    with contextlib.ExitStack() as stack:
        surroundings = Surroundings(stack)
        suite = unittest.TestSuite()
        for name in options.apps or ALL:
            if name in WEB:
                tests = web_tests(name, surroundings)
            elif name in COMMANDS:
                tests = importlib.import_module(name).Tests
            else:
                tests = importlib.import_module(name).tests(surroundings)
            suite.addTests(loader.loadTestsFromTestCase(tests))
        try:
            result = unittest.TextTestRunner(verbosity=2, resultclass=Result).run(suite)
        except KeyboardInterrupt:
            sys.exit("./dev apps: interrupted")
    sys.exit(not result.wasSuccessful())


if __name__ == "__main__":
    main()
