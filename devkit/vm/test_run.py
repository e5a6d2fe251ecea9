#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""test_run.py: run.py and result.sh with an emulator that only prints a console: checks that no
fault of a machine or a program is taken for success."""
import contextlib
import io
import json
import os
import subprocess
import tempfile
import unittest

import run

HERE = os.path.dirname(os.path.abspath(__file__))
EMULATOR = """#!/bin/sh
cat "$CONSOLE"
exec sleep "$LASTS"
"""
UP = "@vm up Linux\n"
DOWN = "@vm end demo 0 1\n@vm down\n"


def told(name, status, *output):
    return "".join([f"@vm begin {name}\n", *(f"@vm | {line}\n" for line in output),
                    f"@vm end {name} {status} 1\n"])


BOTH = ["[ RUN      ] A.one", "[       OK ] A.one (1 ms)",
        "[ RUN      ] A.two", "[       OK ] A.two (1 ms)"]
RAN = "[==========] 2 tests from 1 test suite ran. (2 ms total)"
DEMO = "@vm begin demo\n"


class AMachine(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.work = directory.name
        self.put("plan.json", json.dumps({
            "programs": {"p": {"tests": {"A.one": "p.A.one", "A.two": "p.A.two"}}},
            "left out": [{"name": "p.A.three", "reason": "a reason"}],
            "numbers": {"p.A.one": 0, "p.A.two": 1, "demo": 2}, "long seconds": 0}))
        self.put("qemu-system-arm", EMULATOR)
        os.chmod(os.path.join(self.work, "qemu-system-arm"), 0o755)
        self.path = os.environ["PATH"]
        os.environ["PATH"] = self.work + ":" + self.path
        self.addCleanup(os.environ.__setitem__, "PATH", self.path)
        run.UP_SECONDS = run.SILENT_SECONDS = 1
        run.ALL_SECONDS = 60

    def put(self, name, text):
        with open(os.path.join(self.work, name), "w", encoding="utf-8") as file:
            file.write(text)

    def run_with(self, console, lasts="0"):
        """Exit status and output of run.py."""
        self.put("text", console)
        os.environ["CONSOLE"], os.environ["LASTS"] = os.path.join(self.work, "text"), lasts
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = run.run(self.work)
        return status, output.getvalue()

    def result(self, number):
        """Exit status and output of the test as CTest runs it."""
        done = subprocess.run([os.path.join(HERE, "result.sh"),
                               os.path.join(self.work, "results", str(number))],
                              check=False, stdout=subprocess.PIPE, text=True)
        return done.returncode, done.stdout

    def test_done_gives_all_results(self):
        status, output = self.run_with(UP + told("p", 0, *BOTH, RAN) + DEMO + DOWN)
        self.assertEqual(status, 0, output)
        self.assertEqual([self.result(number)[0] for number in range(3)], [0, 0, 0])
        self.assertRegex(output, r"(?m)^p +2 +2 +2 +0 +0 +1$")
        self.assertRegex(output, r"(?m)^not run: p.A.three: a reason$")

    def test_a_failed_test_fails_alone_and_shows_its_output(self):
        failed = [*BOTH[:3], "this is wrong", "[  FAILED  ] A.two, where GetParam() = 2 (1 ms)",
                  RAN]
        status, output = self.run_with(UP + told("p", 1, *failed) + DEMO + DOWN)
        self.assertEqual(status, 0, output)
        self.assertEqual(self.result(0)[0], 0)
        self.assertEqual(self.result(1)[0], 1)
        self.assertIn("this is wrong", self.result(1)[1])
        self.assertNotIn("A.one", self.result(1)[1])

    def test_a_skipped_test_says_so(self):
        skipped = [BOTH[0], "[  SKIPPED ] A.one (1 ms)", *BOTH[2:], RAN,
                   "[  SKIPPED ] 1 test, listed below:"]
        status, output = self.run_with(UP + told("p", 0, *skipped) + DEMO + DOWN)
        self.assertEqual(status, 0, output)
        self.assertIn("[  SKIPPED ]", self.result(0)[1])
        self.assertNotIn("[  SKIPPED ]", self.result(1)[1])
        self.assertRegex(output, r"(?m)^p +2 +2 +1 +1 +0 +1$")

    def test_a_crash_fails_the_test_and_the_others_count(self):
        console = UP + told("p", 139, BOTH[0]) + told("p", 0, *BOTH[2:], RAN) + DEMO + DOWN
        self.assertEqual(self.run_with(console)[0], 0)
        self.assertEqual([self.result(number)[0] for number in range(2)], [1, 0])
        self.assertIn("status 139", self.result(0)[1])

    def test_a_missing_result_fails(self):
        self.run_with(UP + told("p", 0, *BOTH[:2], RAN) + DEMO + DOWN)
        self.assertEqual(self.result(1)[0], 1)
        self.assertIn("no result", self.result(1)[1])

    def test_results_of_an_earlier_run_are_gone(self):
        self.run_with(UP + told("p", 0, *BOTH, RAN) + DEMO + DOWN)
        self.run_with(UP)
        self.assertEqual([self.result(number)[0] for number in range(3)], [1, 1, 1])

    def test_a_failed_demo_fails(self):
        self.run_with(UP + told("p", 0, *BOTH, RAN) + told("demo", 1, "not heard") + "@vm down\n")
        self.assertEqual(self.result(2)[0], 1)
        self.assertIn("not heard", self.result(2)[1])

    def expect_complaint(self, console, complaint, lasts="0"):
        status, output = self.run_with(console, lasts)
        self.assertEqual(status, 1, output)
        self.assertRegex(output, f"(?m)^FAILED: .*{complaint}")

    def test_a_program_that_does_not_start_is_a_fault(self):
        self.expect_complaint(UP + told("p", 127, "not found") + DEMO + DOWN,
                              "p ended before its last")

    def test_a_status_without_a_failed_test_is_a_fault(self):
        self.expect_complaint(UP + told("p", 3, *BOTH, RAN) + DEMO + DOWN, "status 3, but no test")

    def test_a_failed_test_does_not_excuse_the_status_of_another_part(self):
        failed = [BOTH[0], "[  FAILED  ] A.one (1 ms)", RAN]
        console = UP + told("p", 1, *failed) + told("p", 3, *BOTH[2:], RAN) + DEMO + DOWN
        self.expect_complaint(console, "status 3, but no test")

    def test_an_unknown_test_is_a_fault(self):
        more = ["[ RUN      ] A.four", "[       OK ] A.four (1 ms)"]
        self.expect_complaint(UP + told("p", 0, *BOTH, *more, RAN) + DEMO + DOWN, "A.four")

    def test_an_early_end_is_a_fault(self):
        self.expect_complaint(UP + told("p", 0, *BOTH, RAN), "ended before its work did")

    def test_a_panic_is_a_fault_and_is_shown(self):
        console = UP + DEMO + "[ 19.0] Kernel panic - not syncing: text\n"
        self.expect_complaint(console, "its kernel panicked")
        self.assertIn("    [ 19.0] Kernel panic", self.run_with(console)[1])

    def test_silence_is_a_fault(self):
        self.expect_complaint(UP + DEMO, "said nothing for 1 s", "30")

    def test_a_machine_that_does_not_come_up_is_a_fault(self):
        self.expect_complaint("", "said nothing for 1 s", "30")

    def test_too_much_time_is_a_fault(self):
        run.SILENT_SECONDS, run.ALL_SECONDS = 60, 1
        self.expect_complaint(UP + DEMO, "took too long", "30")


if __name__ == "__main__":
    unittest.main()
