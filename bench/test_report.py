#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""test_report.py: the page's verdicts on goals, their reasons, and missing measurements."""
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
    "rounds": {"ours 64 B, ring 64 KiB": {"time": [30.0, 10.0, 20.0]},
               "parts": {"names": [3000.0, 1000.0, 2000.0], "requests": [5000.0]}},
    "ratios": [
        # The median of the rounds is 1.2, their mean 1.4.
        {"counter": "time", "numerator": "ours", "denominator": "theirs",
         "rounds": [1.2, 1.05, 1.95], "atMost": 1.1},
        {"counter": "time", "numerator": "ours", "denominator": "worst", "rounds": [1.2, 1.3],
         "atMost": 1.1},
        {"counter": "time", "numerator": "ours", "denominator": "limit", "rounds": [0.9, 1.1],
         "atMost": 1.1},
        {"counter": "time", "numerator": "ours", "denominator": "shaken", "rounds": [0.9, 1.0, 1.3],
         "atMost": 1.1},
        {"counter": "time", "numerator": "ours", "denominator": "inlined", "rounds": [1.2, 1.3, 1.25],
         "atMost": 1.1, "bound": {"program": "least", "rounds": [1.0, 1.15, 1.2]}},
        {"counter": "time", "numerator": "ours", "denominator": "within reach", "rounds": [1.2],
         "atMost": 1.1, "bound": {"program": "least", "rounds": [1.0, 1.1, 1.2]}},
        {"counter": "time", "numerator": "ours", "denominator": "beaten", "rounds": [1.0],
         "atMost": 1.1, "bound": {"program": "least", "rounds": [1.2]}},
        {"counter": "time", "numerator": "ours", "denominator": "other", "rounds": [2.0, 1.0, 1.1]}],
    "figures": [{"name": "threads", "value": 4, "exactly": 3},
                {"name": "rings", "value": 2, "exactly": 3}],
}

COUNTED = {"counts": {
    "ring 64 KiB, 64 B": {"count": 28.0, "limit": 29, "goal": 29},
    "ring 64 KiB, 960 B": {"count": 30.0, "limit": 31, "goal": 29},
    "ring 1 MiB, 64 B": {"count": 31.0, "limit": 31, "goal": 29},
    "ring 1 MiB, 960 B": {"count": 32.0, "limit": 32, "goal": 29},
    "ClientTrack::write beyond the ring": {"count": 234.0, "limit": 235, "goal": 60},
    "ClientTrack::write beyond the ring and the C library's lock": {"count": 177.0, "limit": 178,
                                                                    "goal": 130}}}


