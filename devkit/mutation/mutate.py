#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""mutate.py --tests DIRECTORY [--work DIRECTORY] [--only TEXT]... [--from N] [--to N]
[--slice K/N] [--seconds N] [--tsan DIRECTORY] [--results FILE],
mutate.py --sum FILE..., or mutate.py --check:
removes the library's locks, barriers, bounds and checks, one at a time, changes its order,
constants, comparisons, flags and fields, and checks that a test fails.

mutants.py lists the mutants. Each is applied to a copy of the library's sources, which is built and
loaded instead of the tests' own library, in both of its links. A mutant is caught when it does not compile, when one of
the tests for its file fails or does not end, when a test's source that checks it does not compile,
or when the check of the target's object code fails. --tests is a build with the test programs;
--tsan is one with the thread sanitizer, whose tests catch what the others miss.

--slice K/N takes every N-th mutant, beginning with the K-th: N such runs, in parallel or on several
machines, cover the list once. --results appends a line for each mutant to a file; --sum adds up
such files. Of two results of the same mutant the later one counts; results of mutants that have
changed since are ignored.

--check only checks that the code of each mutant still occurs in its place exactly once, and that the
copied sources are all that a build of the library needs.

Fails when less than 95 % of the mutants that make a difference are caught, or when a mutant
survives without a reason in mutants.py.
"""
import argparse
import filecmp
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import mutants
import places

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
SOURCES = ["include", "wire", "foundation", "link", "shm", "diag", "client"]
PARTS = ["CMakeLists.txt", "cmake", *SOURCES]
RING_CHECK = os.path.join(ROOT, "tests", "shm", "check_ring_code.py")
LEAST = 95.0  # per cent
CROSS = "arm-linux-gnueabihf-"


class Library:
    """A copy of the library's sources and a build of it."""

    def __init__(self, work, sanitizer):
        self.tree = os.path.join(work, "tree")
        self.build = os.path.join(work, "build-" + (sanitizer or "plain"))
        self.sanitizer = sanitizer
        for part in PARTS:
            self.restore(part)
        options = ["-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DCABINAUDIO_BUILD_TESTS=OFF",
                   "-DCABINAUDIO_BUILD_DEVKIT=OFF", "-DCABINAUDIO_BUILD_TOOLS=OFF",
                   "-DCABINAUDIO_BUILD_PLUGINS=OFF", "-DCABINAUDIO_BUILD_TESTING_KIT=OFF",
                   "-DCABINAUDIO_PYTHON=OFF", "-DCABINAUDIO_INSTALL=OFF"]
        if sanitizer:
            options += ["-DCMAKE_CXX_COMPILER=clang++", "-DCABINAUDIO_SANITIZE=" + sanitizer]
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.tree, "-B", self.build, *options],
                       check=True, stdout=subprocess.DEVNULL)

    def restore(self, part):
        """Writes only files that differ, because the build depends on their modification times."""
        source, copy = os.path.join(ROOT, part), os.path.join(self.tree, part)
        if os.path.isdir(source):
            for name in os.listdir(source):
                self.restore(os.path.join(part, name))
            return
        os.makedirs(os.path.dirname(copy), exist_ok=True)
        if not os.path.exists(copy) or not filecmp.cmp(source, copy, shallow=False):
            shutil.copyfile(source, copy)

    def put(self, path, text):
        with open(os.path.join(self.tree, path), "w", encoding="utf-8") as file:
            file.write(text)

    def compiles(self):
        run = subprocess.run(["ninja", "-C", self.build, "cabinaudio", "cabinaudio-interposable"],
                             check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                             text=True)
        self.said = run.stdout
        return run.returncode == 0


def complaint(command, environment, seconds):
    """A description of a bad end of the program, or None. Runs it in its own process group, so
    that a hanging program leaves no processes behind."""
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        return "fails" if process.wait(seconds) != 0 else None
    except subprocess.TimeoutExpired:
        return "does not end"
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()


