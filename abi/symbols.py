#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the Debian symbols file anew from the lists of exported names.

usage: symbols.py VERSION SYMBOLS EXPORTS32 EXPORTS64

A name that the file has already keeps the version that it came with; a new one gets VERSION. Names
that only one word size has differ by types such as uint64_t, or by the offset of a second base.
"""
import re
import sys

HEAD = """\
# SPDX-License-Identifier: Apache-2.0
libcabinaudio.so.2 libcabinaudio2 #MINVER#
* Build-Depends-Package: libcabinaudio-dev
"""
NODE = "CABINAUDIO_2"
ENTRY = re.compile(r" (?:\(arch-bits=\d+\))?(\S+)@" + NODE + r" (\S+)$")


def lines_of(path):
    with open(path, encoding="ascii") as file:
        return file.read().splitlines()


def known_versions(path):
    try:
        entries = (ENTRY.match(line) for line in lines_of(path))
    except FileNotFoundError:
        return {}
    return {entry[1]: entry[2] for entry in entries if entry}


def main():
    version, path = sys.argv[1:3]
    names32, names64 = (set(lines_of(listed)) for listed in sys.argv[3:5])
    known = known_versions(path)
    out = [f" {NODE}@{NODE} {known.get(NODE, version)}"]
    for name in sorted(names32 | names64):
        tag = ""
        if name not in names32:
            tag = "(arch-bits=64)"
        elif name not in names64:
            tag = "(arch-bits=32)"
        out.append(f" {tag}{name}@{NODE} {known.get(name, version)}")
    with open(path, "w", encoding="ascii") as file:
        file.write(HEAD + "\n".join(out) + "\n")
    gone = sorted(set(known) - names32 - names64 - {NODE})
    for name in gone:
        print(f"no longer exported: {name}")
    return 1 if gone else 0


if len(sys.argv) != 5:
    print(__doc__.split("\n\n")[1], file=sys.stderr)
    sys.exit(2)
sys.exit(main())
