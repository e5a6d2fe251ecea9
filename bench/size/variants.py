#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""variants.py DIRECTORY [--json FILE]: builds the target's library with several options, below
DIRECTORY, and compares its text and the instructions of its ring, counted under qemu-arm."""
import argparse
import json
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "gate"))
import gate  # noqa: E402

VARIANTS = {"-O2": "-O2", "-Os": "-Os", "-O2 -flto": "-O2 -flto", "-Os -flto": "-Os -flto"}


def build(directory, flags):
    gate.output("cmake", "-G", "Ninja", "-S", gate.ROOT, "-B", directory,
                f"-DCMAKE_TOOLCHAIN_FILE={gate.ROOT}/cmake/toolchains/armhf.cmake",
                "-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS={flags} -DNDEBUG",
                "-DCABINAUDIO_BUILD_TESTS=OFF", "-DCABINAUDIO_BUILD_TOOLS=OFF",
                "-DCABINAUDIO_BUILD_DEVKIT=OFF", "-DCABINAUDIO_INSTALL=OFF")
    gate.output("cmake", "--build", directory, "--target", "cabinaudio")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("directory")
    parser.add_argument("--json")
    words = parser.parse_args()
    values = {}
    try:
        for name, flags in VARIANTS.items():
            tree = f"{words.directory}/{name.replace(' ', '').strip('-')}"
            build(tree, flags)
            values[f"{name}: text, bytes"] = gate.text_size(f"{tree}/libcabinaudio.so.2")
            for what, count in gate.target_counts(tree):
                values[f"{name}: {what}, instructions"] = round(count, 1)
    except (gate.Broken, OSError) as error:
        print(f"variants.py: {error}", file=sys.stderr)
        return 1
    for name, value in values.items():
        print(f"  {name:70} {value:10}")
    if words.json:
        with open(words.json, "w", encoding="utf-8") as file:
            json.dump({"title": "Options of the compiler, armhf", "values": values}, file, indent=2)
    return 0


if __name__ == "__main__":
    sys.exit(main())
