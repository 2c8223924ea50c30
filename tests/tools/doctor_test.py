"""qmsg doctor finds the faults of an installation, and survives them."""

import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import tool

LIBRARY = os.path.realpath(os.environ["QMSG_LIBRARY"])
VERSION = os.environ["QMSG_VERSION"]
EMBEDDING = pathlib.Path(os.environ["QMSG_EMBEDDING"])
BAD_OBJECTS = pathlib.Path(os.environ["QMSG_BAD_OBJECTS"])

SCHEMAS = ["codetrace.proto", "config.proto", "login.proto", "quorphp.proto", "jobqueue.proto",
           "monitor.proto", "tarq.proto"]
KEYS = {"level", "subject", "object", "text", "advice"}
LEVELS = {"ok", "note", "warning", "error"}
SUBJECTS = {"tool", "library", "runtime", "load", "schema", "names", "python"}
# With debug information it is so large that each trial takes long.
LARGE = os.path.getsize(LIBRARY) > 16 << 20
FILE_EXISTS = "File already exists in database: "


def neighbour(name):
    return str(EMBEDDING / f"libembedding_{name}.so")


def bad_object(kind):
    return str(BAD_OBJECTS / f"libbad_object_{kind}.so")


class Doctor(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name)
        # Most tests are not about Python.
        self.python = self.script("echo python 3.11.2")

    def script(self, text, name="fake-python"):
        path = self.scratch / name
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)
        return str(path)

    def run_tool(self, *arguments, **environment):
        return subprocess.run([tool.PROGRAM, "doctor", *map(str, arguments)], capture_output=True,
                              timeout=120, env={**os.environ, **environment})

    def findings(self, *arguments, code, python=None, **environment):
        """The findings, each as a dictionary, of a run that ends with that code."""
        result = self.run_tool("--json", "--python", python or self.python, *arguments,
                               **environment)
        self.assertEqual((result.returncode, result.stderr), (code, b""), result)
        report = json.loads(result.stdout)
        self.assertEqual(set(report), {"version", "sound", "findings"})
        self.assertEqual((report["version"], report["sound"]), (VERSION, code == 0))
        for finding in report["findings"]:
            self.assertEqual(set(finding), KEYS)
            self.assertIn(finding["level"], LEVELS)
            self.assertIn(finding["subject"], SUBJECTS)
            if finding["level"] in ("warning", "error"):
                self.assertTrue(finding["advice"], finding)
        return report["findings"]

    def one(self, findings, subject, level):
        found = [finding for finding in findings if finding["subject"] == subject]
        self.assertEqual([finding["level"] for finding in found], [level], found)
        return found[0]

    def patched(self, old, new, source=LIBRARY, name="patched.so"):
        """A copy in which bytes are replaced by as many others."""
        content = pathlib.Path(source).read_bytes()
        self.assertIn(old, content)
        self.assertEqual(len(old), len(new))
        path = self.scratch / name
        path.write_bytes(content.replace(old, new))
        return str(path)