def program(directory, name):
    for place, _, files in os.walk(os.path.join(directory, "tests"), followlinks=True):
        if name in files and os.access(os.path.join(place, name), os.X_OK):
            return os.path.join(place, name)
    sys.exit(f"no test program {name} below {directory}/tests")


def recompiled(library, directory, commands, source):
    """Object file of a test's source that includes private headers, with this library's headers."""
    words = next(command for command in commands if command.endswith("-c " + source)).split()
    words.insert(words.index("-I" + ROOT), "-I" + library.tree)
    place = words.index("-o") + 1
    name = words[place]
    words[place] = os.path.join(library.build, os.path.basename(name))
    subprocess.run(" ".join(words), shell=True, cwd=directory, check=True)
    return name, words[place]


def relinked(library, directory, name):
    """A program that contains objects of the library, with this library's objects instead."""
    said = subprocess.run(["ninja", "-C", directory, "-t", "commands", name], check=True,
                          stdout=subprocess.PIPE, text=True).stdout
    *commands, linking = said.strip().splitlines()
    words = linking.split()
    copies = dict(mutants.OWN_COPIES)
    for source in mutants.RECOMPILED.get(name, ()):
        copies.update([recompiled(library, directory, commands, os.path.join(ROOT, source))])
    for i, word in enumerate(words):
        own = copies.get(word, word)
        if word.endswith(".o") and os.path.exists(os.path.join(library.build, own)):
            words[i] = os.path.join(library.build, own)
    place = words.index("-o") + 1
    words[place] = os.path.join(library.build, "relinked-" + name)
    subprocess.run(" ".join(words), shell=True, cwd=directory, check=True)
    return words[place]


def interposes(path):
    """Whether the program runs with the link of the library whose functions it can replace."""
    said = subprocess.run(["readelf", "-d", path], check=True, stdout=subprocess.PIPE,
                          text=True).stdout
    return re.search(r"R(UN)?PATH.*/interposable[\]:]", said) is not None


def failing_test(library, directory, tests, seconds):
    """The first of the tests that fails with this library, or None."""
    environment = dict(os.environ, CABINAUDIO_RACE_ROUNDS="300", TSAN_OPTIONS="halt_on_error=1")
    for test in tests:
        name, *arguments = test.split()
        path = relinked(library, directory, name) if name in mutants.RELINKED \
            else program(directory, name)
        environment["LD_LIBRARY_PATH"] = os.path.join(
            library.build, "interposable" if interposes(path) else "")
        command = [path, "--gtest_brief=1", "--gtest_fail_fast", *arguments]
        how = complaint(command, environment, seconds)
        if how:
            return test if how == "fails" else f"{test}, which {how}"
    return None


def ring_code_objects(library):
    """Whether check_ring_code.py rejects the target's object code of the ring."""
    target = os.path.join(library.build, "ring-arm.o")
    subprocess.run([CROSS + "g++", "-std=c++20", "-O2", "-g", "-fPIC", "-mthumb",
                    "-march=armv7-a+fp", "-D_FILE_OFFSET_BITS=64", "-fvisibility=hidden",
                    "-I" + library.tree, "-I" + os.path.join(library.tree, "include"),
                    "-idirafter", "/usr/include/android-liblog", "-isystem", "/usr/include/android",
                    "-c", os.path.join(library.tree, "shm/RingTransfer.cpp"), "-o", target],
                   check=True)
    return subprocess.run([sys.executable, RING_CHECK, CROSS + "objdump", target], check=False,
                          stdout=subprocess.DEVNULL).returncode != 0


