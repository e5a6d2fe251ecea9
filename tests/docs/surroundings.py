# SPDX-License-Identifier: Apache-2.0
"""What the tests of the documents share: where things are, and the sounds that examples play."""

import json
import math
import os
import shutil
import struct
import subprocess
import wave
from pathlib import Path

with open(os.environ["CABINAUDIO_TEST_SURROUNDINGS"], encoding="utf-8") as file:
    _SURROUNDINGS = json.load(file)

SOURCE = Path(_SURROUNDINGS["source"])
BUILD = Path(_SURROUNDINGS["build"])
WORK = Path(_SURROUNDINGS["work"])
LIBDIR = _SURROUNDINGS["libdir"]  # relative to the prefix
CMAKE = _SURROUNDINGS["cmake"]
COMPILER = _SURROUNDINGS["compiler"]
PYTHON = _SURROUNDINGS["python"]
PYTHON_DIRECTORY = _SURROUNDINGS["python_directory"]  # of packages; empty: ours is not built

# Where AnInstalledTree leaves it for the other tests.
PREFIX = WORK / "prefix"
BIN = PREFIX / "bin"


def clean_environment(**more):
    """The environment without what could lead to another installed tree, or open a window. Whoever
    has a HOME of its own has its configuration there, too."""
    environment = {
        name: value
        for name, value in os.environ.items()
        if not name.startswith(("PKG_CONFIG_", "CABINAUDIO_", "LD_", "CMAKE_PREFIX_PATH", "DISPLAY",
                                "WAYLAND_DISPLAY"))
    }
    if "HOME" in more:
        environment.pop("XDG_CONFIG_HOME", None)
    environment.update({name: str(value) for name, value in more.items()})
    return environment


def run(*command, **more):
    """Runs a command that has to succeed. Returns what it printed."""
    done = subprocess.run(
        [str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT, text=True, timeout=500, check=False,
        env=clean_environment(), **more)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}: {done.returncode}\n{done.stdout}")
    return done.stdout


def fresh_directory(name):
    directory = WORK / name
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    return directory


def write_tone(path, seconds=1, rate=48000, channels=2):
    """A sine of a quarter of full scale. Players look at the content, not at the name."""
    second = bytearray()
    for i in range(rate):
        sample = int(8192 * math.sin(2 * math.pi * 440 * i / rate))
        second += struct.pack("<h", sample) * channels
    with wave.open(str(path), "wb") as sound:
        sound.setnchannels(channels)
        sound.setsampwidth(2)
        sound.setframerate(rate)
        sound.writeframes(bytes(second) * seconds)
