"""./dev bench from beginning to end, on fake programs, and its messages for mistakes."""

import contextlib
import io
import os
import pathlib
import tempfile
import unittest
from unittest import mock

import support

import bench
import run
import tool
from run import Failure


class BuildFolder(unittest.TestCase):
    """All tests of a class use the same build folder."""

    @classmethod
    def setUpClass(cls):
        cls.build = pathlib.Path(cls.enterClassContext(
            tempfile.TemporaryDirectory(prefix="build folder ")))
        support.make_build_folder(cls.build)
        cls.enterClassContext(support.allocators(other="libm.so.6", absent="libqmsg-no-such.so"))
        cls.enterClassContext(mock.patch.object(bench, "DOCS", cls.build / "no documents"))
        effort = bench.Effort(quick=True)
        effort.rounds = effort.starts = 2
        cls.enterClassContext(mock.patch.object(bench, "Effort", return_value=effort))
        cls.enterClassContext(mock.patch.object(os, "sync"))
        cls.enterClassContext(mock.patch.object(
            tool, "seconds", side_effect=lambda command: 4 if command[0] == "protoc" else 1))

    @classmethod
    def bench(cls, *arguments):
        """(status, printed text)"""
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed), contextlib.redirect_stderr(io.StringIO()):
            status = bench.main([*arguments, str(cls.build)])
        return status, printed.getvalue()


class Filter(BuildFolder):
    def test_prints_only_its_rows_and_writes_nothing(self):
        before = sorted(self.build.iterdir())
        status, printed = self.bench("--quick", "--filter", "^(size|copy)/Ev")
        rows = [line.split() for line in printed.splitlines()[1:]]
        self.assertEqual(status, 0)
        self.assertEqual(rows, [["size/Event", "2.00", "2.00", "to", "2.00"],
                                ["copy/Event", "2.00", "2.00", "to", "2.00"]])
        self.assertEqual(sorted(self.build.iterdir()), before)


class Page(BuildFolder):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.status = cls.bench("--quick")[0]
        cls.page = (cls.build / "performance.md").read_text()

    def charts(self):
        return {chart.name: chart.read_bytes()
                for chart in (self.build / "performance").iterdir()}

    def test_has_all_figures(self):
        self.assertEqual(self.status, 0)
        cell = "2.00<br><sub>2.00 to 2.00</sub>"
        for line in (
                "| `SqlQuery` | one SQL statement with the stack that ran it | 1.00 KB |",
                f"| `parse_arena` |{f' {cell} |' * 6} **2.00** |",
                f"| `merge` |{' 1,000 / 500 |' * 6}",
                f"| `merge` |{' 1.00 M / 500 k |' * 6}",
                "| 4.00 KB | 1.00 | 2.00 | 1.00 | 2.00 |",
                "| power of the size | 1.00 | 1.00 | 1.00 | 1.00 |",
                "| `dlopen`, all functions bound at once (`RTLD_NOW`), µs | 3.00 | 6.00 | 0.50 |",
                "| private memory that it adds, KiB | 20.0 | 40.0 | 0.50 |",
                "| malloc of the C library | 1,000 | 500 | 2.00 | 2.00 |",
                "| other, `LD_PRELOAD=libm.so.6` | 2,000 | 1,000 | 2.00 | 4.00 |",
                "| `qmsg check` | 2.00 |",
                "| `protoc --decode`, one message | 0.50 |",
                "`qmsg decode --to text`, one message, is 4.0 times as fast as `protoc --decode`, "
                "one message.",
                "| memcpy, `copy` | 10,000 | – | – | – | – | – | – |",
                f"| someone |{' 250 |' * 7}",
                "Not measured: nobody: its compiler is missing."):
            self.assertIn(f"\n{line}\n", self.page)
        self.assertIn("GCC 1.2, protobuf 3.21.9", self.page)

    def test_names_neither_missing_allocators_nor_folders_of_this_machine(self):
        self.assertNotIn("absent", self.page)
        self.assertNotIn(str(self.build), self.page)

    def test_shows_charts_that_are_the_same_each_time(self):
        before = self.charts()
        self.assertEqual(set(before), {"operations.svg", "growth.svg", "implementations.svg"})
        for name in before:
            self.assertIn(f"(performance/{name})", self.page)
        self.assertIn(b">someone<", before["implementations.svg"])
        self.bench("--quick", "--report-only")
        self.assertEqual(self.charts(), before)

    def test_is_a_document_only_after_a_full_run(self):
        with tempfile.TemporaryDirectory() as docs:
            with mock.patch.object(bench, "DOCS", pathlib.Path(docs)):
                self.bench("--quick", "--report-only")
                self.assertEqual(os.listdir(docs), [])
                self.bench("--report-only")
                self.assertEqual(sorted(os.listdir(docs)), ["performance", "performance.md"])

    def test_is_followed_by_the_gate(self):
        self.assertEqual(self.bench("--gate"), (0, "All targets are met.\n"))
        with mock.patch.dict("gate.OPERATION_TARGETS", serialise=2.5):
            self.assertEqual(self.bench("--gate"),
                             (1, "serialise, geometric mean: 2.000, wanted at least 2.5\n"))