def failing_source(library, path):
    """The first source with a compile-time check of a header that fails with this library, or
    None."""
    for source, option, compiles in mutants.COMPILED.get(path, []):
        run = subprocess.run(["c++", "-std=c++20", "-fsyntax-only", option, "-I" + library.tree,
                              "-I" + os.path.join(library.tree, "include"), "-I" + ROOT,
                              "-idirafter", "/usr/include/android-liblog",
                              "-isystem", "/usr/include/android", os.path.join(ROOT, source)],
                             check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if (run.returncode == 0) != compiles:
            return source
    return None


def all_placed():
    """Each mutant with its file and the mutated text, and a line for each mutant whose code does
    not occur in its place exactly once."""
    tree = places.Tree(ROOT, SOURCES)
    placed, stale = [], []
    for mutant in mutants.ALL:
        try:
            placed.append((mutant, *tree.mutated(mutant.place, mutant.old, mutant.new)))
        except places.Unclear as problem:
            stale.append(f"{mutant.name}: {problem}")
    return placed, stale


def what_catches(path, plain, sanitized, options):
    """The test or check that catches the mutant in this file, or None."""
    if not plain.compiles():
        return "compiler"
    if path in mutants.RING_CODE and shutil.which(CROSS + "g++") and \
            ring_code_objects(plain):
        return "check_ring_code.py"
    source = failing_source(plain, path)
    if source:
        return source
    failed = failing_test(plain, options.tests, mutants.tests_of(path), options.seconds)
    if failed or sanitized is None:
        return failed
    sanitized.compiles()
    failed = failing_test(sanitized, options.tsan, mutants.sanitized_tests_of(path),
                          options.seconds)
    return failed and failed + " (thread sanitizer)"


def identity(mutant):
    """Stays the same while the mutant does, whatever its name."""
    return hashlib.sha1("\0".join([mutant.place, mutant.old, mutant.new]).encode()).hexdigest()


def slice_of(text):
    number, _, of = text.partition("/")
    if not (number.isdigit() and of.isdigit() and 1 <= int(number) <= int(of)):
        raise argparse.ArgumentTypeError(f"{text} is no K/N with K from 1 to N")
    return int(number), int(of)


def note(path, mutant, by, with_tsan):
    with open(path, "a", encoding="utf-8") as file:
        json.dump({"mutant": identity(mutant), "place": mutant.place, "name": mutant.name, "by": by,
                   "tsan": with_tsan}, file)
        file.write("\n")


class Score:
    """Counts of mutants that were run."""

    def __init__(self):
        self.run = self.caught = self.hanging = self.excused = self.known = 0
        self.unexplained = []

    def add(self, mutant, by):
        """Counts the mutant's result. @return its description"""
        self.run += 1
        if by:
            self.caught += 1
            self.hanging += by.endswith("does not end")
            return f"caught by {by}"
        if mutant.reason.startswith(mutants.OUT_OF_REACH):
            self.known += 1
        elif mutant.reason:
            self.excused += 1
        else:
            self.unexplained.append(mutant)
            return "SURVIVES"
        return f"SURVIVES ({mutant.reason})"

    def ends_well(self):
        share = 100.0 * self.caught / max(self.run - self.excused, 1)
        print(f"{self.caught} of {self.run} caught, {self.hanging} of them because a test did not "
              f"end in time; {self.excused} make no difference, "
              f"{self.known} are out of reach, {len(self.unexplained)} others survive: "
              f"{share:.1f} % of those that make a difference")
        return not self.unexplained and share >= LEAST


def sum_up(paths):
    """Adds up result files. @return whether the whole list was run with enough mutants caught"""
    results = {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            for line in file:
                result = json.loads(line)
                results[result["mutant"]] = result
    score = Score()
    missing = without_tsan = 0
    for number, mutant in enumerate(mutants.ALL, 1):
        result = results.get(identity(mutant))
        if result is None:
            missing += 1
            print(f"{number:3} {mutant.place}: {mutant.name}: not run")
            continue
        verdict = score.add(mutant, result["by"])
        if result["by"] is None:
            without_tsan += not result["tsan"]
            seen = "" if result["tsan"] else " [without the thread sanitizer]"
            print(f"{number:3} {mutant.place}: {mutant.name}: {verdict}{seen}")
    good = score.ends_well()
    if without_tsan:
        print(f"{without_tsan} of the survivors were run without the thread sanitizer")
    if missing:
        print(f"{missing} of {len(mutants.ALL)} mutants were not run")
    return good and not missing


def must_hold(library, directory, lists):
    """Checks that nothing fails without a mutant; otherwise a failure would prove nothing."""
    if shutil.which(CROSS + "g++") and ring_code_objects(library):
        sys.exit("check_ring_code.py objects to the library as it is")
    for path in mutants.COMPILED:
        if failing_source(library, path):
            sys.exit(f"{failing_source(library, path)} finds something in {path} as it is")
    tests = list(dict.fromkeys(test for tests in lists for test in tests))
    failed = failing_test(library, directory, tests, 600)
    if failed:
        sys.exit(f"with the library as it is there is a failure: {failed}")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    what = parser.add_mutually_exclusive_group(required=True)
    what.add_argument("--tests", type=os.path.abspath)
    what.add_argument("--check", action="store_true")
    what.add_argument("--sum", nargs="+", metavar="FILE")
    parser.add_argument("--tsan", type=os.path.abspath)
    parser.add_argument("--work", type=os.path.abspath, default="/tmp/cabinaudio-mutation")
    parser.add_argument("--only", action="append", metavar="TEXT",
                        help="mutants whose file, place or name has this text")
    parser.add_argument("--seconds", type=int, default=150, help="what a test program may take")
    parser.add_argument("--from", dest="first", type=int, default=1, help="number of the first")
    parser.add_argument("--to", dest="last", type=int, default=len(mutants.ALL),
                        help="number of the last")
    parser.add_argument("--slice", type=slice_of, default=(1, 1), metavar="K/N",
                        help="every N-th mutant, from the K-th on")
    parser.add_argument("--results", metavar="FILE", help="where to add the results")
    options = parser.parse_args()
    if options.slice[1] > 1:  # parallel slices must not share a tree
        options.work += f"-{options.slice[0]}-of-{options.slice[1]}"
    return options


def main():
    options = arguments()
    if options.sum:
        sys.exit(0 if sum_up(options.sum) else 1)
    placed, stale = all_placed()
    for line in stale:
        print(line)
    if stale:
        sys.exit(1)
    if options.check:
        with tempfile.TemporaryDirectory() as work:
            Library(work, "")
        return
    chosen = [(number, mutant, path, text)
              for number, (mutant, path, text) in enumerate(placed, 1)
              if options.first <= number <= options.last and
              number % options.slice[1] == options.slice[0] % options.slice[1] and
              any(part in f"{path}: {mutant.place}: {mutant.name}"
                  for part in options.only or [""])]
    plain = Library(options.work, "")
    if not plain.compiles():
        sys.exit("the library as it is does not compile:\n" + plain.said)
    sanitized = Library(options.work, "thread") if options.tsan else None
    files = list(dict.fromkeys(path for _, _, path, _ in chosen))
    must_hold(plain, options.tests, map(mutants.tests_of, files))
    if sanitized is not None:
        sanitized.compiles()
        must_hold(sanitized, options.tsan, map(mutants.sanitized_tests_of, files))
    score = Score()
    for number, mutant, path, text in chosen:
        begin = time.monotonic()
        plain.put(path, text)
        by = what_catches(path, plain, sanitized, options)
        plain.restore(path)
        if options.results:
            note(options.results, mutant, by, sanitized is not None)
        print(f"{number:3} {mutant.place}: {mutant.name}: {score.add(mutant, by)} "
              f"[{time.monotonic() - begin:.0f} s]", flush=True)
    sys.exit(0 if score.ends_well() else 1)


if __name__ == "__main__":
    main()
