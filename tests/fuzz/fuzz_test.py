"""The runner, on its own and with programs that play the part of the fuzz program."""

import contextlib
import io
import os
import pathlib
import tempfile
import textwrap
import unittest

import fuzz
import seeds
import vectors

DESCRIPTOR_SET = pathlib.Path(os.environ["QMSG_DESCRIPTOR_SET"]).read_bytes()
MESSAGES = fuzz.messages_of(DESCRIPTOR_SET)
ERRORS = ["quor.protobuf.QuorPHP.Error", "quor.protobuf.Tarq.Error"]


class Types(unittest.TestCase):
    def test_all_are_meant_if_none_is_given(self):
        self.assertEqual(len(fuzz.find_types(MESSAGES, None)), 49)

    def test_a_full_name_or_its_end_says_which(self):
        for wanted in ("quor.protobuf.Tarq.SqlQuery", "Tarq.SqlQuery", "SqlQuery"):
            with self.subTest(wanted):
                self.assertEqual(fuzz.find_types(MESSAGES, wanted),
                                 ["quor.protobuf.Tarq.SqlQuery"])

    def test_an_end_of_two_names_is_refused_with_both(self):
        with self.assertRaisesRegex(fuzz.Wrong, "may be any of: " + ", ".join(ERRORS) + "$"):
            fuzz.find_types(MESSAGES, "Error")
        self.assertEqual(fuzz.find_types(MESSAGES, "Tarq.Error"), ERRORS[1:])

    def test_a_wrong_name_is_refused_with_those_near_to_it(self):
        with self.assertRaisesRegex(fuzz.Wrong, "Near to it: .*quor.protobuf.Tarq.SqlQueries"):
            fuzz.find_types(MESSAGES, "sqlqueris")
        with self.assertRaisesRegex(fuzz.Wrong, "There are: quor.protobuf.CT.Header, "):
            fuzz.find_types(MESSAGES, "xxxxxxxx")

    def test_well_known_types_are_not_the_library_s(self):
        for wanted in ("Timestamp", "google.protobuf.Duration", "Query", "rror"):
            with self.subTest(wanted), self.assertRaises(fuzz.Wrong):
                fuzz.find_types(MESSAGES, wanted)


class Dictionary(unittest.TestCase):
    def test_has_the_tags_of_a_message(self):
        self.assertEqual(fuzz.tags(MESSAGES, "quor.protobuf.QuorPHP.Error"), [b"\x08", b"\x12"])

    def test_has_the_tags_of_what_is_in_a_message_and_in_its_maps(self):
        # Entries: 08 12. Values: 08 10 1a 20 29 32 3a. Points in time: 08 10.
        self.assertEqual(b"".join(fuzz.tags(MESSAGES, "quor.protobuf.JQ.AttrList")),
                         bytes.fromhex("08 0a 10 12 1a 20 29 32 3a"))

    def test_is_in_the_form_of_the_fuzz_program(self):
        lines = fuzz.dictionary(MESSAGES, "quor.protobuf.Login.Login").splitlines()
        self.assertEqual(lines[0], r'"\x0a"')
        for line in lines:
            self.assertRegex(line, r'^"(\\x[0-9a-f]{2})+"$')


