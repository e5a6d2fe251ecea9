#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""report.py [--check]: generates docs/reliability-figures.md from the runs in results.json.

The page's text is page.md. Lines of the form {{table: NAME}} are replaced by that run with its date
and conditions, {{machine}} within a line by the machine. With --check nothing is written: the page
must match the generated one, every recorded run must be on it, and none of the larger figures may
be repeated in docs/reliability.md.
"""
import json
import os
import re
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
DOCS = f"{os.path.dirname(os.path.dirname(HERE))}/docs"
PAGE = f"{DOCS}/reliability-figures.md"
PROSE = f"{DOCS}/reliability.md"

TABLE = re.compile(r"^\{\{table: (.*)\}\}$", re.MULTILINE)
# Numbers of four or more digits, with optional blanks between thousands; shorter ones are not
# specific enough.
LARGE = re.compile(r"\d{1,3}(?: \d{3})+|\d{4,}")


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def row(cells):
    return "| " + " | ".join(cells) + " |"


def is_figure(cell):
    return re.fullmatch(r"[\d.,^ ]+( s| ms)?", cell) is not None


def table(result):
    """The run as lines of the page."""
    rows, columns = result["rows"], result["columns"]
    for cells in rows:
        if len(cells) != len(columns):
            raise ValueError(f"{len(columns)} columns, but {cells}")
    run = result["run"]
    if run.startswith(("./", "tests/")):
        run = f"`{run}`"
    rules = ["---:" if all(is_figure(cells[index]) for cells in rows) else "---"
             for index in range(len(columns))]
    conditions = f" ({result['conditions']})" if "conditions" in result else ""
    return "\n".join([f"{result['date']}, {run}{conditions}:", "",
                      row(columns), "|" + "|".join(rules) + "|", *map(row, rows)])


def page(template, recorded):
    results = recorded["results"]
    absent = set(results) - set(TABLE.findall(template))
    if absent:
        raise ValueError(f"not on the page: {', '.join(sorted(absent))}")
    text = TABLE.sub(lambda found: table(results[found[1]]), template)
    return text.replace("{{machine}}", recorded["machine"])


def told_twice(recorded, prose):
    """Large figures of the results that the text repeats."""
    figures = {figure for result in recorded["results"].values() for cells in result["rows"]
               for cell in cells[1:] for figure in LARGE.findall(cell)}
    return sorted(figures & set(LARGE.findall(prose)))


def main():
    recorded = json.loads(read(f"{HERE}/results.json"))
    made = page(read(f"{HERE}/page.md"), recorded)
    if sys.argv[1:] == ["--check"]:
        problems = [f"{PROSE}: {figure} is a recorded figure: name the page instead"
                    for figure in told_twice(recorded, read(PROSE))]
        if read(PAGE) != made:
            problems.append(f"{PAGE}: is not what devkit/reliability/report.py makes")
        sys.exit("\n".join(problems) or None)
    if sys.argv[1:]:
        sys.exit("usage: report.py [--check]")
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(made)
    print(f"made {PAGE}")


if __name__ == "__main__":
    main()
