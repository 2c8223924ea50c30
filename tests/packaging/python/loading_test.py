"""How the package finds libqmsg, and what it says when something is in the way. Each case is a
process of its own."""

import os
import pathlib
import shutil
import tempfile
import unittest

import support
from support import LIBRARY

# Those of the runtime's own modules apart.
WARNINGS = "default,ignore:Type google.protobuf:DeprecationWarning"
WHICH = "import qmsg; print(qmsg.implementation())"
PRINT_LOAD = """
import os, qmsg
try:
    qmsg.load(os.environ["GIVEN"])
except (RuntimeError, OSError) as error:
    print(type(error).__name__, error)
print(qmsg.implementation())
"""
# A module that someone generated elsewhere, at the top level.
FOREIGN_MODULE = """
import importlib.util, os
path = os.path.join(os.environ["QMSG_PACKAGE"], "login_pb2.py")
spec = importlib.util.spec_from_file_location("login_pb2", path)
foreign = importlib.util.module_from_spec(spec)
spec.loader.exec_module(foreign)
"""


class Loading(unittest.TestCase):
    def setUp(self):
        if support.library_is_installed():
            self.skipTest("a libqmsg is installed on this system")
        scratch = tempfile.TemporaryDirectory(dir=os.environ["QMSG_SCRATCH"])
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)

    def output(self, program, **environment):
        result = support.run(program, **{"PYTHONWARNINGS": WARNINGS, **environment})
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout, result.stderr

    def test_finds_the_library_where_the_loader_looks(self):
        self.assertEqual(self.output(WHICH, LD_LIBRARY_PATH=os.path.dirname(LIBRARY)),
                         ("compiled classes\n", ""))

    def test_is_silent_without_a_library(self):
        self.assertEqual(self.output(WHICH), ("C++ runtime, dynamic\n", ""))

    def test_takes_the_library_from_a_path(self):
        self.assertEqual(self.output(PRINT_LOAD, GIVEN=LIBRARY), ("compiled classes\n", ""))

    def test_takes_a_library_that_the_program_has_already(self):
        shutil.copy(LIBRARY, self.folder / "libqmsg.so.1")
        program = f"import ctypes; ctypes.CDLL({str(self.folder / 'libqmsg.so.1')!r})\n"
        self.assertEqual(self.output(program + WHICH), ("compiled classes\n", ""))

    def test_says_that_a_path_leads_nowhere(self):
        out, _ = self.output(PRINT_LOAD, GIVEN="/nowhere/libqmsg.so.1")
        self.assertIn("OSError /nowhere/libqmsg.so.1: cannot open shared object file", out)
        self.assertIn("\nC++ runtime, dynamic\n", out)

    def test_says_that_another_library_has_no_messages(self):
        out, _ = self.output(PRINT_LOAD, GIVEN="libz.so.1")
        self.assertIn("RuntimeError libz.so.1 gave Python's protobuf no messages", out)

    def test_refuses_a_second_library(self):
        out, _ = self.output(PRINT_LOAD, GIVEN=LIBRARY, LD_LIBRARY_PATH=os.path.dirname(LIBRARY))
        self.assertIn("RuntimeError libqmsg is loaded already", out)

    def test_refuses_to_load_after_a_generated_module(self):
        out, _ = self.output("from qmsg import tarq_pb2\n" + PRINT_LOAD, GIVEN=LIBRARY)
        self.assertIn("RuntimeError load() comes too late: generated modules of quorphp.proto, "
                      "tarq.proto are imported already", out)

    def test_refuses_to_load_for_pure_python(self):
        out, _ = self.output(PRINT_LOAD, GIVEN=LIBRARY,
                             PROTOCOL_BUFFERS_PYTHON_IMPLEMENTATION="python")
        self.assertIn("RuntimeError libqmsg serves protobuf's C++ runtime; here it is 'python'",
                      out)

    def test_gets_on_with_modules_that_came_first(self):
        program = FOREIGN_MODULE + WHICH + """
from qmsg import login_pb2
message = foreign.Login()
message.MergeFrom(login_pb2.Login(hostname="h"))
print(message.hostname)
"""
        out, err = self.output(program, LD_LIBRARY_PATH=os.path.dirname(LIBRARY))
        self.assertEqual(out, "C++ runtime, dynamic\nh\n")
        self.assertIn("RuntimeWarning: Modules generated from login.proto were imported before "
                      "qmsg: libqmsg is left unused", err)

    def test_warns_of_a_library_that_does_not_load(self):
        (self.folder / "libqmsg.so.1").write_text("not a library")
        out, err = self.output(WHICH, LD_LIBRARY_PATH=str(self.folder))
        self.assertEqual(out, "C++ runtime, dynamic\n")
        self.assertIn("RuntimeWarning: libqmsg is installed but does not load: ", err)

    def test_warns_of_a_library_with_other_schema_files(self):
        package = self.folder / "qmsg"
        shutil.copytree(os.environ["QMSG_PACKAGE"], package)
        schemas = (package / "_schemas.py").read_text()
        self.assertRegex(schemas, "'login.proto': '[0-9a-f]{64}'")
        (package / "_schemas.py").write_text(
            schemas.replace("'login.proto': '", "'login.proto': 'other "))
        out, err = self.output(WHICH, PYTHONPATH=str(self.folder),
                               LD_LIBRARY_PATH=os.path.dirname(LIBRARY))
        self.assertEqual(out, "compiled classes\n")
        self.assertIn("RuntimeWarning: libqmsg.so.1 was built from another login.proto than the "
                      "package qmsg", err)


if __name__ == "__main__":
    unittest.main()
