#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""test_report.py: the page contains the recorded runs, and --check rejects a wrong page."""
import copy
import os
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)))
import report  # noqa: E402

RECORDED = {
    "machine": "a machine",
    "results": {"soak": {"date": "2026-01-02", "run": "./cabin soak 3m", "conditions": "in a hurry",
                         "columns": ["", "count", "found"],
                         "rows": [["bytes", "1 234 567", "none"], ["streams", "2269", "one"]]}},
}
TEMPLATE = "On {{machine}}:\n\n{{table: soak}}\n"


class Page(unittest.TestCase):
    def test_has_machine_date_and_figures(self):
        self.assertEqual(report.page(TEMPLATE, RECORDED), """On a machine:

2026-01-02, `./cabin soak 3m` (in a hurry):

|  | count | found |
|---|---:|---|
| bytes | 1 234 567 | none |
| streams | 2269 | one |
""")

    def test_changes_with_a_figure(self):
        other = copy.deepcopy(RECORDED)
        other["results"]["soak"]["rows"][1][1] = "2270"
        self.assertNotEqual(report.page(TEMPLATE, RECORDED), report.page(TEMPLATE, other))

    def test_is_refused_without_a_recorded_run(self):
        with self.assertRaisesRegex(ValueError, "not on the page: soak"):
            report.page("On {{machine}}\n", RECORDED)

    def test_is_refused_with_a_run_that_was_not_recorded(self):
        with self.assertRaises(KeyError):
            report.page(TEMPLATE + "{{table: kill}}\n", RECORDED)

    def test_is_refused_when_a_row_lacks_a_column(self):
        other = copy.deepcopy(RECORDED)
        other["results"]["soak"]["rows"][0].pop()
        with self.assertRaisesRegex(ValueError, "3 columns"):
            report.page(TEMPLATE, other)


class ToldTwice(unittest.TestCase):
    def test_finds_recorded_figures_in_the_prose(self):
        self.assertEqual(report.told_twice(RECORDED, "of 1 234 567 bytes, 2269 were"),
                         ["1 234 567", "2269"])

    def test_leaves_other_numbers_alone(self):
        self.assertEqual(report.told_twice(RECORDED, "a wait of 2000 ms, 10 000 rounds, 22690"), [])


if __name__ == "__main__":
    unittest.main()
