#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what a build of the library exports and needs with what it should.

usage: check_exports.py LIBRARY LIST [--update] [--interposable]

LIST holds one mangled name a line, sorted. --update writes it anew; look at the difference before
committing it: a name that goes away breaks programs. --interposable: of the link for tests, whose
own calls are not bound.
"""
import re
import subprocess
import sys

SONAME = "libcabinaudio.so.2"
NODE = "CABINAUDIO_2"
NEEDED = re.compile(r"(libc|libstdc\+\+|libgcc_s|libm|liblog|ld-linux[\w-]*)\.so(\.\d+)?$")


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported(library):
    names = []
    for line in output("nm", "-D", "--defined-only", "--with-symbol-versions", library).splitlines():
        kind, symbol = line.split()[-2:]
        name, _, version = symbol.partition("@@")
        if name == NODE:
            continue
        if version != NODE:
            names.append(f"{name} without version {NODE}")
        elif kind in "Ww":
            # Each program has an inline function of its own; one that leaves the library is bound
            # instead of it, or not, as the compiler likes.
            names.append(f"{name}, an inline function")
        else:
            names.append(name)
    return sorted(names)


def looked_up(library):
    """The library's own functions and objects that the loader looks up by name."""
    relocations = output("readelf", "-rW", library)
    return sorted(set(re.findall(rf"\s(\S+)@@{NODE}", relocations)))


def main():
    library, listed = sys.argv[1:3]
    names = exported(library)
    if "--update" in sys.argv:
        with open(listed, "w", encoding="ascii") as out:
            out.write("\n".join(names) + "\n")
        return 0
    problems = []
    with open(listed, encoding="ascii") as known:
        expected = known.read().split("\n")[:-1]
    problems += [f"exported, but not listed: {name}" for name in names if name not in expected]
    problems += [f"listed, but not exported: {name}" for name in expected if name not in names]
    dynamic = output("readelf", "-dW", library)
    if f"Library soname: [{SONAME}]" not in dynamic:
        problems.append(f"the SONAME is not {SONAME}")
    needed = re.findall(r"NEEDED.*\[(.*)\]", dynamic)
    problems += [f"needs {name}" for name in needed if not NEEDED.match(name)]
    if not any(name.startswith("liblog") for name in needed):
        problems.append("does not need the log library")
    if "SYMBOLIC" in dynamic:
        problems.append("binds its own symbols: a process could not take over the log")
    by_name = looked_up(library)
    if "--interposable" in sys.argv:
        if not by_name:
            problems.append("binds its own calls: no program can replace a function of the library")
    else:
        problems += [f"does not bind its own {name}" for name in by_name]
    if not re.search(r" w sem_clockwait", output("nm", "-D", library)):
        problems.append("sem_clockwait is not a weak reference")
    for problem in problems:
        print(problem)
    print(f"{len(names)} exported symbols, needs {', '.join(needed)}")
    return 1 if problems or not names else 0


sys.exit(main())
