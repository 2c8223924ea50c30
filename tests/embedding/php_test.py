"""The library in a PHP process."""

import pathlib
import shutil
import unittest

from support import PLUGIN, module, run

HERE = pathlib.Path(__file__).parent
FFI = ["-d", "extension=ffi", "-d", "ffi.enable=1"]


class Php(unittest.TestCase):
    def setUp(self):
        if shutil.which("php") is None:
            self.skipTest("there is no php: install php-cli")

    def test_opens_extensions_lazily_globally_and_before_8_4_deeply_bound(self):
        version = run("php", "-n", "-r", "echo PHP_VERSION_ID;").stdout
        deepbind = " deepbind" if int(version) < 80400 else ""
        # It is no extension of PHP: that is found out after it is open.
        result = run("php", "-n", "-d", f"extension={PLUGIN}", "-r", "",
                     LD_PRELOAD=module("dlopen_recorder"))
        self.assertIn(f"dlopen: lazy global{deepbind} {PLUGIN}\n", result.stderr)
        self.assertEqual(result.returncode, 0)

    def test_lets_two_plugins_and_a_forked_child_share_the_classes(self):
        if run("php", "-n", *FFI, "-r", "exit((int)!extension_loaded('FFI'));").returncode != 0:
            self.skipTest("this php has no FFI: install php-common")
        result = run("php", "-n", *FFI, HERE / "ffi_host.php", PLUGIN, module("plugin_two"))
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(result.stdout, "the other plugin reads it: 1\n"
                                        "problems of a child: 0\n"
                                        "problems of the parent: 0\n")


if __name__ == "__main__":
    unittest.main()