class Page(unittest.TestCase):
    def setUp(self):
        with tempfile.TemporaryDirectory() as directory:
            for name, content in (("strange", MEASURED), ("load", {"failed": "it fell over"})):
                with open(f"{directory}/{name}.json", "w", encoding="utf-8") as file:
                    json.dump(content, file)
            self.results = report.Results(directory)

    def lines(self, text):
        return "\n".join(report.piece(self.results, text))

    def test_judges_by_the_median_of_the_ratios_within_rounds(self):
        self.assertIn("| time: ours / theirs | 1.20 [1.05..1.95] | at most 1.1 | **missed** by 9 %",
                      self.lines("missed"))

    def test_says_that_a_missed_goal_was_reached_in_some_rounds(self):
        self.assertIn("ours / theirs | 1.20 [1.05..1.95] | at most 1.1 | **missed** by 9 %, "
                      "reached in 1 of 3 rounds |", self.lines("goals: strange"))
        self.assertIn("ours / worst | 1.25 [1.20..1.30] | at most 1.1 | **missed** by 14 % |",
                      self.lines("goals: strange"))

    def test_says_that_a_reached_goal_was_missed_in_some_rounds(self):
        self.assertIn("ours / shaken | 1.00 [0.90..1.30] | at most 1.1 | reached in 2 of 3 rounds |",
                      self.lines("goals: strange"))
        self.assertIn("ours / limit | 1.00 [0.90..1.10] | at most 1.1 | reached |",
                      self.lines("goals: strange"))
        self.assertNotIn("ours / shaken", self.lines("missed"))

    def test_counts_the_goals_by_verdict(self):
        self.assertIn("| | goals | reached | of these not in every round | missed | out of reach |",
                      self.lines("overview"))
        self.assertIn("| strange | 8 | 3 | 1 | 5 | 1 |", self.lines("overview"))

    def test_lists_a_goal_that_the_minimal_program_misses_too_as_out_of_reach(self):
        self.assertIn("| time: ours / inlined | 1.25 [1.20..1.30] | at most 1.1 | "
                      "1.15 [1.00..1.20]: least |", self.lines("out of reach"))
        for text in ("missed", "goals: strange", "ratios: strange"):
            self.assertNotIn("inlined", self.lines(text))

    def test_keeps_a_goal_that_the_minimal_program_or_ours_reaches(self):
        self.assertNotIn("within reach", self.lines("out of reach"))
        self.assertIn("within reach", self.lines("missed"))
        self.assertNotIn("beaten", self.lines("out of reach"))
        self.assertIn("ours / beaten | 1.00 [1.00..1.00] | at most 1.1 | reached |",
                      self.lines("goals: strange"))

    def test_gives_the_bounds_of_counts_from_other_counts(self):
        self.results.programs["gate"] = COUNTED
        listed = self.lines("out of reach")
        self.assertIn("| ring 64 KiB, 960 B | 30.00 | at most 29 | 28.0 in one piece, and 137 more once "
                      "in 68 chunks |", listed)
        self.assertIn("| ClientTrack::write beyond the ring | 234 | at most 60 | "
                      "57.0: lock and unlock in the C library |", listed)
        self.assertIn("copied in pieces", listed)
        self.assertIn("| ring 64 KiB, 960 B | 30.0 | 31 |  |  |", self.lines("counts"))

    def test_misses_a_count_where_chunks_in_one_piece_are_above_the_goal(self):
        self.results.programs["gate"] = COUNTED
        self.assertIn("| ring 1 MiB, 960 B | 32.00 | at most 29 | **missed** by 10 % |",
                      self.lines("missed"))
        self.assertIn("C library's lock | 177 | at most 130 | **missed** by 36 % |",
                      self.lines("missed"))

    def test_shows_a_ratio_without_a_goal_as_the_median_of_the_rounds(self):
        self.assertIn("| time: ours / other | 1.10 [1.00..2.00] |", self.lines("ratios: strange"))

    def test_shows_the_counters_of_one_program(self):
        self.assertIn("| requests | 5 [5..5] |\n| names | 2 [1..3] |",
                      self.lines("counters: strange, parts, 1000"))

    def test_shows_several_counters_of_the_programs_that_have_them(self):
        self.assertIn("| | names | requests |\n|---|---|---|\n| parts | 2 [1..3] | 5000 [5000..5000] |",
                      self.lines("columns: strange, ., names/1000, requests"))
        self.assertNotIn("ours", self.lines("columns: strange, ., names/1000, requests"))

    def test_keeps_stored_results_of_programs_that_were_not_run_again(self):
        stored = {"date": "2001-02-03T04:05:06Z",
                  "programs": {"wake": MEASURED, "load": {"failed": "long ago"},
                               "strange": {"failed": "kept, it is not named"}}}
        with tempfile.TemporaryDirectory() as directory:
            for name in ("load", "strange"):
                with open(f"{directory}/{name}.json", "w", encoding="utf-8") as file:
                    json.dump({"failed": "now"}, file)
            results = report.Results(directory, ["load"], stored)
        self.assertEqual("It could not be measured: now", results.failure("load"))
        self.assertEqual("It could not be measured: kept, it is not named",
                         results.failure("strange"))
        days = report.dates(results)
        self.assertEqual("- 2001-02-03: wake, strange", days[0])
        self.assertRegex(days[1], r"^- 20\d\d-\d\d-\d\d: load$")

    def test_names_one_day_where_all_were_measured_together(self):
        self.assertRegex("\n".join(report.dates(self.results)), r"^- 20\d\d-\d\d-\d\d$")

    def test_takes_an_exact_goal_exactly(self):
        self.assertIn("| threads | 4.00 | exactly 3 | **missed** |", self.lines("goals: strange"))
        self.assertIn("| rings | 2.00 | exactly 3 | **missed** |", self.lines("goals: strange"))

    def test_says_when_there_is_no_reason_yet(self):
        self.assertIn("Not explained yet.", self.lines("missed"))

    def test_gives_the_reason_that_is_written_down(self):
        self.results.programs["wake"] = MEASURED
        self.assertIn("mutex", self.lines("missed"))

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
