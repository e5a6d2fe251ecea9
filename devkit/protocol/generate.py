#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""generate.py [--check]: generates, from the headers in wire/, the tables of docs/protocol.md,
devkit/trace/WireFields.cpp and the tables of the Wireshark dissector. With --check nothing is
written; exit status 1 means that a file does not match the headers.
"""
import sys

import dissector
import records
import tables
import wire_fields

GENERATORS = (tables, wire_fields, dissector)


def outdated(root=records.ROOT):
    """{path: new text} of the files that do not match the headers."""
    catalogue = records.Catalogue(root)
    found = {}
    for generator in GENERATORS:
        path = root / generator.PATH
        text = path.read_text(encoding="utf-8") if path.exists() else ""
        made = generator.make(catalogue, text)
        if made != text:
            found[generator.PATH] = made
    return found


def main(arguments):
    if arguments not in ([], ["--check"]):
        raise SystemExit(__doc__)
    stale = outdated()
    for path, text in stale.items():
        if arguments:
            print(f"{path} is not what wire/ gives: run devkit/protocol/generate.py",
                  file=sys.stderr)
        else:
            (records.ROOT / path).write_text(text, encoding="utf-8")
    return 1 if arguments and stale else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