class Mistakes(BuildFolder):
    def setUp(self):
        self.enterContext(mock.patch.dict(os.environ))

    def test_a_filter_that_matches_nothing(self):
        with self.assertRaisesRegex(Failure, "no row matches 'Sqlquery'. Rows are such as "):
            self.bench("--filter", "Sqlquery")

    def test_a_filter_that_is_not_a_regular_expression(self):
        with self.assertRaises(SystemExit) as ended:
            self.bench("--filter", "(")
        self.assertEqual(ended.exception.code, 2)

    def test_programs_that_fail_or_print_the_wrong_thing(self):
        for mistake, complaint in (
                ("status", "bench_qmsg' --benchmark_list_tests=true\nended with status 1: "
                           "out of order"),
                ("operation", "bench_qmsg failed at parse/Event: refused"),
                ("missing", "bench_qmsg does not measure parse/Event"),
                ("text", "bench_qmsg did not print JSON: no JSON")):
            with self.subTest(mistake):
                os.environ["FAKE_MISTAKE"] = mistake
                with self.assertRaisesRegex(Failure, complaint):
                    self.bench("--filter", "^parse/Event")

    def test_other_programs_that_print_the_wrong_thing(self):
        for mistake, complaint in (
                ("startup", "bench_startup printed no time and memory: fast"),
                ("implementation", r"implementation' did not print a measurement: 'SqlQuery.*parse'"),
                ("implementation workload",
                 r"implementation' did not print a measurement: 'Sql.*3'")):
            with self.subTest(mistake):
                os.environ["FAKE_MISTAKE"] = mistake
                with self.assertRaisesRegex(Failure, complaint):
                    self.bench("--quick")
                self.assertFalse((self.build / "results.json").exists())

    def test_a_program_that_is_not_built(self):
        with mock.patch.object(support, "PROGRAMS", ()), tempfile.TemporaryDirectory() as empty:
            support.make_build_folder(pathlib.Path(empty))
            with self.assertRaisesRegex(Failure, "cannot run .*bench_qmsg: No such file"):
                bench.main(["--filter", "parse", empty])

    def test_a_list_of_implementations_with_a_line_that_names_none(self):
        listed = self.build / "several.txt"
        listed.write_text("one\tcommand\ntwo command\n")
        with self.assertRaisesRegex(Failure, "several.txt, line 2: .*'two command'"):
            run.listed_implementations(listed)

    def test_results_that_are_missing_or_incomplete(self):
        with self.assertRaisesRegex(Failure, "results.json does not exist. First: ./dev bench"):
            self.bench("--gate")
        results = self.build / "results.json"
        self.addCleanup(results.unlink)
        results.write_text('{"date": ')
        with self.assertRaisesRegex(Failure, "results.json cannot be read: "):
            self.bench("--report-only")


class Running(unittest.TestCase):
    def test_sides_take_turns_and_swap_their_order(self):
        self.assertEqual(list(run.alternate(3, ("a", "b"))), ["a", "b", "b", "a", "a", "b"])

    def test_a_tool_that_fails_is_reported(self):
        with self.assertRaisesRegex(Failure, "^sh -c .* ended with status 1: out of order"):
            tool.seconds(("sh", "-c", "cat >&2; false", self.given("out of order")))

    def test_a_tool_reads_its_file_as_standard_input(self):
        self.assertGreater(tool.seconds(("grep", "--quiet", "^given$", self.given("given"))), 0)

    def given(self, text):
        file = tempfile.NamedTemporaryFile("w", buffering=1)
        self.addCleanup(file.close)
        print(text, file=file)
        return file.name

    def test_relocations_without_a_symbol_do_not_count(self):
        printed = """
Relocation section '.rela.dyn' at offset 0x59980 contains 3 entries:
    Offset             Info             Type               Symbol's Value  Symbol's Name + Addend
00000000000e4680  0000000000000008 R_X86_64_RELATIVE                         cd340
00000000000e7500  0000000100000006 R_X86_64_GLOB_DAT      0000000000000000 memcpy@GLIBC_2.14 + 0
00000000000e8fc0  0000025100000001 R_X86_64_64            00000000000e8fc0 table + 10
"""
        with mock.patch.object(run, "output", return_value=printed):
            self.assertEqual(run.relocations("library"), 2)
        with mock.patch.object(run, "output", return_value="There are no relocations.\n"):
            with self.assertRaisesRegex(Failure, "readelf sees no relocations in library"):
                run.relocations("library")


if __name__ == "__main__":
    unittest.main()