class Seeds(unittest.TestCase):
    CASES = [vectors.Case("quorphp.txt", 7, "", "quor.protobuf.QuorPHP.QVal", b"\x10\1", None, {},
                          "", b"")]

    def test_are_the_vectors_of_a_type(self):
        self.assertEqual(seeds.seeds_of_all(self.CASES)["quor.protobuf.QuorPHP.QVal"],
                         {"quorphp-7": b"\x10\1"})

    def test_are_those_of_its_parts_at_any_depth(self):
        # Arrays are field 2 of a function, values 1 of an array and 3 of an array's value.
        self.assertEqual(seeds.seeds_of_all(self.CASES)["quor.protobuf.Monitor.FunctionData"],
                         {"function_args.values.value.quorphp-7":
                          bytes.fromhex("12 06 0a 04 1a 02 10 01")})

    def test_are_also_the_values_of_maps(self):
        self.assertEqual(seeds.seeds_of_all(self.CASES)["quor.protobuf.JQ.Queue"],
                         {"attr_list.attr_list.quorphp-7":
                          bytes.fromhex("22 08 0a 06 08 05 12 02 10 01")})

    def test_are_there_for_each_type(self):
        all_seeds = seeds.seeds_of_all(vectors.load_all())
        self.assertEqual(sorted(all_seeds), fuzz.find_types(MESSAGES, None))
        self.assertEqual([name for name, found in all_seeds.items() if not found], [])

    def test_are_written_anew(self):
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder) / "quor.protobuf.Login.Config"
            folder.mkdir()
            (folder / "old").touch()
            self.assertEqual(seeds.write(folder.parent, [folder.name]), len(list(folder.iterdir())))
            self.assertFalse((folder / "old").exists())
            self.assertEqual(list(folder.parent.iterdir()), [folder])


class Arguments(unittest.TestCase):
    def test_are_a_type_and_seconds_or_one_of_them(self):
        for given, expected in (([], (None, 10)), (["Job"], ("Job", 10)), (["3"], (None, 3)),
                                (["Job", "3"], ("Job", 3))):
            with self.subTest(given):
                options = fuzz.arguments(["build", *given])
                self.assertEqual((options.type, options.seconds), expected)
                self.assertFalse(options.tool)
                options = fuzz.arguments(["build", "--tool", *given])
                self.assertEqual((options.type, options.seconds), expected)
                self.assertTrue(options.tool)

    def test_that_are_no_seconds_are_refused(self):
        for given in (["Job", "x"], ["Job", "0"], ["3", "Job"], ["Job", "3", "4"], ["0"]):
            with self.subTest(given), self.assertRaises(fuzz.Wrong):
                fuzz.arguments(["build", *given])


class Table(unittest.TestCase):
    def test_adds_up(self):
        outcomes = [fuzz.Outcome("quor.protobuf.JQ.Job", 12345, 6000, 100, 7, ["crash-1"]),
                    fuzz.Outcome("quor.protobuf.JQ.JobList", 655, 300, 2000, 0, failure="ends")]
        self.assertEqual(fuzz.table(outcomes, 4), textwrap.dedent("""\
            type          executions  a second  edges  new inputs  findings
            JQ.Job            12,345     6,000    100           7         1
            JQ.JobList           655       300  2,000           0         1
            ---------------------------------------------------------------
            2 types, 4 s      13,000     3,250                  7         2"""))


