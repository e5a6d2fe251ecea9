#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""prepare.py [--long] TESTS MACHINE: makes the image that run.py boots. TESTS is a build of the
target with its test programs, MACHINE is the build armhf-vm.

It writes to MACHINE/devkit/vm
  initramfs.cpio  init.sh, a shell, the test programs of SUITES and all files that they need, at the
                  same paths as here, without debug information
  plan.json       the programs and their tests, for run.py
  tests.cmake     the tests, for CTest

The tests are the cases of the programs that CTest starts in TESTS. Left out are those in
not-run.txt, which cannot run in the machine, and what starts no test program, such as checks of
object code.
"""
import argparse
import fnmatch
import json
import os
import re
import shlex
import shutil
import stat
import subprocess
import sys

import run

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
CROSS = "arm-linux-gnueabihf-"
LIBRARIES = ["/lib/arm-linux-gnueabihf", "/usr/lib/arm-linux-gnueabihf"]
SPEECH = "/usr/share/sounds/alsa"
SUITES = ["foundation", "link", "shm", "client", "settings", "diag", "hostile", "race"]
PATIENCE = 3        # the machine is slow: tests get this many times their time limits
NO_PROGRAM = "it starts no test program of the target"
DEMO_SECONDS = 120  # longest time without output of the demo
PART_TESTS = 50     # programs with more tests than this run in parts, several at a time


def fail(text):
    sys.exit("prepare.py: " + text)


# Tests ----------------------------------------------------------------------------------------

def suite_of(test, tests_build):
    directory = os.path.relpath(test["properties"].get("WORKING_DIRECTORY", "/"),
                                os.path.join(tests_build, "tests"))
    return directory.split(os.sep)[0]


def listed_tests(tests_build):
    """The tests of SUITES from CTest's list, their properties as a dictionary."""
    run = subprocess.run(["ctest", "--test-dir", tests_build, "--show-only=json-v1"], check=True,
                         stdout=subprocess.PIPE, text=True)
    tests = json.loads(run.stdout)["tests"]
    for test in tests:
        test["properties"] = {one["name"]: one["value"] for one in test.get("properties", [])}
        if "command" not in test:
            fail(f"{test['name']} has no command: is {tests_build} complete?")
    return [test for test in tests if suite_of(test, tests_build) in SUITES]


def not_run():
    """Pairs of a pattern and a reason."""
    with open(os.path.join(HERE, "not-run.txt"), encoding="utf-8") as file:
        return [line.split(None, 1) for line in file.read().splitlines() if line[:1] not in "#"]


def program_of(test, tests_build):
    """The words with which CTest starts the test's program, the program last; None when it starts
    none."""
    command = test["command"]
    places = [place for place, word in enumerate(command)
              if word.startswith(tests_build + "/tests/") and is_elf(word)]
    if len(places) != 1:
        return None
    return command[:places[0] + 1]


def cases_of(words):
    """The names of a GoogleTest program's cases, as GoogleTest lists them."""
    run = subprocess.run([*words, "--gtest_list_tests"], check=True, stdout=subprocess.PIPE,
                         text=True)
    names = []
    suite = None
    for line in run.stdout.splitlines():
        name = line.split("  # ")[0].rstrip()
        if line.startswith("  "):
            names.append(suite + name.strip())
        elif name.endswith("."):
            suite = name
    if not names:
        fail(f"{words[-1]} lists no tests")
    return names


class Plan:
    """The programs in their order, each with its tests, and the tests that are left out."""

    def __init__(self, tests_build, with_long):
        self.programs = {}
        self.left_out = []
        self.long_seconds = 0  # time limits of the long tests
        reasons = not_run()
        used = set()
        for test in listed_tests(tests_build):
            words = program_of(test, tests_build)
            if words is None:
                used |= self.leave_out(test["name"], reasons, NO_PROGRAM)
            elif with_long or "long" not in test["properties"].get("LABELS", []):
                self.add(test, words)
        for name, program in self.programs.items():
            for case in cases_of(program.pop("words")):
                left_out = self.leave_out(f"{name}.{case}", reasons)
                used |= left_out
                if not left_out:
                    program["tests"][case] = f"{name}.{case}"
        unused = [pair[0] for pair in reasons if pair[0] not in used]
        if unused:
            fail("not-run.txt names tests that do not exist: " + ", ".join(unused))

    def leave_out(self, name, reasons, otherwise=None):
        """Leaves a test out, if there is a reason. Returns the patterns that name it."""
        found = [pair for pair in reasons if fnmatch.fnmatchcase(name, pair[0])]
        reason = found[0][1] if found else otherwise
        if reason is not None:
            self.left_out.append({"name": name, "reason": reason})
        return {pair[0] for pair in found}

    def add(self, test, words):
        """Adds the program of a test, or one more test of that program."""
        properties = test["properties"]
        if "long" in properties.get("LABELS", []):
            self.long_seconds += int(properties.get("TIMEOUT", 120))
        environment = [one for one in properties.get("ENVIRONMENT", [])
                       if not one.startswith(("GTEST_", "CABINAUDIO_TEST_EMULATOR="))]
        fresh = {"path": words[-1], "words": words, "directory": properties["WORKING_DIRECTORY"],
                 "seconds": PATIENCE * int(properties.get("TIMEOUT", 120)),
                 "environment": environment, "tests": {}}
        program = self.programs.setdefault(os.path.basename(words[-1]), fresh)
        if program != fresh:
            fail(f"{test['name']} needs another start than the other tests of its program")


