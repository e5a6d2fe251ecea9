# SPDX-License-Identifier: Apache-2.0
"""What the consumer tests share: where things are, and how a command is run."""

import json
import os
import shutil
import subprocess
from pathlib import Path

with open(os.environ["CABINAUDIO_TEST_SURROUNDINGS"], encoding="utf-8") as file:
    _SURROUNDINGS = json.load(file)

SOURCE = Path(_SURROUNDINGS["source"])
BUILD = Path(_SURROUNDINGS["build"])
WORK = Path(_SURROUNDINGS["work"])
LIBDIR = _SURROUNDINGS["libdir"]  # relative to the prefix
VERSION = _SURROUNDINGS["version"]
CMAKE = _SURROUNDINGS["cmake"]
COMPILER = _SURROUNDINGS["compiler"]
TOOLCHAIN = _SURROUNDINGS["toolchain"]
PYTHON = _SURROUNDINGS["python"]
PYTHON_DIR = _SURROUNDINGS["python_dir"]  # relative to the prefix

EXAMPLES = ["play", "record", "settings", "reconnect", "uplink", "diagnostics"]

# Where the tests leave what they have made, for the tests of the examples among others.
MOVED = WORK / "moved" / "another place"  # the blank is part of the tests
BUILT = WORK / "moved" / "examples"
TESTING = WORK / "moved" / "testing"

# Programs of this machine; on the target's build they come from the native one.
LAUNCHER = Path(_SURROUNDINGS["launcher"] or MOVED / "bin" / "cabinaudio-run")
SERVER = Path(_SURROUNDINGS["server"] or MOVED / "bin" / "cabinaudio-server")
TOOL = Path(_SURROUNDINGS["tool"] or MOVED / "bin" / "cabinaudio")


def clean_environment(**more):
    """The environment without what could lead a build to another installed tree."""
    environment = {
        name: value
        for name, value in os.environ.items()
        if not name.startswith(("PKG_CONFIG_", "CABINAUDIO_")) and name != "CMAKE_PREFIX_PATH"
    }
    if "HOME" in more:
        environment.pop("XDG_CONFIG_HOME", None)  # that of the test run
    environment.update({name: str(value) for name, value in more.items()})
    return environment


def run(*command, cwd=None, **environment):
    """Runs a command that has to succeed. Returns what it printed."""
    done = subprocess.run(
        [str(word) for word in command],
        cwd=cwd,
        env=clean_environment(**environment),
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        timeout=500,
        check=False,
    )
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}: {done.returncode}\n{done.stdout}")
    return done.stdout


def fresh_directory(name):
    directory = WORK / name
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    return directory


def install(prefix, destdir=None):
    more = {"DESTDIR": destdir} if destdir else {}
    run(CMAKE, "--install", BUILD, "--prefix", prefix, **more)


def configure(source, build, *options):
    """Configures a project with this build's compiler. Returns what CMake printed."""
    if TOOLCHAIN:
        compiler = f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}"
    else:
        compiler = f"-DCMAKE_CXX_COMPILER={COMPILER}"
    return run(CMAKE, "-G", "Ninja", "-S", source, "-B", build, compiler, *options)


def libraries_of(program):
    """What the dynamic section says: {"NEEDED": [...], "RUNPATH": [...]}."""
    entries = {"NEEDED": [], "RUNPATH": [], "RPATH": [], "SONAME": []}
    for line in run("readelf", "-d", program).splitlines():
        for tag, values in entries.items():
            if f"({tag})" in line:
                values += line[line.index("[") + 1 : line.rindex("]")].split(":")
    return entries
