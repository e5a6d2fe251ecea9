#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""run.py DIRECTORY: boots the kernel and the image in DIRECTORY (made by prepare.py) in an emulated
32-bit ARM machine with two processors, and records the output of its init.sh.

It writes to DIRECTORY
  console.log    all output of the machine
  results/N      the result of test N, see result.sh
  programs.txt   for each program how many of its tests ran, passed, were skipped, failed

Fails when the machine does not come up, panics, hangs or takes too long, and when a program's exit
status contradicts its tests. Failed tests are no failure here: each has its own result.
"""
import json
import os
import re
import select
import shutil
import subprocess
import sys
import time

UP_SECONDS = 180      # longest time until init.sh runs
SILENT_SECONDS = 180  # longest time without output; init.sh prints a line every 5 s
ALL_SECONDS = 3600    # longest time in total
TAIL = 40             # console lines shown with an error

BEGUN = re.compile(r"\[ RUN      \] (\S+)$")
ENDED = re.compile(r"\[ *(OK|FAILED|SKIPPED) *\] (\S+?)(?:,| \()")
SUMMARY = re.compile(r"^\[==========\] .* ran\.")


class MachineFault(Exception):
    """The machine has not completed its run."""


def machine_command(work):
    """No network, no disk, no monitor; the emulator ends with this process."""
    options = f"console=ttyAMA0 loglevel=4 panic=-1 oops=panic NOW={int(time.time())}"
    packages = os.path.join(work, "packages")
    return ["setpriv", "--pdeathsig", "KILL",
            "qemu-system-arm", "-M", "virt", "-cpu", "cortex-a15", "-smp", "2", "-m", "1024",
            "-accel", "tcg,thread=multi", "-nodefaults", "-nic", "none", "-display", "none",
            "-serial", "stdio", "-no-reboot", "-kernel", os.path.join(packages, "vmlinuz"),
            "-initrd", os.path.join(work, "initramfs.cpio"), "-append", options]


class Console:
    """The machine's console, line by line, with limits on its silence and on its total time."""

    def __init__(self, work, seconds):
        self.log = open(os.path.join(work, "console.log"), "wb")
        self.process = subprocess.Popen(machine_command(work), stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.end = time.monotonic() + seconds
        self.silence = UP_SECONDS
        self.panic = False

    def chunks(self):
        source = self.process.stdout.fileno()
        while True:
            left = self.end - time.monotonic()
            readable, _, _ = select.select([source], [], [], max(0, min(left, self.silence)))
            if not readable and left <= self.silence:
                raise MachineFault("it took too long")
            if not readable:
                raise MachineFault(f"it said nothing for {self.silence} s")
            data = os.read(source, 65536)
            if not data:
                return
            self.log.write(data)
            self.log.flush()
            yield data

    def lines(self):
        rest = b""
        for data in self.chunks():
            *whole, rest = (rest + data).split(b"\n")
            for line in whole:
                text = line.decode("utf-8", "replace").rstrip("\r")
                self.panic = self.panic or "Kernel panic" in text
                yield text

    def close(self):
        """The emulator's exit status. Kills it if it is still running."""
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
        self.log.close()
        self.process.stdout.close()
        return self.process.wait()


class Results:
    """Results of one program's tests, parsed from its output."""

    def __init__(self, tests):
        self.tests = tests
        self.outcomes = {}

    def take(self, lines, status):
        """Takes the output of one run of the program, which need not have all of its tests. A
        test without an end has failed. @return a complaint about the program's end, or None"""
        test, output, complete, failed = None, [], False, False
        for line in lines:
            begun, ended = BEGUN.search(line), ENDED.search(line)
            if begun:
                test, output = begun[1], []
            output.append(line)
            if ended and ended[2] == test:
                self.put(test, ended[1], output)
                failed = failed or ended[1] == "FAILED"
                test = None
            complete = complete or bool(SUMMARY.search(line))
        if test is not None:
            output.append(f"the program ended in this test, with status {status}")
            self.put(test, "FAILED", output)
            return None
        if not complete:
            return f"ended before its last test, with status {status}"
        if status != 0 and not failed:
            return f"ended with status {status}, but no test has failed"
        return None

    def put(self, test, outcome, output):
        self.outcomes.setdefault(test, (outcome, list(output)))

    def count(self, outcome):
        return sum(self.outcomes[test][0] == outcome
                   for test in self.tests if test in self.outcomes)


class Record:
    """The machine's results, as files for CTest."""

    def __init__(self, work, plan):
        self.work = work
        self.plan = plan
        self.complaints = []
        self.results = {name: Results(program["tests"])
                        for name, program in plan["programs"].items()}
        self.results["demo"] = Results({"demo": "demo"})
        self.seconds = dict.fromkeys(self.results, 0)
        self.directory = os.path.join(work, "results")
        shutil.rmtree(self.directory, ignore_errors=True)
        os.makedirs(self.directory)

    def job_ended(self, name, lines, status, seconds):
        self.seconds[name] += seconds
        if name == "demo":
            self.results[name].put("demo", "OK" if status == 0 else "FAILED", lines)
        else:
            complaint = self.results[name].take(lines, status)
            if complaint:
                self.complaints.append(f"{name} {complaint}")
        self.write(name)

    def write(self, program):
        words = {"OK": "passed", "SKIPPED": "skipped", "FAILED": "failed"}
        results = self.results[program]
        for test, (outcome, output) in results.outcomes.items():
            if test not in results.tests:
                self.complaints.append(f"{program} ran {test}, which CTest does not know")
                continue
            number = self.plan["numbers"][results.tests[test]]
            with open(os.path.join(self.directory, str(number)), "w", encoding="utf-8") as file:
                file.write("\n".join([words[outcome], *output]) + "\n")

    def table(self):
        rows = [("program", "tests", "ran", "passed", "skipped", "failed", "seconds")]
        for name, results in self.results.items():
            rows.append((name, len(results.tests),
                         sum(test in results.outcomes for test in results.tests),
                         *map(results.count, ["OK", "SKIPPED", "FAILED"]), self.seconds[name]))
        rows.append(("all", *(sum(row[column] for row in rows[1:]) for column in range(1, 7))))
        lines = ["{:<24}{:>8}{:>8}{:>8}{:>9}{:>8}{:>9}".format(*row) for row in rows]
        return lines + [f"not run: {test['name'].split('  # ')[0]}: {test['reason']}"
                        for test in self.plan["left out"]]


def follow(console, record):
    """Reads the console until the machine has completed its run."""
    name, lines, done = None, [], False
    for line in console.lines():
        word, _, rest = line.partition("@vm ")[2].partition(" ")
        if word == "up":
            print("machine:", rest, flush=True)
            console.silence = SILENT_SECONDS
        elif word == "begin":
            name, lines = rest, []
        elif word == "|":
            lines.append(rest)
        elif word == "end":
            ended, status, seconds = rest.split()
            if ended != name:
                raise MachineFault(f"{ended} ended, but {name} had begun")
            record.job_ended(name, lines, int(status), int(seconds))
        elif word == "down":
            done = True
    if not done:
        raise MachineFault("its kernel panicked" if console.panic
                           else "it ended before its work did")


def show_tail(work):
    with open(os.path.join(work, "console.log"), encoding="utf-8", errors="replace") as file:
        lines = file.read().splitlines()
    print("the end of its console:")
    for line in lines[-TAIL:]:
        print("    " + line)


def run(work):
    with open(os.path.join(work, "plan.json"), encoding="utf-8") as file:
        plan = json.load(file)
    record = Record(work, plan)
    console = Console(work, ALL_SECONDS + plan["long seconds"])
    try:
        follow(console, record)
    except MachineFault as fault:
        console.process.kill()
        record.complaints.append(f"the machine has not done its work: {fault}")
        show_tail(work)
    finally:
        status = console.close()
    if status != 0 and not record.complaints:
        record.complaints.append(f"the emulator ended with status {status}")
        show_tail(work)
    table = "\n".join(record.table() + ["FAILED: " + complaint for complaint in record.complaints])
    with open(os.path.join(work, "programs.txt"), "w", encoding="utf-8") as file:
        file.write(table + "\n")
    print(table)
    return 1 if record.complaints else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: run.py DIRECTORY")
    sys.exit(run(os.path.abspath(sys.argv[1])))
