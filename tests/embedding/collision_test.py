"""Modules in one process whose schema files share a name, a content or a package with the
library's, and a second copy of the library itself."""

import pathlib
import shutil
import tempfile
import unittest

from support import C_HOST, LIBRARY, LINKED_C_HOST, PAGE, PHP, PLUGIN, blocks, module, run

# How both modules are opened.
LOCAL = ("now", "local")
GLOBAL = ("now", "global")
# The host is linked with the library, and opens the other module.
LINKED = ("now",)

WORKS = "works"
FATAL = "[libprotobuf FATAL google/protobuf/descriptor.cc:"
FILE = "File already exists in database: login.proto"
SYMBOL = ('Symbol name "quor.protobuf.Login.Login" conflicts with the existing symbol '
          '"quor.protobuf.Login.Login".')
SILENT = "loads, and fails when reflection is used"

CASES = [
    # module          mode    outcome, whichever comes first
    ("same_name",     LOCAL,  FILE),
    ("same_name",     PHP,    FILE),
    ("same_name",     GLOBAL, SILENT),
    ("same_name",     LINKED, SILENT),
    ("same_content",  LOCAL,  FILE),
    ("same_content",  PHP,    FILE),
    ("same_content",  GLOBAL, WORKS),
    ("same_content",  LINKED, WORKS),
    ("same_package",  LOCAL,  SYMBOL),
    ("same_package",  PHP,    SYMBOL),
    ("same_package",  GLOBAL, SYMBOL),
    ("same_package",  LINKED, SYMBOL),
    ("own_folder",    LOCAL,  WORKS),
    ("own_folder",    PHP,    WORKS),
    ("own_folder",    GLOBAL, WORKS),
    ("own_folder",    LINKED, WORKS),
]
WITHOUT_MESSAGES_OF_ITS_OWN = {"same_content", "same_package"}
COPY = "File already exists in database: codetrace.proto"


class Loads(unittest.TestCase):
    def assert_refused(self, result, reason):
        self.assertEqual(result.returncode, -6, result)  # SIGABRT
        self.assertIn(reason, result.stderr)
        self.assertIn(FATAL, result.stderr)

    def assert_works(self, result):
        self.assertEqual((result.returncode, result.stderr), (0, ""))


class NameCollision(Loads):
    def test_ends_as_the_page_says(self):
        for name, mode, outcome in CASES:
            neighbour = [module(name)]
            if name not in WITHOUT_MESSAGES_OF_ITS_OWN:
                neighbour.append("use")
            library = [PLUGIN, "use", "declarations"]
            host = LINKED_C_HOST if mode == LINKED else C_HOST
            for steps in (neighbour + library, library + neighbour):
                with self.subTest(module=name, mode=mode, first=pathlib.Path(steps[0]).name):
                    self.assert_outcome(run(host, *mode, *steps), outcome)

    def assert_outcome(self, result, outcome):
        if outcome == WORKS:
            self.assert_works(result)
        elif outcome == SILENT:
            # The second finds the first one's table under the name of its own.
            self.assertEqual((result.returncode, result.stderr), (-11, ""))  # SIGSEGV
        else:
            self.assert_refused(result, outcome)

    def test_is_reported_in_the_words_of_the_page(self):
        result = run(C_HOST, *LOCAL, LIBRARY, module("same_name"))
        self.assertIn(result.stderr, blocks(PAGE, "text"))


class SecondCopy(Loads):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.copy = f"{scratch.name}/libqmsg-copy.so"
        shutil.copy(LIBRARY, self.copy)

    def test_is_refused(self):
        for first, second in ((LIBRARY, self.copy), (self.copy, LIBRARY)):
            self.assert_refused(run(C_HOST, *LOCAL, first, second), COPY)
            self.assert_refused(run(C_HOST, *PHP, first, second), COPY)

    def test_goes_unnoticed_where_the_first_is_global(self):
        for first, second in ((LIBRARY, self.copy), (self.copy, LIBRARY)):
            self.assert_works(run(C_HOST, *GLOBAL, first, second, PLUGIN, "use", "declarations"))
        self.assert_works(run(LINKED_C_HOST, *LINKED, self.copy, PLUGIN, "use", "declarations"))

    def test_is_none_if_it_is_the_same_file_under_another_name(self):
        link = pathlib.Path(self.copy).with_name("link.so")
        link.symlink_to(LIBRARY)
        for mode in (LOCAL, PHP, GLOBAL):
            self.assert_works(run(C_HOST, *mode, LIBRARY, str(link), PLUGIN, "use"))


if __name__ == "__main__":
    unittest.main()
