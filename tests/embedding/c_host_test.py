"""A host in plain C: the library brings the C++ library and the protobuf runtime."""

import itertools
import unittest

from support import C_HOST, LIBRARY, PHP, PLUGIN, SANITIZED, run

# The least that the heap of the host grows by in its 48 times after the second.
ONE_ALLOCATION_EACH_TIME = 48 * 32


class CHost(unittest.TestCase):
    def output(self, *steps):
        result = run(C_HOST, *steps)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def test_uses_a_plugin_opened_in_any_mode(self):
        modes = list(itertools.product(["lazy", "now"], ["local", "global"]))
        for mode in modes if SANITIZED else [*modes, PHP]:
            with self.subTest(mode=mode):
                self.assertEqual(self.output(*mode, PLUGIN, "use", "declarations"), "")
                self.assertEqual(self.output(*mode, LIBRARY, PLUGIN, "use", "declarations"), "")

    def test_opens_and_closes_without_growing(self):
        runs = [(LIBRARY, "cycles", PLUGIN, "use")]
        if not SANITIZED:  # With the sanitizers in it, a module leaves something behind each time.
            runs.append((PLUGIN, "use", "cycles", "use"))
        for steps in runs:
            with self.subTest(steps=steps):
                self.assertLess(int(self.output(*steps)), ONE_ALLOCATION_EACH_TIME)


if __name__ == "__main__":
    unittest.main()