class SoundInstallation(Doctor):
    def test_is_sound_with_and_without_arguments(self):
        for arguments in ((), (LIBRARY,), (LIBRARY, LIBRARY), (neighbour("plugin_one"),),
                          (LIBRARY, neighbour("plugin_one"), neighbour("plugin_two")),
                          (LIBRARY, neighbour("own_folder"))):
            with self.subTest(arguments=arguments):
                findings = self.findings(*arguments, code=0)
                self.assertIn("all 7 schema files are registered",
                              self.one(findings, "schema", "ok")["text"])
                self.one(findings, "names", "ok")
                self.one(findings, "load", "ok")
                self.assertIn("3.21.12", self.one(findings, "runtime", "ok")["text"])

    def test_is_reported_with_version_path_and_soname(self):
        findings = self.findings(code=0)
        library = self.one(findings, "library", "ok")
        self.assertEqual(library["object"], LIBRARY)
        self.assertIn(f"is version {VERSION}, SONAME libqmsg.so.1", library["text"])
        self.assertIn(LIBRARY, self.one(findings, "tool", "ok")["text"])

    def test_is_found_through_a_link_and_under_an_odd_name(self):
        # A line end, a colour, a byte that is no UTF-8, a control beyond ASCII, and a turn of direction.
        folder = self.scratch / "a folder: \n\x1b[31m \udcff\x9b1m \u202e\"quoted\""
        folder.mkdir()
        link = folder / "lib qmsg.so"
        link.symlink_to(LIBRARY)
        self.assertEqual(self.one(self.findings(link, code=0), "library", "ok")["object"], LIBRARY)
        copy = str(shutil.copy(LIBRARY, folder))
        library = self.one(self.findings(copy, code=0), "library", "ok")
        self.assertTrue(library["object"].endswith("\n\x1b[31m \ufffd\x9b1m \u202e\"quoted\"/" + copy.rsplit("/", 1)[1]), library)
        text = self.run_tool(copy, "--python", self.python).stdout
        self.assertEqual(text.count(b"\n"), text.count(b"ok ") + 2)  # note and advice for Python
        self.assertIn(rb'a folder:  \x1b[31m \xff\u009b1m \u202e"quoted"/', text)

    def test_can_be_read_without_being_loaded(self):
        findings = self.findings("--no-load", LIBRARY, code=0)
        self.assertEqual([f for f in findings if f["subject"] == "load"], [])
        self.assertIn("all 7 schema files are in the file",
                      self.one(findings, "schema", "ok")["text"])

    def test_has_colours_on_a_terminal_unless_no_color_is_set(self):
        for no_colour, wanted in (("", True), ("1", False)):
            leader, follower = tool.open_terminal()
            subprocess.run([tool.PROGRAM, "doctor", "--python", self.python], stdout=follower, check=True,
                           timeout=60, env={**os.environ, "NO_COLOR": no_colour})
            os.close(follower)
            self.assertEqual(b"\x1b[32mok" in os.read(leader, 65536), wanted)
            os.close(leader)
        self.assertNotIn(b"\x1b", self.run_tool("--python", self.python).stdout)


class Clash(Doctor):
    def test_of_a_copy_is_found_whichever_comes_first(self):
        copy = shutil.copy(LIBRARY, self.scratch / "libqmsg.so.1.0.0")
        for first, second in ((LIBRARY, copy), (copy, LIBRARY)):
            for options in ((), ("--no-load",)):
                findings = self.findings(first, second, *options, code=1)
                names = self.one(findings, "names", "error")
                self.assertIn(f"copies of libqmsg: {os.path.realpath(first)} and "
                              f"{os.path.realpath(second)}", names["text"])
            load = self.one(self.findings(first, second, code=1), "load", "error")
            self.assertIn(FILE_EXISTS + "codetrace.proto", load["text"])
            self.assertIn("Aborted", load["text"])
            self.assertIn("two objects have codetrace.proto", load["advice"])

    def test_of_a_plugin_is_found_as_loading_shows_it(self):
        cases = [
            # module        what the runtime says                what the advice begins with
            ("same_name",    FILE_EXISTS + "login.proto",         "keep your schema files in a folder"),
            ("same_content", FILE_EXISTS + "login.proto",         "link the module with libqmsg"),
            ("same_package", 'Symbol name "quor.protobuf.Login.', "link the module with libqmsg"),
        ]
        for name, said, advice in cases:
            for objects in ((LIBRARY, neighbour(name)), (neighbour(name), LIBRARY)):
                with self.subTest(objects=objects):
                    findings = self.findings(*objects, code=1)
                    self.assertIn(said, self.one(findings, "load", "error")["text"])
                    names = self.one(findings, "names", "error")
                    self.assertIn("login.proto", names["text"])
                    self.assertIn(neighbour(name), names["text"])
                    self.assertTrue(names["advice"].startswith(advice), names)

    def test_is_found_with_the_library_that_a_plugin_loads(self):
        findings = self.findings(neighbour("plugin_one"), neighbour("same_content"), code=1)
        self.assertIn(LIBRARY, self.one(findings, "names", "error")["text"])

    def test_is_found_without_symbols(self):
        hidden = self.patched(b"descriptor_table_login_2eproto", b"x" * 30,
                              neighbour("same_content"))
        findings = self.findings("--no-load", LIBRARY, hidden, code=1)
        self.assertIn("login.proto is in", self.one(findings, "names", "error")["text"])

    def test_that_crashes_later_is_reported_if_both_export_their_tables(self):
        findings = self.findings("--no-load", LIBRARY, neighbour("same_name"), code=1)
        self.assertIn("crashes later", self.one(findings, "names", "error")["text"])
        hidden = self.patched(b"descriptor_table_login_2eproto", b"x" * 30, neighbour("same_name"))
        findings = self.findings("--no-load", LIBRARY, hidden, code=1)
        self.assertNotIn("crashes later", self.one(findings, "names", "error")["text"])