class Runs(unittest.TestCase):
    """A program in the place of the real one: what it says and leaves behind is known."""

    def run_with(self, script, *options):
        """Exit status, what was printed and the build folder after a run of QuorPHP.Error."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        build = pathlib.Path(folder.name) / "a build"
        for file, content in (("src/generated/qmsg.desc", DESCRIPTOR_SET),
                              ("tests/fuzz/fuzz", b"#!/bin/sh\n" + script.encode())):
            (build / file).parent.mkdir(parents=True)
            (build / file).write_bytes(content)
        (build / "tests/fuzz/fuzz").chmod(0o755)
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            status = fuzz.main([str(build), *options, "QuorPHP.Error", "2"])
        return status, printed.getvalue(), build

    GOOD = """
        printf '%s\\n' "$@" >"$2/../../given"
        echo '#5 INITED cov: 11 ft: 12' >&2
        echo '#9 DONE   cov: 34 ft: 56 corp: 7/8b' >&2
        echo 'stat::number_of_executed_units: 1234' >&2
        echo 'stat::average_exec_per_sec:     617' >&2
        touch "$2/one" "$2/two"
    """

    def test_that_find_nothing_are_a_row_of_the_table(self):
        status, printed, build = self.run_with(self.GOOD)
        self.assertFalse(status)
        self.assertRegex(printed, r"(?m)^QuorPHP.Error +1,234 +617 +34 +2 +0$")
        given = (build / "given").read_text().splitlines()
        self.assertEqual(given[0], "--type=quor.protobuf.QuorPHP.Error")
        self.assertNotIn("--tool", given)
        self.assertIn("-max_total_time=2", given)
        self.assertTrue(any(pathlib.Path(given[2]).iterdir()), "no seeds")
        words = next(argument for argument in given if argument.startswith("-dict="))
        self.assertIn(r'"\x12"', pathlib.Path(words.partition("=")[2]).read_text())

    FINDING = """
        echo "quor.protobuf.QuorPHP.Error: Copied" >&2
        echo "  bytes     none" >&2
        echo "== 1 == ERROR: libFuzzer: deadly signal" >&2
        for argument; do case $argument in
          -artifact_prefix=*) file=${argument#*=}crash-1; echo x >"$file" ;;
        esac; done
        echo "artifact_prefix='x'; Test unit written to $file" >&2
        exit 77
    """

    def test_that_find_something_say_what_and_how_to_see_it_again(self):
        status, printed, build = self.run_with(self.FINDING)
        self.assertTrue(status)
        file = build / "findings/quor.protobuf.QuorPHP.Error/crash-1"
        self.assertIn(f"quor.protobuf.QuorPHP.Error: a finding, {file}\n", printed)
        self.assertIn(f"{build}/tests/fuzz/replay {file}\n", printed)
        self.assertIn("  | quor.protobuf.QuorPHP.Error: Copied\n  |   bytes     none\n  all",
                      printed)
        self.assertRegex(printed, r"(?m)^QuorPHP.Error .* 1$")

    def test_of_the_tool_say_so_to_both_programs_and_keep_what_they_find_apart(self):
        status, printed, build = self.run_with(
            """printf '%s\\n' "$@" >"${0%/*}/given"\n""" + self.FINDING, "--tool")
        self.assertTrue(status)
        kept = build / "tool"
        name = "quor.protobuf.QuorPHP.Error"
        given = (build / "tests/fuzz/given").read_text().splitlines()
        self.assertEqual(given[:4], [f"--type={name}", "--tool", str(kept / "corpora" / name),
                                     str(build / "seeds" / name)])
        self.assertTrue(any((build / "seeds" / name).iterdir()), "no seeds")
        file = kept / "findings" / name / "crash-1"
        self.assertIn(f"{build}/tests/fuzz/replay --tool {file}\n", printed)
        self.assertIn(f"{build}/tests/fuzz/fuzz --type={name} --tool -minimize_crash=1", printed)
        self.assertIn(f"{kept}/logs/{name}/log", printed)
        self.assertFalse((build / "corpora").exists())

    def test_that_end_without_an_input_are_a_failure(self):
        status, printed, _ = self.run_with("echo 'no such library' >&2; exit 127")
        self.assertTrue(status)
        self.assertIn("quor.protobuf.QuorPHP.Error: ends with status 127", printed)
        self.assertIn("  | no such library\n", printed)

    def test_that_execute_nothing_are_a_failure(self):
        status, printed, _ = self.run_with("exit 0")
        self.assertTrue(status)
        self.assertIn("quor.protobuf.QuorPHP.Error: executed nothing", printed)


class Explanation(unittest.TestCase):
    def test_is_a_disagreement_or_a_report_of_the_runtime_or_a_sanitizer(self):
        for line in ("[libprotobuf FATAL a.cc:1] CHECK failed: (1) == (2)",
                     "a.cc:1:2: runtime error: signed integer overflow",
                     "==7==ERROR: AddressSanitizer: heap-use-after-free on address 0x1",
                     "==7== ERROR: libFuzzer: timeout after 11 seconds"):
            with self.subTest(line):
                self.assertEqual(fuzz.explanation(f"INFO: x\n#1 NEW\n{line}\nmore\n"), line)


if __name__ == "__main__":
    unittest.main()
