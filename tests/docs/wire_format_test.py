"""Checks the bytes, commands and programs of docs/wire-format.md.

QMSG_PREFIX: where qmsg is installed; QMSG_DRIVERS: the build folder of implementations/.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from docs_test import ROOT, rows, section

sys.path.insert(0, str(ROOT / "implementations/reference"))
# pylint: disable=wrong-import-position
import reference

PAGE = ROOT / "docs/wire-format.md"
QUERY = "quor.protobuf.Tarq.SqlQuery"


def from_hex(cell):
    return b"" if cell == "none" else bytes.fromhex(cell.strip("`"))


def protoc(option, type_name, content):
    option = f"{option}={type_name}" if type_name else option
    schemas = sorted((ROOT / "proto").glob("*.proto")) if type_name else []
    return subprocess.run(["protoc", f"--proto_path={ROOT / 'proto'}", option, *schemas],
                          input=content, capture_output=True)


def encode(type_name, text):
    encoded = protoc("--encode", type_name, text.encode())
    assert encoded.returncode == 0, encoded.stderr.decode()
    return encoded.stdout


def number_of(field_type, content):
    """The number that a row's bytes hold after the tag."""
    reader = reference.Reader(content)
    number = reader.varint()
    assert reader.done(), content.hex()
    return reference.signed(number, 64) if field_type.startswith("int") else number


def missing(what):
    """Skips the test; fails in CI, which has everything."""
    if os.environ.get("CI"):
        raise AssertionError(f"missing: {what}")
    raise unittest.SkipTest(f"missing: {what}")


class Bytes(unittest.TestCase):
    """The messages that are taken apart."""

    def messages(self):
        for part in re.split(r"^(?=### )", section(PAGE, "## Field by field"), flags=re.M):
            found = re.match(r"### .*`(quor\.\S+)`\n", part)
            if found:
                yield found.group(1), part

    def test_three_messages_are_shown(self):
        self.assertEqual([type_name for type_name, _ in self.messages()],
                         ["quor.protobuf.Login.Login", QUERY, "quor.protobuf.Monitor.Event"])

    def test_bytes_table_and_text_show_the_same_message(self):
        for type_name, part in self.messages():
            with self.subTest(type_name):
                shown = bytes.fromhex(re.search(r"^```text\n(.*?)```", part, re.M | re.S).group(1))
                text = re.search(r"^```textproto\n(.*?)```", part, re.M | re.S).group(1)
                self.assertEqual(shown, b"".join(from_hex(row[0]) for row in rows(part)))
                self.assertEqual(shown, encode(type_name, text))
                self.assertEqual(protoc("--decode", type_name, shown).stdout.decode(), text)

    def test_each_row_says_what_its_bytes_are(self):
        for type_name, part in self.messages():
            for cells in rows(part):
                with self.subTest(type_name, row=cells):
                    self.check_row(type_name, *cells)

    def check_row(self, type_name, hexadecimal, field, meaning):
        content = from_hex(hexadecimal)
        numbers, names = re.fullmatch(r"([\d.]+) `([\w.]+)`", field).groups()
        found = reference.Field(0, "", type_name)
        for number, name in zip(numbers.split("."), names.split("."), strict=True):
            found = reference.SCHEMA.messages[found.type][int(number)]
            self.assertEqual(found.name, name)
        self.assertEqual(content[0], found.number << 3 | reference.SCHEMA.wire_type(found))
        if found.type == "string":
            length, text = re.fullmatch(r"text of (\d+) bytes: `(.*)`", meaning).groups()
            self.assertEqual(content[1:], bytes([int(length)]) + text.encode())
        elif found.type in reference.SCHEMA.messages:
            length = re.match(r"message of (\d+) bytes", meaning).group(1)
            self.assertEqual(content[1:], bytes([int(length)]))
        else:
            number = int(re.match(r"-?\d+", meaning).group())
            self.assertEqual(number_of(found.type, content[1:]), number)
            named = re.search(r"which is `(\w+)`", meaning)
            values = reference.SCHEMA.enums.get(found.type)
            self.assertEqual(named and named.group(1), values and values[number])

    def test_the_table_of_tags_is_that_of_the_fields_in_use(self):
        fields = [field for message in reference.SCHEMA.messages.values()
                  for field in message.values()]
        largest = max(field.number for field in fields)
        self.assertIn(f"The highest number of a field is {largest},", PAGE.read_text())
        wire_types = {"varint": reference.VARINT, "8 bytes": reference.FIXED64,
                      "length": reference.LENGTH}
        self.assertEqual({reference.SCHEMA.wire_type(field) for field in fields},
                         set(wire_types.values()))
        shown = {row[0]: [int(cell.strip("`"), 16) for cell in row[1:]]
                 for row in rows(section(PAGE, "## Field by field")) if row[0] in wire_types}
        self.assertEqual(shown, {name: [number << 3 | wire for number in range(1, largest + 1)]
                                 for name, wire in wire_types.items()})

    def test_what_is_odd_is_printed_as_shown(self):
        odd = rows(section(PAGE, "### Unusual but valid"))
        self.assertGreater(len(odd), 0)
        for content, type_name, text, _ in odd:
            with self.subTest(bytes=content):
                decoded = protoc("--decode", f"quor.protobuf.{type_name.strip('`')}",
                                 from_hex(content))
                self.assertEqual(decoded.returncode, 0)
                self.assertEqual(decoded.stdout.decode().split(), text.strip("`").split())

    def test_refused_bytes_are_refused(self):
        refused = rows(section(PAGE, "### Refused"))
        self.assertGreater(len(refused), 0)
        for content, why, raw in refused:
            with self.subTest(bytes=content):
                decoded = protoc("--decode", "quor.protobuf.Login.Login", from_hex(content))
                self.assertEqual(decoded.returncode, 1)
                self.assertIn("Failed to parse input.", decoded.stderr.decode())
                self.assertEqual("hostname" in decoded.stderr.decode(), "names the field" in why)
                decoded_raw = protoc("--decode_raw", "", from_hex(content))
                self.assertEqual(decoded_raw.stdout.decode().strip(), raw.strip("`"))