class OtherLibrary(Doctor):
    def test_with_other_content_is_refused(self):
        other = self.patched(b"\x0a\x0blogin.proto\x12\x13quor.protobuf.Login",
                             b"\x0a\x0blogin.proto\x12\x13quor.protobuf.Lohin")
        findings = self.findings("--no-load", other, code=1)
        self.assertIn("login.proto", self.one(findings, "schema", "error")["text"])
        registered = self.findings(neighbour("same_name"), code=1)
        texts = [f["text"] for f in registered if f["subject"] == "schema"]
        self.assertEqual(len(texts), 2)
        self.assertTrue(texts[0].endswith("than this tool knows: login.proto"), texts)
        for name in SCHEMAS:
            self.assertEqual(name in texts[1], name != "login.proto", texts)

    def test_without_a_schema_file_is_refused(self):
        renamed = self.patched(b"\x0a\x0blogin.proto", b"\x0a\x0blogim.proto")
        findings = self.findings("--no-load", renamed, code=1)
        schema = [f for f in findings if f["subject"] == "schema"]
        self.assertEqual([f["text"] for f in schema], ["not in the file: login.proto"])

    def test_without_any_schema_file_is_a_warning(self):
        findings = self.findings(neighbour("own_folder"), code=1)
        self.assertIn("none of the 7", self.one(findings, "schema", "warning")["text"])

    def test_for_another_runtime_is_refused(self):
        other = self.patched(b"\0libprotobuf.so.32\0", b"\0libprotobuf.so.31\0")
        findings = self.findings(other, code=1)
        runtime = [f for f in findings if f["subject"] == "runtime"]
        self.assertEqual([f["level"] for f in runtime], ["ok", "error"])
        self.assertIn("was built for libprotobuf.so.31; libprotobuf.so.32 is in use",
                      runtime[1]["text"])
        # It is not installed either.
        load = self.one(findings, "load", "error")
        self.assertIn("libprotobuf.so.31: cannot open shared object file", load["text"])
        self.assertIn("LD_LIBRARY_PATH", load["advice"])

    def test_with_another_soname_or_version_is_reported(self):
        soname = self.patched(b"\0libqmsg.so.1\0", b"\0libqmsg.so.9\0")
        self.assertIn("SONAME libqmsg.so.9; this tool was built for libqmsg.so.1",
                      self.one(self.findings(soname, code=1), "library", "error")["text"])
        version = shutil.copy(LIBRARY, self.scratch / "libqmsg.so.1.77.3")
        self.assertIn("version 1.77.3",
                      self.one(self.findings(version, code=1), "library", "warning")["text"])
        unknown = shutil.copy(LIBRARY, self.scratch / "other.so")
        self.assertIn("version unknown",
                      self.one(self.findings(unknown, code=0), "library", "ok")["text"])

    def test_that_lacks_symbols_of_its_host_is_noted_and_of_the_library_refused(self):
        findings = self.findings(LIBRARY, bad_object("NEEDS_HOST"), code=0)
        loads = [f for f in findings if f["subject"] == "load"]
        self.assertEqual([f["level"] for f in loads], ["note", "ok"])
        self.assertIn("host_function", loads[0]["text"])
        missing = self.patched(b"\0libqmsg.so.1\0", b"\0libdl.so.2\0\0\0",
                               neighbour("plugin_one"))
        load = self.one(self.findings(missing, code=1), "load", "error")
        self.assertIn("4quor8protobuf", load["text"])
        self.assertIn("built against another version", load["advice"])


