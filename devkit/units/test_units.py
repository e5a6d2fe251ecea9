#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""test_units.py: names that hide what another source of a unit means are found, and no others."""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

UNITS = Path(__file__).resolve().parent / "units.py"
LEVEL = "namespace a::b {\ndouble decibels(double peak);\n}\n"
CALLER = '#include "Level.h"\nnamespace a::b {\nnamespace {\ndouble call() { return decibels(1); }\n}\n}\n'


class Units(unittest.TestCase):
    def setUp(self):
        self.tree = Path(tempfile.mkdtemp()).resolve()
        self.addCleanup(shutil.rmtree, self.tree)

    def findings(self, units=None, **files):
        """Finds names in a tree of these files, whose sources are one unit unless units says more."""
        for name, text in files.items():
            (self.tree / name.replace("_", ".")).write_text(text)
        sources = [name.replace("_", ".") for name in files if name.endswith("_cpp")]
        for number, unit in enumerate(units or [sources]):
            directory = self.tree / "build" / "CMakeFiles" / f"target{number}.dir" / "Unity"
            directory.mkdir(parents=True)
            (directory / "unity_0_cxx.cxx").write_text(
                "".join(f'#include "{self.tree / source}"\n\n' for source in unit))
        done = subprocess.run([sys.executable, UNITS, "build"], cwd=self.tree, check=False, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 1 if done.stdout else 0, done.stderr)
        return done.stdout.splitlines()

    def test_finds_an_own_function_that_hides_one_of_a_header(self):
        self.assertEqual(
            self.findings(Level_h=LEVEL, Call_cpp=CALLER,
                          Own_cpp="namespace a::b {\nnamespace {\ndouble decibels(int) { return 0; }\n}\n}\n"),
            ["Own.cpp:3: decibels hides what Call.cpp means"])

    def test_finds_a_header_that_hides_a_function_of_an_outer_namespace(self):
        self.assertEqual(
            self.findings(Level_h=LEVEL, Call_cpp=CALLER.replace("namespace a::b", "namespace a::b::c"),
                          Inner_h="namespace a::b::c {\nint decibels(int level);\n}\n",
                          Other_cpp='#include "Inner.h"\nnamespace a::b::c {\nint x() { return decibels(1); }\n}\n'),
            ["Inner.h:2: decibels hides what Call.cpp means"])

    def test_finds_a_type_that_hides_one_of_the_source_itself(self):
        self.assertEqual(
            self.findings(One_cpp="namespace a {\nusing Clock = int;\nnamespace {\nClock now() { return 1; }\n}\n}\n",
                          Two_cpp="namespace a {\nnamespace {\nusing Clock = long;\n}\n}\n"),
            ["Two.cpp:3: Clock hides what One.cpp means"])

    def test_permits_names_of_sources_in_different_targets(self):
        own = "namespace a::b {\nnamespace {\ndouble decibels(int) { return 0; }\n}\n}\n"
        self.assertEqual(self.findings([["Call.cpp"], ["Own.cpp"]],
                                       Level_h=LEVEL, Call_cpp=CALLER, Own_cpp=own), [])

    def test_permits_names_of_inner_and_neighbouring_namespaces(self):
        for scope in ("a::b::c", "a::d"):
            own = f"namespace {scope} {{\nnamespace {{\ndouble decibels(int) {{ return 0; }}\n}}\n}}\n"
            with self.subTest(scope):
                self.assertEqual(self.findings(Level_h=LEVEL, Call_cpp=CALLER, Own_cpp=own), [])
            shutil.rmtree(self.tree / "build")

    def test_permits_overloads_in_one_namespace(self):
        one = "namespace a {\nnamespace {\nint size(int) { return 1; }\nint x() { return size(1); }\n}\n}\n"
        two = "namespace a {\nnamespace {\nint size(char*) { return 2; }\n}\n}\n"
        self.assertEqual(self.findings(One_cpp=one, Two_cpp=two), [])

    def test_permits_members_scoped_names_and_comments(self):
        own = "namespace a::b {\nnamespace {\ndouble decibels(int) { return 0; }\n}\n}\n"
        for use in ("level.decibels(1)", "level->decibels(1)", "b::decibels(1)", '0; /* decibels */',
                    '"decibels"', "0;  // decibels"):
            with self.subTest(use):
                self.assertEqual(
                    self.findings(Level_h=LEVEL, Call_cpp=CALLER.replace("decibels(1)", use), Own_cpp=own), [])
            shutil.rmtree(self.tree / "build")

    def test_refuses_a_build_without_units(self):
        (self.tree / "build").mkdir()
        done = subprocess.run([sys.executable, UNITS, "build"], cwd=self.tree, check=False, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual((done.returncode, done.stderr), (1, "units.py: build compiles no sources together\n"))


if __name__ == "__main__":
    unittest.main()
