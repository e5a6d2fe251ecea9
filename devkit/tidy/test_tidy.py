#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Sources with findings fail, each time; clean ones are checked again after a change only."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TIDY = Path(__file__).resolve().parent / "tidy.py"
REAL = shutil.which("clang-tidy")
CHECKS = """Checks: '-*,readability-identifier-naming'
WarningsAsErrors: '*'
HeaderFilterRegex: '.*'
CheckOptions:
  - {key: readability-identifier-naming.FunctionCase, value: camelBack}
"""


class Tidy(unittest.TestCase):
    def setUp(self):
        self.root = Path(tempfile.mkdtemp()).resolve()
        self.addCleanup(shutil.rmtree, self.root)
        # Notes each source that clang-tidy looks at.
        program = self.root / "bin" / "clang-tidy"
        program.parent.mkdir()
        program.write_text(f'#!/bin/sh\n[ "$1" = --version ] || echo run >>{self.root}/runs\n'
                           f'exec {REAL} "$@"\n')
        program.chmod(0o755)
        self.tree = self.new_tree("tree")

    def new_tree(self, name):
        tree = self.root / name
        self.write(tree / ".clang-tidy", CHECKS)
        self.write(tree / "link" / "Good.h", "inline int good() { return 1; }\n")
        self.write(tree / "link" / "One.cpp", '#include "Good.h"\nint one() { return good(); }\n')
        self.write(tree / "link" / "Two.cpp", "int two() { return 2; }\n")
        self.write(tree / "build" / "compile_commands.json", json.dumps(
            [{"directory": str(tree / "build"), "file": str(tree / "link" / f"{name}.cpp"),
              "command": f"/usr/bin/c++ -I{tree} -include {tree}/build/cmake_pch.hxx -o {name}.o "
                         f"-c {tree}/link/{name}.cpp"} for name in ("One", "Two")]))
        return tree

    @staticmethod
    def write(path, text):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def tidy(self, *words, tree=None):
        """Returns the exit status, the findings, and how many sources were looked at."""
        runs = self.root / "runs"
        runs.write_text("")
        done = subprocess.run(
            [sys.executable, TIDY, "build", *words], cwd=tree or self.tree, check=False, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            env={**os.environ, "XDG_CACHE_HOME": str(self.root / "cache"),
                 "PATH": f"{self.root / 'bin'}:{os.environ['PATH']}"})
        return done.returncode, done.stdout, len(runs.read_text().splitlines())

    def test_clean_sources_are_checked_once(self):
        self.assertEqual(self.tidy(), (0, "", 2))
        self.assertEqual(self.tidy(), (0, "", 0))
        self.assertEqual(self.tidy(tree=self.new_tree("other")), (0, "", 0))

    def test_a_finding_fails_each_time(self):
        self.write(self.tree / "link" / "Two.cpp", "int Two_() { return 2; }\n")
        for looked in (2, 1):
            status, said, runs = self.tidy()
            self.assertEqual((status, runs), (1, looked))
            self.assertIn("Two.cpp:1:5: error: invalid case style for function 'Two_'", said)

    def test_a_changed_header_counts_for_those_who_include_it(self):
        self.tidy()
        self.write(self.tree / "link" / "Good.h", "inline int Bad_() { return 1; }\n"
                                                  "inline int good() { return Bad_(); }\n")
        status, said, runs = self.tidy()
        self.assertEqual((status, runs), (1, 1))
        self.assertIn("Good.h:1:12: error", said)

    def test_other_checks_or_another_command_count(self):
        self.tidy()
        self.write(self.tree / "link" / ".clang-tidy", "InheritParentConfig: true\n")
        self.assertEqual(self.tidy(), (0, "", 2))
        commands = self.tree / "build" / "compile_commands.json"
        commands.write_text(commands.read_text().replace("-o Two.o", "-DX -o Two.o"))
        self.assertEqual(self.tidy(), (0, "", 1))

    def test_a_source_is_checked_in_each_way_in_which_it_is_compiled(self):
        self.write(self.tree / "link" / "Two.cpp", "#ifdef X\nint Two_() { return 2; }\n#endif\n")
        commands = self.tree / "build" / "compile_commands.json"
        entries = json.loads(commands.read_text())
        other = {**entries[1], "command": entries[1]["command"].replace("-o Two.o", "-o Other.o")}
        commands.write_text(json.dumps([*entries, other]))
        self.assertEqual(self.tidy(), (0, "", 2))
        other["command"] += " -DX"
        commands.write_text(json.dumps([*entries, other]))
        status, said, runs = self.tidy()
        self.assertEqual((status, runs), (1, 1))
        self.assertIn("Two.cpp:2:5: error", said)

    def test_what_a_crash_left_empty_counts_for_nothing(self):
        self.tidy()
        for file in (self.root / "cache").glob("cabinaudio/tidy/*/*"):
            file.write_text("")
        self.assertEqual(self.tidy(), (0, "", 2))

    def test_files_are_those_that_the_build_compiles(self):
        self.assertEqual(self.tidy("link/Two.cpp"), (0, "", 1))
        status, said, _ = self.tidy("link/Good.h")
        self.assertEqual(status, 1)
        self.assertIn("Good.h is not compiled in build", said)

    def test_what_does_not_compile_fails(self):
        self.write(self.tree / "link" / "Two.cpp", "int two( { return 2; }\n")
        self.assertEqual(self.tidy()[0], 1)


if __name__ == "__main__":
    unittest.main()
