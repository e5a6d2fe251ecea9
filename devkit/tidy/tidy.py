#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""tidy.py BUILD-DIRECTORY [--jobs N] [FILE...]: runs clang-tidy over the sources that a build
compiles, or over some of them, and fails if one has a finding.

A clean source is checked again only after a change of what the result depends on: the source itself,
the headers of the tree that it includes, its command line, the checks of its directory, or
clang-tidy. What was clean is remembered in ~/.cache/cabinaudio/tidy for 30 days, without the tree's
path, so that clones share it.
"""
import argparse
import concurrent.futures
import contextlib
import functools
import hashlib
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

DIRECTORIES = ("foundation", "link", "shm", "diag", "client", "devkit", "tools", "plugins", "python",
               "testing", "tests")
KEPT_S = 30 * 24 * 3600
# Another compiler's precompiled header, which clang-tidy cannot read.
PRECOMPILED = re.compile(r" -include \S+/cmake_pch\.hxx")
OUTPUT = re.compile(r" -o \S+")


@functools.lru_cache(maxsize=None)
def digest_of(path):
    try:
        return hashlib.sha256(Path(path).read_bytes()).hexdigest()
    except FileNotFoundError:
        return "none"


@functools.lru_cache(maxsize=None)
def version():
    return subprocess.run(["clang-tidy", "--version"], check=True, stdout=subprocess.PIPE).stdout


@functools.lru_cache(maxsize=None)
def checks_of(directory, root):
    """The texts of the .clang-tidy files that may count in a directory."""
    above = b"" if directory == root else checks_of(directory.parent, root)
    file = directory / ".clang-tidy"
    return above + (file.read_bytes() if file.exists() else b"")


class Memory:
    """Sources that were clean, each with the headers that it included then."""

    def __init__(self, directory):
        self.directory = directory
        directory.mkdir(parents=True, exist_ok=True)
        now = time.time()
        for file in directory.glob("*/*"):
            # Another clone may do the same.
            with contextlib.suppress(FileNotFoundError):
                if file.stat().st_mtime < now - KEPT_S:
                    file.unlink()

    def knows(self, source):
        for file in (self.directory / source.key()).glob("*"):
            lines = file.read_text(encoding="utf-8").splitlines()
            parts = [line.split(" ", 1) for line in lines]
            # Empty after a crash, it would be true of everything.
            if parts and all(digest_of(source.root / name) == digest for digest, name in parts):
                os.utime(file)
                return True
        return False

    def add(self, source):
        text = "".join(f"{digest_of(source.root / name)} {name}\n" for name in source.files())
        directory = self.directory / source.key()
        directory.mkdir(exist_ok=True)
        name = hashlib.sha256(text.encode()).hexdigest()
        # Other clones may read it meanwhile.
        temporary = directory.with_name(f".{name}-{os.getpid()}")
        temporary.write_text(text, encoding="utf-8")
        temporary.rename(directory / name)


class Source:
    """A source, with each way in which it is compiled."""

    def __init__(self, root, path):
        self.root = root
        self.path = path
        self.directory = None
        self.commands = {}  # by what matters of them

    def add(self, entry):
        self.directory = entry["directory"]
        command = PRECOMPILED.sub("", entry["command"])
        self.commands.setdefault(OUTPUT.sub("", command), command)

    def key(self):
        """Of everything but files that the source includes."""
        parts = [version(), checks_of(self.path.parent, self.root), str(self.name()).encode(),
                 *(one.replace(str(self.root), "").encode() for one in self.commands.values())]
        return hashlib.sha256(b"\0".join(parts)).hexdigest()

    def name(self):
        return self.path.relative_to(self.root)

    def files(self):
        """Names of the source and the files of the tree that it includes."""
        return sorted(set().union(*map(self.files_with, self.commands)))

    def files_with(self, command):
        words = shlex.split(command)
        compiler = next(i for i, word in enumerate(words) if re.search(r"(\+\+|cc)(-\d+)?$", word))
        done = subprocess.run(["clang++", *words[compiler + 1:], "-w", "-MM", "-MT", "x"],
                              cwd=self.directory, check=True, stdout=subprocess.PIPE, text=True)
        names = shlex.split(done.stdout.replace("\\\n", " "))[1:]
        paths = {Path(os.path.normpath(os.path.join(self.directory, name))) for name in names}
        return {str(path.relative_to(self.root)) for path in paths
                if path.is_relative_to(self.root)}

    def check(self, commands):
        """Returns clang-tidy's findings. Its counts of suppressed warnings are dropped."""
        done = subprocess.run(["clang-tidy", "-p", commands, "--quiet", str(self.path)], check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if done.returncode != 0 and not done.stdout:
            return done.stderr
        return done.stdout if done.returncode != 0 else ""


def sources_of(root, build, chosen):
    """Our sources that the build compiles; of these, the chosen ones if there are any."""
    with open(build / "compile_commands.json", encoding="utf-8") as file:
        entries = json.load(file)
    sources = {}
    for entry in entries:
        path = Path(entry["file"])
        if not path.is_relative_to(root) or path.relative_to(root).parts[0] not in DIRECTORIES:
            continue
        if not chosen or path in chosen:
            sources.setdefault(path, Source(root, path)).add(entry)
    for path in chosen:
        if path not in sources:
            sys.exit(f"tidy.py: {path} is not compiled in {build}")
    return [sources[path] for path in sorted(sources)]


def judge(source, memory, commands):
    if memory.knows(source):
        return ""
    findings = source.check(commands)
    if not findings:
        memory.add(source)
    return findings


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=Path)
    parser.add_argument("files", nargs="*", type=Path)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args()
    root = Path.cwd()
    cache = Path(os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache")
    memory = Memory(cache / "cabinaudio" / "tidy")
    sources = sources_of(root, options.build, {(root / file).resolve() for file in options.files})
    commands = tempfile.mkdtemp()
    try:
        with open(os.path.join(commands, "compile_commands.json"), "w", encoding="utf-8") as file:
            json.dump([{"directory": one.directory, "file": str(one.path), "command": command}
                       for one in sources for command in one.commands.values()], file)
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            jobs = [pool.submit(judge, source, memory, commands) for source in sources]
            failed = 0
            for job in jobs:
                findings = job.result()
                failed += bool(findings)
                print(findings, end="", flush=True)
    finally:
        shutil.rmtree(commands)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
