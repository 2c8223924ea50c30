"""What a warm-up before the fork saves each child."""

import re
import unittest

from support import BUILT, PAGE, run

FIGURES = re.compile(
    r"not warmed up: (\d+) KiB a\s+child,?\s+warmed up: (\d+) KiB a\s+child")


def figures(text):
    found = FIGURES.search(text)
    assert found, f"no figures in: {text}"
    return [int(figure) for figure in found.groups()]


class ForkMemory(unittest.TestCase):
    def setUp(self):
        measured = run(BUILT / "embedding_fork_memory")
        self.assertEqual((measured.returncode, measured.stderr), (0, ""))
        self.cold, self.warm = figures(measured.stdout)

    def test_a_warm_up_saves_more_than_half(self):
        self.assertLess(self.warm, self.cold / 2)

    # Page faults and the allocator differ from system to system.
    def test_the_page_tells_figures_of_this_size(self):
        cold, warm = figures(PAGE.read_text())
        self.assertLess(abs(self.cold - cold), 0.5 * cold)
        self.assertLess(abs(self.warm - warm), 0.5 * cold)


if __name__ == "__main__":
    unittest.main()
