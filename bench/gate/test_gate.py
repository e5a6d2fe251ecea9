#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""test_gate.py COUNTS: checks that the gate can fail, with the counts that it has just taken (its
--json file)."""
import json
import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path.insert(0, HERE)
import gate  # noqa: E402

COUNTS = None


def counted():
    with open(COUNTS, encoding="utf-8") as file:
        return {name: entry["count"] for name, entry in json.load(file)["counts"].items()}


def status_with(limits):
    """Exit status of the gate with these limits instead of its own."""
    with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
        for name, limit in limits.items():
            file.write(f"{limit} - {name}\n")
        file.flush()
        return subprocess.run([sys.executable, f"{HERE}/gate.py", "--judge", COUNTS, "--limits",
                               file.name], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              check=False).returncode


class Gate(unittest.TestCase):
    def test_passes_with_limits_that_are_just_met(self):
        self.assertEqual(status_with(counted()), 0)

    def test_fails_when_any_limit_is_one_lower(self):
        for lowered in counted():
            limits = {name: count - (name == lowered) for name, count in counted().items()}
            self.assertEqual(status_with(limits), 1, lowered)

    def test_fails_when_something_was_not_counted(self):
        self.assertEqual(status_with({**counted(), "something else": 1}), 1)

    def test_fails_when_something_has_no_limit(self):
        limits = counted()
        limits.popitem()
        self.assertEqual(status_with(limits), 1)

    def test_leaves_callees_out_of_what_a_function_costs_itself(self):
        text = ("events: Ir\nfl=a.cpp\nfn=outer()\n10 5\n+1 2\ncfn=memcpy\ncalls=1 7\n12 100\n13 1\n"
                "fn=memcpy\n7 100\n")
        self.assertEqual(gate.self_costs(text), {"outer()": 8, "memcpy": 100})
        self.assertEqual(gate.total(gate.self_costs(text), gate.COPY), 8)

    def test_sees_a_64_bit_division_of_the_target(self):
        with tempfile.TemporaryDirectory() as scratch:
            for kind, calls in (("unsigned long long", 1), ("long long", 1), ("unsigned", 0)):
                with open(f"{scratch}/a.cpp", "w", encoding="ascii") as source:
                    source.write(f"struct S {{ {kind} write({kind}, {kind}); }};\n"
                                 f"{kind} S::write({kind} a, {kind} b) {{ return a / b; }}\n"
                                 f"{kind} other({kind} a, {kind} b) {{ return a / b; }}\n")
                gate.output("arm-linux-gnueabihf-g++", "-O2", "-fPIC", "-c", "-o", f"{scratch}/a.o",
                            f"{scratch}/a.cpp")
                self.assertEqual(gate.divisions(f"{scratch}/a.o", gate.TRANSFER), calls, kind)

    def test_counts_packed_relocations_too(self):
        with tempfile.TemporaryDirectory() as scratch:
            with open(f"{scratch}/a.cpp", "w", encoding="ascii") as source:
                source.write("static int v;\nint* p[10] = {&v,&v,&v,&v,&v,&v,&v,&v,&v,&v};\n")
            for option in ("-z,nopack-relative-relocs", "-z,pack-relative-relocs"):
                gate.output("g++", "-shared", "-fPIC", "-nostdlib", f"-Wl,{option}", "-o",
                            f"{scratch}/a.so", f"{scratch}/a.cpp")
                entries, places = gate.relocations(f"{scratch}/a.so")
                self.assertEqual(places, 10, option)
                self.assertEqual(entries, 10 if "nopack" in option else 2, option)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit("usage: test_gate.py COUNTS")
    COUNTS = sys.argv.pop(1)
    unittest.main()