class Installed(unittest.TestCase):
    """Runs commands with an installed qmsg, in a temporary folder and home."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.home = pathlib.Path(scratch.name)
        (self.home / "qmsg").symlink_to(os.environ["QMSG_PREFIX"])
        self.folder = self.home / "folder"
        self.folder.mkdir()
        self.run_blocks("## Setup")

    def call(self, *command, **variables):
        ran = subprocess.run([str(word) for word in command], cwd=self.folder, text=True,
                             capture_output=True,
                             env={**os.environ, "HOME": str(self.home), **variables})
        self.assertEqual(ran.returncode, 0, f"{command}\n{ran.stdout}{ran.stderr}")
        return ran.stdout

    def run_blocks(self, heading):
        """Runs the shell blocks of a section; a text block after one has to be its output."""
        fenced = re.findall(r"^```(\w+)\n(.*?)^```$", section(PAGE, heading), re.M | re.S)
        self.assertIn("sh", [language for language, _ in fenced])
        for (language, commands), (below, printed) in zip(fenced, fenced[1:] + [("", "")]):
            if language == "sh":
                output = self.call("bash", "-euo", "pipefail", "-c", commands)
                self.assertEqual(output.strip(), printed.strip() if below == "text" else "")


class Commands(Installed):
    def test_protoc(self):
        self.run_blocks("## With protoc")

    def test_wireshark(self):
        if not shutil.which("tshark"):
            missing("tshark (Debian's package tshark)")
        self.run_blocks("## With Wireshark")


class Programs(Installed):
    """The programs of all languages print the same line for the same bytes."""

    LINE = "connection 0: SELECT 1 (12 rows)"

    def setUp(self):
        super().setUp()
        self.assertIn(f"```text\n{self.LINE}\n```", PAGE.read_text())

    def made_for(self, driver):
        """The folder with the classes and libraries that a driver is built with."""
        out = pathlib.Path(os.environ["QMSG_DRIVERS"]) / driver
        if (out / "missing").exists():  # The test that builds the driver decides whether it may be.
            raise unittest.SkipTest((out / "missing").read_text().strip())
        self.assertTrue((out / "driver").exists(), f"run conformance.{driver}.build before")
        return out

    def write(self, name, heading):
        source, = re.findall(r"^```\w+\n(.*?)^```$", section(PAGE, f"### {heading}"), re.M | re.S)
        (self.folder / name).write_text(source)

    def check(self, *command, **variables):
        self.assertEqual(self.call(*command, **variables), self.LINE + "\n")
        captured = self.folder / "query.bin"
        captured.write_bytes(captured.read_bytes().removeprefix(b"\x10\x00"))
        self.assertEqual(self.call(*command, **variables),
                         self.LINE.replace("connection 0", "no connection") + "\n")

    def test_cpp(self):
        library = self.home / "qmsg/lib"
        self.write("query.cc", "C++")
        self.call("sh", "-c", section(PAGE, "### C++").split("`")[1],
                  PKG_CONFIG_PATH=str(library / "pkgconfig"))
        self.check("./a.out", LD_LIBRARY_PATH=str(library))

    def test_python(self):
        modules = self.made_for("python") / "modules"
        self.write("query.py", "Python")
        self.check(sys.executable, "query.py", PYTHONPATH=str(modules))

    def test_php(self):
        classes = self.made_for("php") / "classes"
        self.write("query.php", "PHP")
        # Debian's protobuf classes do what its PHP calls deprecated.
        self.check("php", "-d", f"include_path={classes}:/usr/share/php",
                   "-d", "error_reporting=E_ALL & ~E_DEPRECATED", "query.php")

    def check_javascript(self, driver, heading):
        (self.folder / "node_modules").symlink_to(self.made_for(driver) / "node_modules")
        self.write("query.mjs", heading)
        self.check("node", "query.mjs")

    def test_js_bufbuild(self):
        self.check_javascript("js-bufbuild", "JavaScript with @bufbuild/protobuf")

    def test_js_protobufjs(self):
        self.check_javascript("js-protobufjs", "JavaScript with protobufjs")

    def test_go(self):
        cache = self.made_for("go") / "cache"
        self.write("query.go", "Go")
        self.call("/usr/bin/go", "build", "query.go", GO111MODULE="off", GOPROXY="off", GOFLAGS="",
                  GOPATH="/usr/share/gocode", GOCACHE=str(cache))
        self.check("./query")

    def test_rust(self):
        target = self.made_for("rust") / "target/debug"
        library = max(target.glob("deps/libprotobuf-*.rlib"), key=os.path.getmtime)
        classes = max(target.glob("build/messages-*/out/tarq.rs"), key=os.path.getmtime).parent
        for module in ("quorphp.rs", "tarq.rs"):
            shutil.copy(classes / module, self.folder)
        self.write("query.rs", "Rust")
        self.call("/usr/bin/rustc", "--edition=2021", "--cap-lints=allow", "--extern",
                  f"protobuf={library}", "-L", f"dependency={target / 'deps'}", "query.rs")
        self.check("./query")

    def test_java(self):
        classes = self.made_for("java") / "classes"
        self.write("Query.java", "Java")
        self.check("java", "-cp", f"{classes}:/usr/share/java/protobuf.jar", "Query.java")

    def test_c(self):
        generated = self.made_for("c") / "generated"
        self.write("query.c", "C")
        self.call("cc", "-Wall", "-Wextra", "-Werror", "-o", "query", f"-I{generated}", "query.c",
                  *[generated / f"{schema}.pb-c.c" for schema in
                    ("tarq", "quorphp", "google/protobuf/timestamp", "google/protobuf/duration")],
                  "-lprotobuf-c")
        self.check("./query")


if __name__ == "__main__":
    unittest.main()
