#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check.py BUILD-DIRECTORY [--lines]: what of the library the tests have run, out of a build that
counts (CABINAUDIO_COVERAGE), after they have run.

Fails when a line has not run that not-run.txt does not name, when that names one that has run or
is not there, and when fewer of the branches were taken than LEAST_BRANCHES. --lines shows the
branches that were not taken, too.
"""
import json
import os
import subprocess
import sys

LAYERS = ("foundation", "link", "shm", "diag", "client", "include")
LEAST_BRANCHES = 95.0  # per cent
HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
LIST = os.path.join(HERE, "not-run.txt")


def counted(build):
    """gcovr's report: branches that only an exception takes are left out, nothing here throws."""
    filters = [word for layer in LAYERS for word in ("--filter", os.path.join(ROOT, layer) + "/")]
    command = ["gcovr", "--root", ROOT, "--json", "--exclude-throw-branches",
               "--exclude-unreachable-branches", *filters, build]
    run = subprocess.run(command, check=True, capture_output=True, text=True)
    return json.loads(run.stdout)["files"]


def named():
    """What not-run.txt has: (file, text of the line) -> reason."""
    result = {}
    reason = ""
    with open(LIST, encoding="utf-8") as file:
        for line in file:
            line = line.rstrip("\n")
            if line.startswith("#"):
                continue
            if line.startswith("= "):
                reason = line[2:]
            elif line.strip():
                path, _, text = line.partition(": ")
                result[(path, text.strip())] = reason
    return result


def source(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return [line.strip() for line in file]


def statements(text):
    """Line number -> that of the line on which its statement begins: of one that goes over several
    lines the compiler counts some only."""
    begins = {}
    begin = None
    for number, line in enumerate(text, 1):
        code = line.split("//")[0].strip()
        if begin is None:
            begin = number
        begins[number] = begin
        if not code or code[-1] in ";{}:":
            begin = None
    return begins


def main():
    arguments = sys.argv[1:]
    shows_branches = "--lines" in arguments
    arguments = [word for word in arguments if word != "--lines"]
    if len(arguments) != 1:
        sys.exit(__doc__)
    excused = named()
    used = set()
    lines = run = branches = taken = 0
    wrong = []
    for file in counted(arguments[0]):
        path = file["file"]
        text = source(path)
        begins = statements(text)
        counted_lines = [line for line in file["lines"] if not line.get("gcovr/noncode")]
        reached = {begins[line["line_number"]] for line in counted_lines if line["count"] > 0}
        for line in counted_lines:
            number = line["line_number"]
            words = text[number - 1]
            lines += 1
            has_run = begins[number] in reached
            run += has_run
            # Whether what is deleted is there is the compiler's question; either answer is right.
            asks = line["count"] > 0 and not words.startswith("delete ")
            ways = line["branches"] if asks else []
            branches += len(ways)
            taken += sum(way["count"] > 0 for way in ways)
            if shows_branches and any(way["count"] == 0 for way in ways):
                missing = sum(way["count"] == 0 for way in ways)
                print(f"{path}:{number}: {missing} of {len(ways)} branches: {words}")
            if has_run:
                continue
            if (path, words) in excused:
                used.add((path, words))
            else:
                wrong.append(f"{path}:{number}: has not run: {words}")
    for path, words in excused:
        if (path, words) not in used:
            wrong.append(f"{path}: named in not-run.txt, but runs or is not there: {words}")
    share = 100.0 * taken / max(branches, 1)
    if share < LEAST_BRANCHES:
        wrong.append(f"{share:.1f} % of the branches, {LEAST_BRANCHES} % are wanted")
    for one in wrong:
        print(one)
    print(f"lines: {run} of {lines} ({100.0 * run / max(lines, 1):.2f} %), "
          f"{len(excused)} named with their reasons; "
          f"branches of these: {taken} of {branches} ({share:.1f} %)")
    sys.exit(1 if wrong else 0)


main()
