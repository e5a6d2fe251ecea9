#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""report.py DIRECTORY [NAME...]: generates bench/results.json, docs/performance.md and its plots from
the benchmarks' files in DIRECTORY, one NAME.json each. With names, only these are read there; all
others stay as they are in bench/results.json.

The page's text is bench/page.md. Lines of the form {{what: arguments}} are replaced:
    {{table: NAME counter}}   medians [min..max] of a program's counter
    {{goals: NAME [pattern]}} figures with a goal: reached or missed, by how much
    {{ratios: NAME [pattern]}} ratios without a goal
    {{settings: NAME}}        conditions of the measurement
    {{plot: NAME}}            the picture
    {{counters: NAME program}} all counters of one program
    {{columns: NAME pattern counter/unit...}} medians [min..max] of some counters of some programs
    {{missed}}                all goals that were missed, with their reasons (bench/reasons.txt)
    {{out of reach}}          goals that the design cannot reach, with their bounds (bench/bounds.txt)
    {{machine}}               machine of the run
    {{counts}}                the counts of the gate
Missing measurements are reported in their places.
"""
import datetime
import json
import os
import re
import statistics
import subprocess
import sys

HERE = os.path.dirname(os.path.realpath(__file__))
ROOT = os.path.dirname(HERE)
STORED = f"{HERE}/results.json"
PAGE = f"{ROOT}/docs/performance.md"
PLOTS = f"{ROOT}/docs/performance"


def spread(values):
    return statistics.median(values), min(values), max(values)


def number(value):
    return f"{value:.0f}" if abs(value) >= 1000 else f"{value:.1f}" if abs(value) >= 10 else f"{value:.3g}"


def with_range(values, unit=1):
    return "{} [{}..{}]".format(*(number(value / unit) for value in spread(values)))


def reaches(value, goal):
    """Compares two digits after the point, as many as are shown."""
    return round(value, 2) <= round(goal, 2)


def ratio_with_range(rounds):
    return "{:.2f} [{:.2f}..{:.2f}]".format(*spread(rounds))


class Goal:
    """A figure with a goal: one value, or a ratio in each round, which is judged by its median."""

    def __init__(self, source, what, value, goal, is_exact=False, rounds=None, bound=None):
        """bound: the text that shows that the design cannot reach the goal, or None"""
        self.source, self.what, self.value, self.goal = source, what, value, goal
        self.is_exact, self.rounds = is_exact, rounds
        self.reached = value == goal if is_exact else reaches(value, goal)
        self.bound = None if self.reached else bound

    @staticmethod
    def of_ratio(source, ratio):
        """A ratio is out of reach where a program with only the prescribed parts misses it too."""
        rounds, goal, bound = ratio["rounds"], ratio["atMost"], ratio.get("bound")
        text = None
        if bound and not reaches(statistics.median(bound["rounds"]), goal):
            text = f"{ratio_with_range(bound['rounds'])}: {bound['program']}"
        return Goal(source, ratio_name(ratio), statistics.median(rounds), goal, rounds=rounds,
                    bound=text)

    def rounds_that_reach(self):
        return sum(reaches(ratio, self.goal) for ratio in self.rounds or [])

    def verdict(self):
        reached = self.rounds_that_reach()
        some = f"reached in {reached} of {len(self.rounds)} rounds" if self.rounds else ""
        if self.reached:
            return some if self.rounds and reached < len(self.rounds) else "reached"
        text = "**missed**"
        if self.goal and not self.is_exact:
            text += f" by {100 * (self.value / self.goal - 1):.0f} %"
        return f"{text}, {some}" if reached else text

    def row(self, last=None):
        """last: the last column instead of the verdict"""
        text = f"{self.value:.2f}" if self.value < 100 else f"{self.value:.0f}"
        if self.rounds:
            text = ratio_with_range(self.rounds)
        goal = f"{'exactly' if self.is_exact else 'at most'} {self.goal:.4g}"
        return f"| {self.what} | {text} | {goal} | {last or self.verdict()} |"


class Results:
    """Results of the programs, by name."""

    def __init__(self, directory, names=None, stored=None):
        """names: only these, in addition to the stored results; None: all there are"""
        self.programs = {}
        stored = stored or {}
        for name, program in stored.get("programs", {}).items():
            self.programs[name] = {"date": stored["date"], **program}
        now = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
        for name in sorted(os.listdir(directory)):
            if name.endswith(".json") and (names is None or name[:-5] in names):
                with open(f"{directory}/{name}", encoding="utf-8") as file:
                    self.programs[name[:-5]] = {**json.load(file), "date": now}

    def failure(self, name):
        """The reason why there are no figures, or None."""
        program = self.programs.get(name)
        if program is None:
            return "It was not run."
        return f"It could not be measured: {program['failed']}" if "failed" in program else None

    def goals(self, name):
        """Goals that the design can reach."""
        return [goal for goal in self.all_goals(name) if goal.bound is None]

    def out_of_reach(self, name):
        return [goal for goal in self.all_goals(name) if goal.bound is not None]

    def all_goals(self, name):
        program = self.programs.get(name, {})
        for ratio in program.get("ratios") or []:
            if "atMost" in ratio:
                yield Goal.of_ratio(name, ratio)
        for figure in program.get("figures") or []:
            is_exact = "exactly" in figure
            yield Goal(name, figure["name"], figure["value"],
                       figure["exactly" if is_exact else "atMost"], is_exact)
        entries = program.get("counts") or {}
        for count, entry in entries.items():
            if entry.get("goal") is not None:
                yield Goal(name, count, entry["count"], entry["goal"],
                           bound=count_bound(count, entries))


def ratio_name(ratio):
    if ratio["denominator"] == "itself":
        return f"{ratio['numerator']}: {ratio['counter']}"
    # Where two programs have the same label, their first words distinguish them.
    return f"{ratio['counter']}: {ratio['numerator']} / {ratio['denominator']}"


def count_bound(what, entries):
    """The text that shows, by other counts of the same run, that the design cannot reach the goal of
    a count; or None."""
    count, goal = entries[what]["count"], entries[what]["goal"]
    without_lock = entries.get(f"{what} and the C library's lock")
    if without_lock is not None:
        return f"{count - without_lock['count']:.1f}: lock and unlock in the C library"
    parts = re.fullmatch(r"(ring (\d+) (K|M)iB), (\d+) B", what)
    one_piece = parts and entries.get(f"{parts[1]}, 64 B")
    if not one_piece or one_piece["count"] > goal:
        return None
    chunks = int(parts[2]) * (1 << 20 if parts[3] == "M" else 1 << 10) / int(parts[4])
    return (f"{one_piece['count']:.1f} in one piece, and {(count - one_piece['count']) * chunks:.0f} "
            f"more once in {chunks:.0f} chunks")


# Pieces of the page -----------------------------------------------------------------------------


def table(results, name, counter, unit=1, pattern=""):
    counter = counter.replace("_", " ")
    lines = [f"| | {counter} |", "|---|---|"]
    for program, counters in results.programs[name]["rounds"].items():
        if counter in counters and re.search(pattern, program):
            lines.append(f"| {program} | {with_range(counters[counter], float(unit))} |")
    return lines


def grid(results, name, counter, pattern="ring 64 KiB"):
    """Table of programs by chunk size."""
    cells, chunks = {}, []
    for program, counters in results.programs[name]["rounds"].items():
        parts = re.match(r"(.*) (\d+) B(.*)$", program)
        if not parts or not re.search(pattern, program):
            continue
        if parts[2] not in chunks:
            chunks.append(parts[2])
        cells.setdefault(parts[1], {})[parts[2]] = with_range(counters[counter])
    lines = ["| | " + " | ".join(f"{chunk} B" for chunk in chunks) + " |",
             "|---" * (len(chunks) + 1) + "|"]
    return lines + [f"| {row} | " + " | ".join(of.get(chunk, "-") for chunk in chunks) + " |"
                    for row, of in cells.items()]


def columns(results, name, pattern, *counters):
    """Several counters of the programs that have all of them. A counter is "name/unit"."""
    parts = [counter.replace("_", " ").partition("/") for counter in counters]
    lines = ["| | " + " | ".join(counter for counter, _, _ in parts) + " |",
             "|---" * (len(parts) + 1) + "|"]
    for program, values in results.programs[name]["rounds"].items():
        if re.search(pattern, program) and all(counter in values for counter, _, _ in parts):
            cells = [with_range(values[counter], float(unit or 1)) for counter, _, unit in parts]
            lines.append(f"| {program} | " + " | ".join(cells) + " |")
    return lines


def goals(results, name, pattern=""):
    rows = [goal.row() for goal in results.goals(name) if re.search(pattern, goal.what)]
    return ["| | measured [lowest..highest round] | goal | |", "|---|---|---|---|"] + rows


def counters(results, name, program, unit=1):
    """All counters of one program, the largest first."""
    by_size = sorted(results.programs[name]["rounds"].get(program, {}).items(),
                     key=lambda item: -statistics.median(item[1]))
    return ["| | |", "|---|---|"] + [f"| {counter} | {with_range(values, float(unit))} |"
                                     for counter, values in by_size]


def ratios(results, name, pattern=""):
    lines = ["| | ratio [lowest..highest round] |", "|---|---|"]
    for ratio in results.programs[name]["ratios"]:
        if "atMost" not in ratio and re.search(pattern, ratio_name(ratio)):
            lines.append(f"| {ratio_name(ratio)} | {ratio_with_range(ratio['rounds'])} |")
    return lines


def settings(results, name):
    return [f"- {key}: {value}" for key, value in results.programs[name]["settings"].items()]


def counts(results, name="gate"):
    lines = ["| | counted | limit | goal | |", "|---|---|---|---|---|"]
    out_of_reach = [goal.what for goal in results.out_of_reach(name)]
    for what, entry in results.programs[name]["counts"].items():
        goal = None if what in out_of_reach else entry.get("goal")
        verdict = "" if goal is None else "reached" if entry["count"] <= goal else "**missed**"
        limit = entry.get("limit")
        shown = ["" if value is None else format(value, ".0f") for value in (limit, goal)]
        lines.append(f"| {what} | {number(entry['count'])} | {shown[0]} | {shown[1]} | {verdict} |")
    return lines


def figures(results, name):
    """Values of one run, such as bytes."""
    lines = ["| | |", "|---|---|"]
    return lines + [f"| {what} | {value} |" for what, value in results.programs[name]["values"].items()]


def read_reasons(name):
    reasons = []
    with open(f"{HERE}/{name}", encoding="utf-8") as lines:
        for line in lines:
            pattern, found, reason = line.rstrip("\n").partition(" => ")
            if found and not line.startswith("#"):
                reasons.append((pattern, reason))
    return reasons


def by_reason(goals_with_names, file, last_heading, last_of):
    """A table for each reason in the file: the first pattern found in "program: goal" counts."""
    reasons = read_reasons(file)
    tables = {}
    for name, goal in goals_with_names:
        text = next((reason for pattern, reason in reasons
                     if re.search(pattern, f"{name}: {goal.what}")), "Not explained yet.")
        tables.setdefault(text, []).append(goal)
    lines = []
    for reason, of_reason in tables.items():
        lines += [f"| | measured [lowest..highest round] | goal | {last_heading} |", "|---|---|---|---|"]
        lines += [goal.row(last_of(goal)) for goal in of_reason] + ["", reason, ""]
    return lines or ["None."]


def missed(results):
    return by_reason(((name, goal) for name in results.programs for goal in results.goals(name)
                      if not goal.reached), "reasons.txt", "", lambda goal: goal.verdict())


def out_of_reach(results):
    return by_reason(((name, goal) for name in results.programs
                      for goal in results.out_of_reach(name)),
                     "bounds.txt", "bound", lambda goal: goal.bound)


def overview(results):
    lines = ["| | goals | reached | of these not in every round | missed | out of reach |",
             "|---|---|---|---|---|---|"]
    for name in results.programs:
        goals_of = results.goals(name)
        reached = [goal for goal in goals_of if goal.reached]
        not_always = [goal for goal in reached
                      if goal.rounds and goal.rounds_that_reach() < len(goal.rounds)]
        without = results.out_of_reach(name)
        why = results.failure(name)
        if why:
            lines.append(f"| {name} | {why} | | | | |")
        elif goals_of or without:
            lines.append(f"| {name} | {len(goals_of)} | {len(reached)} | {len(not_always)} | "
                         f"{len(goals_of) - len(reached)} | {len(without)} |")
    return lines


def machine(results):
    """Machine of the run, and its load."""
    settings_of = [program["settings"] for program in results.programs.values()
                   if "settings" in program]
    lines = sorted({f"- {each['machine']}" for each in settings_of if "machine" in each})
    loads = sorted(float(each["load before"].split()[0]) for each in settings_of
                   if "load before" in each)
    if loads:
        lines.append(f"- load before the programs: {loads[0]} to {loads[-1]}")
    return lines + dates(results)


def dates(results):
    """The days of the measurements; each with its programs if there are several."""
    names = {}
    for name, program in results.programs.items():
        names.setdefault(program["date"][:10], []).append(name)
    if len(names) == 1:
        return [f"- {day}" for day in names]
    return [f"- {day}: {', '.join(names[day])}" for day in sorted(names)]


def absent(results):
    """Peers that did not start."""
    lines = [f"- `{name}`, {key}: {value}" for name, program in results.programs.items()
             for key, value in program.get("settings", {}).items() if "not measured" in value]
    lines += [f"- `{name}`: {results.failure(name)}" for name in results.programs
              if results.failure(name)]
    return lines or ["Everything was measured."]


# Plots ------------------------------------------------------------------------------------------


def draw(name, commands, blocks):
    """blocks: (name, rows) of data."""
    data = "\n".join(f"${block} << END\n" + "\n".join(" ".join(map(str, row)) for row in rows) +
                     "\nEND" for block, rows in blocks)
    script = (f"set terminal svg size 800,420 dynamic background rgb 'white' font 'sans,12'\n"
              f"set output '{PLOTS}/{name}.svg'\nset grid\nset key outside right top\n"
              f"{data}\n{commands}\n")
    subprocess.run(["gnuplot"], input=script, text=True, check=True)
    with open(f"{PLOTS}/{name}.svg", encoding="utf-8") as file:
        first, _, rest = file.read().partition("\n")
    with open(f"{PLOTS}/{name}.svg", "w", encoding="utf-8") as file:
        file.write(f"{first}\n<!-- SPDX-License-Identifier: Apache-2.0 -->\n{rest}")


def sizes_plot(results, name, series, pattern, counter="time"):
    blocks = []
    for index, title in enumerate(series):
        rows = []
        for program, counters in results.programs[name]["rounds"].items():
            parts = re.match(r"(.*) (\d+) B(.*)$", program)
            if parts and parts[1] == title and re.search(pattern, parts[3] or " "):
                rows.append((parts[2], *spread(counters[counter])))
        if rows:
            blocks.append((f"d{index}", title, rows))
    plots = ", ".join(f"${block} using 1:2:3:4 with yerrorlines lw 2 title '{title}'"
                      for block, title, _ in blocks)
    draw(name, "set logscale xy\nset xlabel 'bytes of a chunk'\nset ylabel 'ns'\n"
         "set xtics (64, 192, 960, 3840, '16 Ki' 16384, '64 Ki' 65536)\nplot " + plots,
         [(block, rows) for block, _, rows in blocks])


def bars_plot(results, name, counter, unit, label, pattern=""):
    rows = []
    for program, counters in results.programs[name]["rounds"].items():
        if counter in counters and re.search(pattern, program):
            low_to_high = [value / unit for value in spread(counters[counter])]
            rows.append((f'"{program}"', *low_to_high))
    draw(name, f"set style fill solid 0.6\nset boxwidth 0.7\nset ylabel '{label}'\n"
         "set yrange [0:*]\nset xtics rotate by -35\nset nokey\n"
         "plot $d using 0:2:xtic(1) with boxes, $d using 0:2:3:4 with yerrorbars lc black", [("d", rows)])


def scale_plot(results, name):
    rounds = results.programs[name]["rounds"]
    blocks = []
    for index, (counter, title) in enumerate((("server cpu", "server"), ("client cpu", "clients"))):
        rows = [(program.split()[0], *spread(counters[counter]))
                for program, counters in rounds.items() if counter in counters]
        blocks.append((f"d{index}", title, rows))
    draw(name, "set logscale x\nset xlabel 'streams'\nset ylabel 'CPU per stream, us per second'\n"
         "set xtics (1, 8, 64, 256)\nset yrange [0:*]\nplot " +
         ", ".join(f"${block} using 1:2:3:4 with yerrorlines lw 2 title '{title}'"
                   for block, title, _ in blocks), [(block, rows) for block, _, rows in blocks])


PICTURES = {
    "ring": lambda results: sizes_plot(results, "ring", (
        "ours", "memcpy+clock", "memcpy+clock,called", "header+clock,called", "spa+clock",
        "spa+clock,called", "jack+clock", "boost+clock", "boost+clock,called"), "ring 64 KiB"),
    "processes": lambda results: sizes_plot(results, "processes", (
        "ours", "ours in place", "header+clock,called", "spa+clock", "spa+clock,called", "jack+clock",
        "boost+clock", "boost+clock,called"), ""),
    "view": lambda results: sizes_plot(results, "view", (
        "copy", "view", "copy+sum", "view+sum"), "ring 1024 KiB"),
    "call": lambda results: bars_plot(results, "call", "p50", 1000, "us"),
    "wake": lambda results: bars_plot(results, "wake", "p50", 1000, "us"),
    "streams": lambda results: bars_plot(results, "streams", "construct", 1000, "us", r"^(?!.*\+log)"),
    "scale": lambda results: scale_plot(results, "scale"),
}


def plot(results, name):
    os.makedirs(PLOTS, exist_ok=True)
    PICTURES[name](results)
    return [f"![{name}](performance/{name}.svg)"]


# ------------------------------------------------------------------------------------------------

PIECES = {"table": table, "grid": grid, "goals": goals, "ratios": ratios, "settings": settings,
          "counters": counters, "columns": columns, "counts": counts, "figures": figures, "plot": plot}
WHOLE = {"machine": machine, "missed": missed, "out of reach": out_of_reach, "overview": overview,
         "absent": absent}


def piece(results, text):
    what, _, rest = text.partition(":")
    what = what.strip()
    if what in WHOLE:
        return WHOLE[what](results)
    words = [word.strip() for word in rest.split(",") if word.strip()]
    if what == "counts":
        words = ["gate"]
    why = results.failure(words[0])
    return [why] if why else PIECES[what](results, *words)


def page(results):
    lines = []
    with open(f"{HERE}/page.md", encoding="utf-8") as template:
        for line in template.read().split("\n"):
            found = re.fullmatch(r"\{\{(.*)\}\}", line)
            lines += piece(results, found[1]) if found else [line]
    return "\n".join(lines)


def one_line_lists(text):
    """Puts the figures of a program's rounds on one line."""
    return re.sub(r"\[[^][{}\"]*\]", lambda found: " ".join(found[0].split()), text)


def main():
    if len(sys.argv) < 2:
        sys.exit("usage: report.py DIRECTORY [NAME...]")
    if names := sys.argv[2:]:
        with open(STORED, encoding="utf-8") as file:
            results = Results(sys.argv[1], names, json.load(file))
    else:
        results = Results(sys.argv[1])
    when = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    with open(STORED, "w", encoding="utf-8") as file:
        file.write(one_line_lists(json.dumps({"date": when, "programs": results.programs},
                                             indent=1)))
        file.write("\n")
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(page(results))
    print(f"made {STORED}, {PAGE} and its plots")


if __name__ == "__main__":
    main()