class BadObject(Doctor):
    def test_that_ends_the_process_is_reported(self):
        for kind, how in (("ABORTS", "signal 6 (Aborted)"),
                          ("CRASHES", "signal 11 (Segmentation fault)"),
                          ("EXITS", "ended with status 0")):
            with self.subTest(kind=kind):
                load = self.one(self.findings(bad_object(kind), code=1), "load", "error")
                self.assertEqual(load["object"], bad_object(kind))
                self.assertIn(how, load["text"])

    def test_that_never_returns_is_killed(self):
        for kind in ("LOOPS", "FLOODS"):
            with self.subTest(kind=kind):
                begin = time.monotonic()
                findings = self.findings("--timeout", "1.5", bad_object(kind), code=1)
                self.assertLess(time.monotonic() - begin, 30)
                self.assertIn("did not end within 1.5 s",
                              self.one(findings, "load", "error")["text"])

    def test_that_leaves_a_process_behind_is_not_waited_for(self):
        begin = time.monotonic()
        findings = self.findings(LIBRARY, bad_object("FORKS"), code=0)
        self.assertLess(time.monotonic() - begin, 20)
        self.one(findings, "load", "ok")

    def test_that_is_not_a_library_is_reported(self):
        library = pathlib.Path(LIBRARY).read_bytes()
        cases = [
            ("empty",    b"",                                        "is empty"),
            ("text",     b"not a library\n",                         "is not an ELF file"),
            ("zeros",    bytes(5000),                                "is not an ELF file"),
            ("machine",  library[:18] + b"\xff\x00" + library[20:],  "is for another architecture"),
            ("class",    library[:4] + bytes([3 - library[4]]) + library[5:],
             "is for another architecture"),
            ("relocatable", library[:16] + b"\x01" + library[17:],   "is not a shared object"),
        ]
        for name, content, text in cases:
            with self.subTest(name=name):
                path = self.scratch / name
                path.write_bytes(content)
                findings = self.findings(path, code=1)
                self.assertIn(text, self.one(findings, "library", "error")["text"])
                self.assertEqual([f for f in findings if f["subject"] == "load"], [])
        self.assertIn("is a program", self.one(self.findings(tool.PROGRAM, code=1), "library",
                                               "error")["text"])

    def test_does_not_hide_a_good_one(self):
        text = self.scratch / "text"
        text.write_text("not a library")
        findings = self.findings(text, LIBRARY, code=1)
        self.one(findings, "load", "ok")
        self.one(findings, "schema", "ok")

    def test_that_is_cut_off_anywhere_is_reported(self):
        size = os.path.getsize(LIBRARY)
        lengths = {*range(1, 128, 9), *range(128, 4096, 331), *range(4096, size, size // (15 if LARGE else 60)),
                   size - 1}
        path = self.scratch / "cut.so"
        shutil.copy(LIBRARY, path)
        for length in sorted(lengths, reverse=True):
            os.truncate(path, length)
            with self.subTest(length=length):
                text = self.one(self.findings(path, code=1), "library", "error")["text"]
                wanted = "is not an ELF file" if length < 4 else "is cut off"
                self.assertIn(wanted, text)

    def test_with_offsets_beyond_its_end_is_reported(self):
        content = pathlib.Path(LIBRARY).read_bytes()
        if content[4] != 2:
            self.skipTest("the offsets below are those of 64 bits")
        path = self.scratch / "numbers.so"
        # Of the tables of segments and sections; offset and size of the first segment that counts.
        first = next(64 + 56 * i for i in range(64) if content[64 + 56 * i] == 1)
        for place in (32, 40, first + 8, first + 32):
            for number in (2**64 - 1, 2**64 - 56, 2**64 - 64, 2**63, 2**64 - len(content)):
                with self.subTest(place=place, number=number):
                    path.write_bytes(content[:place] + number.to_bytes(8, sys.byteorder) +
                                     content[place + 8:])
                    text = self.one(self.findings(path, code=1), "library", "error")["text"]
                    self.assertRegex(text, "is cut off|is damaged")

    def test_that_cannot_be_opened_ends_with_3(self):
        fifo = self.scratch / "fifo"
        os.mkfifo(fifo)
        loop = self.scratch / "loop"
        loop.symlink_to(loop)
        for path, reason in ((self.scratch / "missing", "No such file"),
                             (self.scratch, "is a directory"), (fifo, "is not a regular file"),
                             ("/dev/zero", "is not a regular file"), (loop, "cannot open"),
                             ("", "cannot open")):
            with self.subTest(path=path):
                result = self.run_tool(path, LIBRARY)
                self.assertEqual((result.returncode, result.stdout), (3, b""))
                self.assertIn(reason.encode(), result.stderr)
                self.assertEqual(result.stderr.count(b"\n"), 1)


class DamagedLibrary(Doctor):
    def test_never_harms_the_tool(self):
        content = pathlib.Path(LIBRARY).read_bytes()
        chance = random.Random(7)
        path = self.scratch / "libqmsg.so.1.0.0"
        for round_ in range(40 if LARGE else 300):
            damaged = bytearray(content)
            # Half of them where the loader, and the tool, look first.
            end = 1024 if round_ % 2 == 0 else len(content)
            for _ in range(chance.choice((1, 3, 20))):
                damaged[chance.randrange(4, end)] ^= 1 << chance.randrange(8)
            path.write_bytes(damaged)
            with self.subTest(round=round_):
                result = self.run_tool("--json", "--timeout", "5", "--python", self.python, path)
                self.assertIn(result.returncode, (0, 1), result)
                self.assertEqual(result.stderr, b"")
                findings = json.loads(result.stdout)["findings"]
                self.assertEqual(sum(f["subject"] == "library" for f in findings), 1)


class Python(Doctor):
    def judge(self, script, *arguments, level):
        return self.one(self.findings(*arguments, python=self.script(script, "judged"),
                                      code=0 if level in ("ok", "note") else 1), "python", level)

    def test_that_runs_the_tests_is_reported_as_it_is(self):
        findings = self.findings(python=sys.executable, code=0)
        python = [f for f in findings if f["subject"] == "python"][0]
        self.assertIn(python["level"], ("ok", "note"))
        # pylint: disable=import-outside-toplevel
        import google.protobuf
        from google.protobuf.internal import api_implementation
        self.assertIn(f"with protobuf {google.protobuf.__version__} ({api_implementation.Type()})",
                      python["text"])

    def test_that_is_missing_is_not_a_fault(self):
        result = self.run_tool(PATH=str(self.scratch))
        self.assertEqual(result.returncode, 0, result)
        self.assertIn(b"there is no python3 in PATH", result.stdout)

    def test_that_was_named_and_is_missing_ends_with_3(self):
        result = self.run_tool("--python", self.scratch / "none")
        self.assertEqual((result.returncode, result.stdout), (3, b""))
        self.assertIn(b"No such file", result.stderr)

    def test_is_judged_by_its_packages(self):
        protobuf = "echo python 3.11.2; echo protobuf 4.21.12; echo type "
        cases = [
            ("echo python 3.11.2",                             "note", "without protobuf"),
            (protobuf + "upb",                                 "note", "cannot use libqmsg"),
            (protobuf + "python",                              "note", "cannot use libqmsg"),
            (protobuf + "cpp",                                 "note", "without the package qmsg"),
            (protobuf + "cpp; echo qmsg 'C++ runtime, dynamic'", "note", "C++ runtime, dynamic"),
            (protobuf + "cpp; echo qmsg compiled classes",     "ok",   "uses: compiled classes"),
            ("echo boom >&2; exit 1",                          "warning", "said: boom"),
            ("kill -9 $$",                                     "warning", "signal 9 (Killed)"),
            ("exit 0",                                         "warning", "ended with status 0"),
        ]
        for script, level, text in cases:
            with self.subTest(script=script):
                self.assertIn(text, self.judge(script, level=level)["text"])

    def test_that_hangs_is_killed(self):
        found = self.judge("sleep 50", "--timeout", "1", level="warning")
        self.assertIn("did not end within 1 s", found["text"])


class WrongUse(Doctor):
    def test_ends_with_2(self):
        for arguments in (("--timeout", "0"), ("--timeout", "x"), ("--unknown",)):
            self.assertEqual(self.run_tool(*arguments).returncode, 2)


if __name__ == "__main__":
    unittest.main()
