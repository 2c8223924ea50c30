"""Every promise of the page names tests, and every test is named."""

import json
import os
import re
import subprocess
import unittest

from support import PAGE, ROOT, SANITIZED, blocks, rows

HOSTS = r"(plain_host|protobuf_host)\."


def tests_that_exist():
    """Without the host that a test runs in, and without its parameter."""
    listed = subprocess.run(
        [os.environ["QMSG_CTEST"], "--test-dir", os.environ["QMSG_BUILD"], "--show-only=json-v1"],
        capture_output=True, text=True, check=True)
    names = [test["name"] for test in json.loads(listed.stdout)["tests"]]
    return {re.sub(HOSTS, "", name.removeprefix("embedding.")).split("/")[0]
            for name in names if name.startswith("embedding.")}


def promises():
    """What stands in the page's tables, and which tests each row names."""
    return {row[0]: re.findall(r"`([\w.]+)`", row[-1]) for row in rows(PAGE.read_text())}


class Page(unittest.TestCase):
    def test_every_row_names_the_tests_that_hold_it(self):
        self.assertGreater(len(promises()), 20)
        self.assertEqual([promise for promise, tests in promises().items() if not tests], [])

    def test_the_page_names_the_tests_that_exist(self):
        on_page = {test for tests in promises().values() for test in tests}
        exist = tests_that_exist() - {"Page"}
        self.assertEqual(exist - on_page, set(), "not on the page")
        if not SANITIZED:  # Some make no sense there.
            self.assertEqual(on_page - exist, set(), "only on the page")

    def test_the_warm_up_is_the_one_that_is_tested(self):
        source = (ROOT / "examples/warm-up/warm_up.cc").read_text()
        self.assertIn(source.split('#include "warm_up.h"\n\n')[1].strip(),
                      [block.strip() for block in blocks(PAGE, "cpp")])


if __name__ == "__main__":
    unittest.main()
