"""The statistics over the times of all rounds, on times that are easy to work out by hand."""

import unittest

import support  # finds the modules

import figures
import page


class Ratio(unittest.TestCase):
    def test_is_that_of_the_medians_whatever_a_slow_round_did(self):
        self.assertEqual(figures.ratio({"qmsg": [10, 1000, 11], "baseline": [22, 20, 33]}), 2.0)

    def test_spreads_over_the_middle_half_of_the_rounds(self):
        # The rounds' ratios are 1, 2, 3, 4 and 9.
        times = {"qmsg": [1, 10, 1, 2, 1], "baseline": [9, 10, 3, 4, 4]}
        self.assertEqual(figures.spread(times), (2.0, 4.0))

    def test_of_a_single_round_does_not_spread(self):
        self.assertEqual(figures.spread({"qmsg": [2], "baseline": [3]}), (1.5, 1.5))


class Means(unittest.TestCase):
    measured = {"qmsg": {"parse/A": [1], "parse/B": [1], "parse_arena/A": [1]},
                "baseline": {"parse/A": [1], "parse/B": [4], "parse_arena/A": [50]}}

    def test_are_geometric_over_the_workloads_of_one_operation(self):
        self.assertAlmostEqual(figures.mean_ratio(self.measured, "parse"), 2.0)

    def test_compare_two_programs_row_by_row(self):
        self.assertAlmostEqual(figures.mean_ratio_to({"A": [8, 8, 9], "B": [2]},
                                                     {"A": [1], "B": [1]}), 4.0)


class Units(unittest.TestCase):
    def test_a_thousand_bytes_a_microsecond_are_a_thousand_megabytes_a_second(self):
        self.assertAlmostEqual(figures.megabytes_per_second(1000, [1000, 1000, 5]), 1000.0)

    def test_a_message_in_250_nanoseconds_is_four_million_a_second(self):
        self.assertAlmostEqual(figures.per_second([250]), 4e6)

    def test_growth_is_a_power_of_the_size(self):
        for power, times in ((1, [3, 300]), (2, [3, 30000]), (0, [3, 3])):
            with self.subTest(power=power):
                self.assertAlmostEqual(figures.power([10, 1000], times), power)

    def test_figures_have_three_digits(self):
        for value, text in ((0.5, "0.50"), (12.345, "12.3"), (123.4, "123"), (1234.5, "1,234")):
            with self.subTest(value=value):
                self.assertEqual(page.number(value), text)
        for value, text in ((999, "999"), (2500, "2.50 k"), (2.5e6, "2.50 M")):
            with self.subTest(value=value):
                self.assertEqual(page.count(value), text)


if __name__ == "__main__":
    unittest.main()
