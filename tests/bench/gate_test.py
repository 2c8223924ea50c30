"""Which results pass the gate, and what it prints for the others."""

import copy
import unittest

import support  # finds the modules

import gate


def side(qmsg, baseline):
    return {"qmsg": qmsg, "baseline": baseline}


# Every figure just meets its target.
PASSES = {
    "operations": side(
        {"serialise/A": [100.0], "parse/A": [100.0], "parse_arena/A": [100.0], "build/A": [100.0],
         "size/A": [100.0]},
        {"serialise/A": [200.0], "parse/A": [135.0], "parse_arena/A": [145.0], "build/A": [110.0],
         "size/A": [97.0]}),
    "allocators": {
        "malloc": side({"parse/A": [90.0]}, {"parse/A": [220.0]}),
        "slow": side({"parse/A": [200.0]}, {"parse/A": [900.0]}),
        "quick": side({"parse/A": [99.9]}, {"parse/A": [100.0]}),
    },
    "startup": {"dlopen_now": side({"nanoseconds": [540.0], "kibibytes": [30, 32, 80]},
                                   {"nanoseconds": [1000.0], "kibibytes": [32]})},
}


class Gate(unittest.TestCase):
    def missed(self, *steps, value):
        """The missed targets when the value at the end of the steps is replaced."""
        results = copy.deepcopy(PASSES)
        found = results
        for step in steps[:-1]:
            found = found[step]
        found[steps[-1]] = value
        return gate.missed(results)

    def test_passes_results_that_meet_all_targets(self):
        self.assertEqual(gate.missed(PASSES), [])

    def test_names_the_operation_whose_mean_is_too_low(self):
        for operation, time, line in (
                ("serialise", 199.0, "serialise, geometric mean: 1.990, wanted at least 2.0"),
                ("parse", 134.0, "parse, geometric mean: 1.340, wanted at least 1.35"),
                ("parse_arena", 144.0, "parse_arena, geometric mean: 1.440, wanted at least 1.45"),
                ("build", 99.0, "build, geometric mean: 0.990, wanted at least 1.0")):
            with self.subTest(operation=operation):
                self.assertEqual(
                    self.missed("operations", "baseline", f"{operation}/A", value=[time]), [line])

    def test_names_the_single_row_that_is_too_slow(self):
        self.assertEqual(self.missed("operations", "baseline", "size/A", value=[96.0]),
                         ["size/A: 0.960, wanted at least 0.97"])

    def test_takes_the_best_allocator_against_the_baseline_with_malloc(self):
        self.assertEqual(
            self.missed("allocators", "malloc", "baseline", value={"parse/A": [210.0]}),
            ["parse with quick, against the baseline with malloc: 2.102, wanted at least 2.2"])

    def test_fails_when_no_allocator_was_measured(self):
        self.assertEqual(
            self.missed("allocators", value={"malloc": PASSES["allocators"]["malloc"]}),
            ["parse with an allocator: not measured, because none can be preloaded"])

    def test_fails_for_a_library_that_loads_slowly_or_takes_more_memory(self):
        self.assertEqual(
            self.missed("startup", "dlopen_now", "qmsg", "nanoseconds", value=[560.0]),
            ["time of dlopen against the baseline: 0.560, wanted at most 0.55"])
        self.assertEqual(
            self.missed("startup", "dlopen_now", "qmsg", "kibibytes", value=[30, 36, 80]),
            ["private memory of dlopen, KiB: 36.000, wanted at most 32"])


if __name__ == "__main__":
    unittest.main()
