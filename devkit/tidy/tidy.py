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
        for file in directory.glob("*/*"):
            if file.stat().st_mtime < time.time() - KEPT_S:
                file.unlink()

    def knows(self, source):
        for file in (self.directory / source.key()).glob("*"):
            lines = file.read_text(encoding="utf-8").splitlines()
            parts = [line.split(" ", 1) for line in lines]
            if all(digest_of(source.root / name) == digest for digest, name in parts):
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
    def __init__(self, root, entry):
        self.root = root
        self.directory = entry["directory"]
        self.path = Path(entry["file"])
        self.command = PRECOMPILED.sub("", entry["command"])

    def key(self):
        """Of everything but files that the source includes."""
        parts = [version(), checks_of(self.path.parent, self.root), str(self.name()).encode(),
                 self.command.replace(str(self.root), "").encode()]
        return hashlib.sha256(b"\0".join(parts)).hexdigest()

    def name(self):
        return self.path.relative_to(self.root)

    def files(self):
        """Names of the source and the files of the tree that it includes."""
        words = shlex.split(self.command)
        compiler = next(i for i, word in enumerate(words) if re.search(r"(\+\+|cc)(-\d+)?$", word))
        words = words[compiler + 1:]
        output = words.index("-o")
        del words[output:output + 2]
        done = subprocess.run(["clang++", *words, "-w", "-MM", "-MT", "x"], cwd=self.directory,
                              check=True, stdout=subprocess.PIPE, text=True)
        names = shlex.split(done.stdout.replace("\\\n", " "))[1:]
        paths = {Path(os.path.normpath(os.path.join(self.directory, name))) for name in names}
        return sorted(str(path.relative_to(self.root)) for path in paths
                      if path.is_relative_to(self.root))

    def check(self, commands):
        """Returns clang-tidy's findings. Its counts of suppressed warnings are dropped."""
        done = subprocess.run(["clang-tidy", "-p", commands, "--quiet", str(self.path)], check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if done.returncode != 0 and not done.stdout:
            return done.stderr
        return done.stdout if done.returncode != 0 else ""


def sources_of(root, build, chosen):
    """The first command of each source of ours."""
    with open(build / "compile_commands.json", encoding="utf-8") as file:
        entries = json.load(file)
    sources = {}
    for entry in entries:
        path = Path(entry["file"])
        if not path.is_relative_to(root) or path.relative_to(root).parts[0] not in DIRECTORIES:
            continue
        if not chosen or path in chosen:
            sources.setdefault(path, Source(root, entry))
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
            json.dump([{"directory": one.directory, "file": str(one.path), "command": one.command}
                       for one in sources], file)
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
