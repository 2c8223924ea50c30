"""mysqli and PDO with MariaDB, by the .phpt file that needs the server."""

import os
import pathlib
import subprocess
import unittest

RUN = pathlib.Path(__file__).resolve().parents[1] / "tests" / "run.sh"


def tests(surroundings):
    class Tests(unittest.TestCase):
        def test_statements_of_mysqli_are_recorded(self):
            database = surroundings.database
            environment = {**os.environ, "QMSG_MYSQL_SOCKET": str(database.socket),
                           "MYSQL_PWD": database.create("qmsg")}
            run = subprocess.run(
                [RUN, os.environ["QMSG_MODULE"], "php-config", os.environ["QMSG"],
                 RUN.parent / "sql_mysqli.phpt"],
                capture_output=True, text=True, check=False, env=environment, timeout=120)
            self.assertIn("PASS", run.stdout, run.stdout + run.stderr)

    Tests.__name__ = "mysqli"
    return Tests