# Files ----------------------------------------------------------------------------------------

def read_elf(path):
    """Names of the libraries that a file needs, its run-time search path, and its loader."""
    run = subprocess.run([CROSS + "readelf", "-d", "-l", path], check=True,
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run.stdout)
    directories = [one.replace("$ORIGIN", os.path.dirname(path))
                   for text in re.findall(r"\(R(?:UN)?PATH\).*\[(.*)\]", run.stdout)
                   for one in text.split(":") if one]
    return needed, directories, re.findall(r"program interpreter: (.*)\]", run.stdout)


def is_elf(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


class Image:
    """The machine's files, collected in a directory that is packed into an archive."""

    def __init__(self, directory):
        self.directory = directory
        shutil.rmtree(directory, ignore_errors=True)
        for name in ["dev", "proc", "sys", "tmp", "run", "plan", "etc", "usr/bin", "usr/sbin",
                     "usr/lib"]:
            os.makedirs(os.path.join(directory, name))
        for name in ["bin", "sbin", "lib"]:
            os.symlink("usr/" + name, os.path.join(directory, name))

    def inside(self, path):
        """The path here of a path in the machine; its directories are created."""
        place = os.path.join(self.directory, path.lstrip("/"))
        os.makedirs(os.path.dirname(place), exist_ok=True)
        return place

    def write(self, path, text, mode=0o644):
        place = self.inside(path)
        with open(place, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(place, mode)

    def copy(self, source, path=None):
        """Copies one file unchanged, with all symbolic links on its path."""
        place = self.inside(path or source)
        if os.path.lexists(place):
            return
        if os.path.islink(source) and path is None:
            target = os.readlink(source)
            os.symlink(target, place)
            self.copy(os.path.join(os.path.dirname(source), target))
        else:
            shutil.copy(source, place)

    def program(self, path):
        """Adds a program or library of a build, with all files that it needs."""
        if os.path.lexists(self.inside(path)):
            return
        self.copy(path)
        place = os.path.realpath(self.inside(path))
        if path.startswith(ROOT + "/"):
            subprocess.run([CROSS + "strip", "--strip-debug", place], check=True)
        needed, directories, loaders = read_elf(path)
        for loader in loaders:
            self.program(loader)
        for name in needed:
            found = [os.path.join(directory, name) for directory in directories + LIBRARIES
                     if os.path.exists(os.path.join(directory, name))]
            if not found:
                fail(f"{path} needs {name}, which is not installed")
            self.program(found[0])

    def shell(self, busybox):
        self.copy(busybox, "/usr/bin/busybox")
        for name in APPLETS.split():
            os.symlink("busybox", self.inside("/usr/bin/" + name))

    def pack(self, archive):
        """Packs the archive with all files owned by root, whichever user runs this."""
        names = []
        for directory, below, files in os.walk(self.directory):
            names += [os.path.relpath(os.path.join(directory, name), self.directory)
                      for name in below + files]
        with open(archive, "wb") as file:
            subprocess.run(["cpio", "--quiet", "-o", "-H", "newc", "-R", "0:0"], check=True,
                           cwd=self.directory, input="\n".join(sorted(names)).encode(), stdout=file)


# Commands used by init.sh, by demo/run.sh and by shells that tests start.
APPLETS = """
basename cat chmod cp cut date dirname echo env expr false grep head id kill ln ls mkdir mkfifo mktemp
mount mv nproc poweroff printf ps readlink rm sed seq sh sleep sort stat tail test timeout touch tr true
uname uniq wc"""


def executables(directory):
    """The programs in a directory: tests, and programs that they start."""
    paths = [os.path.join(directory, name) for name in sorted(os.listdir(directory))]
    return [path for path in paths
            if os.path.isfile(path) and os.stat(path).st_mode & stat.S_IXUSR and is_elf(path)]


def parts(names):
    """The names in groups of about equal size, none larger than PART_TESTS."""
    count = -(-len(names) // PART_TESTS)
    return [names[len(names) * part // count:len(names) * (part + 1) // count]
            for part in range(count)]


def put_jobs(image, plan, machine_build):
    """Writes the plan for init.sh."""
    order = []
    server = os.path.join(machine_build, "devkit/server/cabinaudio-server")
    for name, program in plan.programs.items():
        words = ["env", "CABINAUDIO_SERVER=" + server, *program["environment"], program["path"],
                 "--gtest_color=no"]
        image.write("/plan/" + name, "#!/bin/sh\n"
                    f"cd {shlex.quote(program['directory'])} || exit\n"
                    f"exec {shlex.join(words)} \"$@\"\n", 0o755)
        for number, names in enumerate(parts(list(program["tests"]))):
            image.write(f"/plan/{name}.{number}", ":".join(names))
            order.append(f"gtest {name} {number} {program['seconds']}\n")
    image.write("/plan/order", "".join(order))
    image.write("/plan/alone", f"demo demo 0 {DEMO_SECONDS}\n")


def put_demo(image, tests_build, machine_build):
    """Adds demo/run.sh and its programs."""
    for name in ["devkit/server/cabinaudio-server", "devkit/board/cabinaudio-run",
                 "devkit/board/libcabinaudio-board.so", "demo/cabinaudio-recordcheck"]:
        image.program(os.path.join(machine_build, name))
    tool = os.path.join(tests_build, "tools/cabinaudio")
    image.program(tool)
    for name in sorted(os.listdir(SPEECH)):
        image.copy(os.path.join(SPEECH, name))
    script = os.path.join(ROOT, "demo/run.sh")
    image.copy(script)
    image.write("/plan/demo", "#!/bin/sh\n"
                f"export PATH={shlex.quote(os.path.dirname(tool))}:\"$PATH\"\n"
                "export CABINAUDIO_DEMO_PICTURE=no\n"
                f"exec {shlex.quote(script)} {shlex.quote(machine_build)}\n", 0o755)


def make_image(plan, tests_build, machine_build, work):
    image = Image(os.path.join(work, "root"))
    image.shell(os.path.join(work, "packages/busybox"))
    image.copy(os.path.join(HERE, "init.sh"), "/init")
    image.copy(os.path.join(HERE, "qemu-arm.sh"), "/usr/bin/qemu-arm")
    for directory in sorted({program["directory"] for program in plan.programs.values()}):
        for path in executables(directory):
            image.program(path)
    put_demo(image, tests_build, machine_build)
    put_jobs(image, plan, machine_build)
    image.pack(os.path.join(work, "initramfs.cpio"))


# CTest ----------------------------------------------------------------------------------------

def cmake_word(text):
    return f"[==[{text}]==]"


def write_tests(plan, work):
    """Test "machine" boots the machine; the others read their results of that run. Results have
    numbers, because names of tests contain characters that are invalid in file names."""
    lines = ["# Made by prepare.py.",
             f"add_test(machine {cmake_word(os.path.join(HERE, 'run.py'))} {cmake_word(work)})",
             "set_tests_properties(machine PROPERTIES RUN_SERIAL ON TIMEOUT "
             f"{run.ALL_SECONDS + plan.long_seconds + 60})"]
    names = [name for program in plan.programs.values() for name in program["tests"].values()]
    for number, name in enumerate(names + ["demo"]):
        lines += [f"add_test({cmake_word(name)} {cmake_word(os.path.join(HERE, 'result.sh'))} "
                  f"{cmake_word(os.path.join(work, 'results', str(number)))})",
                  f"set_tests_properties({cmake_word(name)} PROPERTIES DEPENDS machine TIMEOUT 60 "
                  "SKIP_REGULAR_EXPRESSION [==[\\[  SKIPPED \\]]==])"]
    for test in plan.left_out:
        lines += [f"add_test({cmake_word(test['name'])} false)",
                  f"set_tests_properties({cmake_word(test['name'])} PROPERTIES DISABLED ON)"]
    with open(os.path.join(work, "tests.cmake"), "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")
    return {name: number for number, name in enumerate(names + ["demo"])}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tests")
    parser.add_argument("machine")
    parser.add_argument("--long", action="store_true")
    options = parser.parse_args()
    tests_build, machine_build = map(os.path.abspath, (options.tests, options.machine))
    work = os.path.join(machine_build, "devkit/vm")
    plan = Plan(tests_build, options.long)
    make_image(plan, tests_build, machine_build, work)
    numbers = write_tests(plan, work)
    with open(os.path.join(work, "plan.json"), "w", encoding="utf-8") as file:
        json.dump({"programs": plan.programs, "left out": plan.left_out, "numbers": numbers,
                   "long seconds": plan.long_seconds}, file, indent=1)


if __name__ == "__main__":
    main()
