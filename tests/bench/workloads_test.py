"""The workloads are as bench/workloads.h says, and the same in every process."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

SIZES = {"SqlQuery": 1200, "SqlQueries": 125000, "Functions": 205000, "JobList": 175000,
         "Event": 2000, "Text": 180000}


def write(folder):
    subprocess.run([os.environ["QMSG_WORKLOADS"], folder], check=True)
    return {path.name: path.read_bytes() for path in pathlib.Path(folder).iterdir()}


class Workloads(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.files = write(cls.enterClassContext(tempfile.TemporaryDirectory()))

    def json(self, name):
        return json.loads(self.files[f"{name}.json"])

    def test_are_six_each_encoded_and_as_json(self):
        self.assertEqual(set(self.files), {f"{name}.{form}" for name in SIZES
                                           for form in ("pb", "json")})

    def test_have_the_same_bytes_in_every_process(self):
        with tempfile.TemporaryDirectory() as folder:
            again = write(folder)
        for name in SIZES:
            with self.subTest(name):
                self.assertEqual(again[f"{name}.pb"], self.files[f"{name}.pb"])

    def test_have_the_size_that_the_header_tells(self):
        for name, size in SIZES.items():
            with self.subTest(name):
                self.assertAlmostEqual(len(self.files[f"{name}.pb"]), size, delta=size / 20)

    def test_have_as_many_elements_as_the_header_tells(self):
        statements = self.json("SqlQueries")["queries"]
        self.assertEqual(len(statements), 100)
        self.assertTrue(all(statement["stack_trace"]["frames"] for statement in statements))
        self.assertEqual(len(self.json("Functions")["functions"]), 2000)
        jobs = self.json("JobList")["jobs"]
        self.assertEqual(len(jobs), 500)
        self.assertEqual({len(job["attr_list"]["attr_list"]) for job in jobs}, {4})

    def test_have_texts_of_three_scripts_in_equal_number(self):
        passages = [passage for entry in self.json("Text")["storage"] for passage in entry["data"]]
        self.assertEqual(len(passages), 300)
        for first, last in (("\u0400", "\u04ff"), ("\u4e00", "\u9fff")):
            with self.subTest(first):
                self.assertEqual(sum(first <= passage[0] <= last for passage in passages), 100)


if __name__ == "__main__":
    unittest.main()
