#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""test_report.py: the page shows missed goals and missing measurements."""
import json
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)))
import report  # noqa: E402

MEASURED = {
    "settings": {"machine": "a machine", "load before": "0.50 0.40 0.30",
                 "JACK": "not measured: jackd is not installed"},
    "rounds": {"ours 64 B, ring 64 KiB": {"time": [30.0, 10.0, 20.0]}},
    "ratios": [
        {"counter": "time", "numerator": "ours", "denominator": "theirs", "ratio": 1.2,
         "rounds": [1.1, 1.3], "atMost": 1.1},
        {"counter": "time", "numerator": "ours", "denominator": "limit", "ratio": 1.0,
         "rounds": [0.9, 1.1], "atMost": 1.1}],
    "figures": [{"name": "threads", "value": 4, "exactly": 3}],
}


class Page(unittest.TestCase):
    def setUp(self):
        with tempfile.TemporaryDirectory() as directory:
            for name, content in (("strange", MEASURED), ("load", {"failed": "it fell over"})):
                with open(f"{directory}/{name}.json", "w", encoding="utf-8") as file:
                    json.dump(content, file)
            self.results = report.Results(directory)

    def lines(self, text):
        return "\n".join(report.piece(self.results, text))

    def test_says_by_how_much_a_goal_was_missed(self):
        self.assertIn("| time: ours / theirs | 1.20 [1.10..1.30] | at most 1.1 | **missed** by 9 % |",
                      self.lines("missed"))

    def test_does_not_count_a_goal_as_missed_that_was_reached(self):
        self.assertNotIn("ours / limit", self.lines("missed"))
        self.assertIn("| strange | 3 | 1 | 2 |", self.lines("overview"))

    def test_takes_an_exact_goal_exactly(self):
        self.assertIn("| threads | 4.00 | exactly 3 | **missed**", self.lines("goals: strange"))

    def test_says_when_there_is_no_reason_yet(self):
        self.assertIn("Not explained yet.", self.lines("missed"))

    def test_gives_the_reason_that_is_written_down(self):
        self.results.programs["wake"] = MEASURED
        self.assertIn("time limit", self.lines("missed"))

    def test_names_what_was_not_measured(self):
        absent = self.lines("absent")
        self.assertIn("JACK: not measured: jackd is not installed", absent)
        self.assertIn("`load`: It could not be measured: it fell over", absent)
        self.assertIn("it fell over", self.lines("table: load, time"))
        self.assertEqual("It was not run.", self.lines("table: scale, time"))

    def test_shows_the_median_and_the_range(self):
        self.assertIn("| ours | 20.0 [10.0..30.0] |", self.lines("grid: strange, time"))

    def test_knows_every_piece_of_the_page(self):
        with open(f"{report.HERE}/page.md", encoding="utf-8") as template:
            for line in template:
                if line.startswith("{{"):
                    self.assertNotIn("{{", self.lines(line.strip()[2:-2]), line)


if __name__ == "__main__":
    unittest.main()
