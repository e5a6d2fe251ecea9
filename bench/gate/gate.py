#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""gate.py NATIVE TARGET [--limits FILE] [--json FILE]: counts noise-free costs, and compares them
with the limits.

NATIVE and TARGET are build directories: of this machine with the benchmarks, and of the target.
It counts instructions (callgrind here, qemu-arm with count.cpp for the target), bytes of text,
relocations, and calls of 64-bit divisions. The exit status is 1 when a count is above its limit or
could not be taken, 2 for a wrong command line.

`gate.py --judge FILE [--limits FILE]` compares the counts of an earlier run (its --json file).
"""
import argparse
import json
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.realpath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))

RINGS = {"64 KiB": 64 << 10, "1 MiB": 1 << 20}
CHUNKS = (64, 192, 960, 3840, 16 << 10, 64 << 10)
RING_ROUNDS = 512
CALL_ROUNDS = 512
TARGET_ROUNDS = (1000, 3000)
CALLS = {
    "ClientTrack::write": ("track", "ClientTrack::write(unsigned char*, int, bool)",
                           "ShareMemoryEx::write(unsigned char const*, unsigned int)"),
    "ClientRecord::read": ("record", "ClientRecord::read(unsigned char*, int, bool)",
                           "ShareMemoryEx::read(unsigned char*, unsigned int)"),
}
REQUEST = "RemoteCall::callFuncId(unsigned int, int, bool)"
# The C library's part of a call, which does not depend on the library.
LOCK = re.compile(r"pthread_mutex_(un)?lock")
COPY = re.compile(r"mem(cpy|move)")
DIVISION = re.compile(r"__aeabi_u?ldivmod|__u?divdi3|__u?moddi3")
TRANSFER = re.compile(r"::(write|writeOnce|blockWrite|nonblockWrite|checkAndWaitShareBuffer\w*|read"
                      r"|waitForData|waitForSpace)\(")


class Broken(Exception):
    """A cost could not be counted."""


def output(*command, **more):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          check=False, **more)
    if done.returncode != 0:
        raise Broken(f"{' '.join(command)}: {done.stderr.strip() or done.returncode}")
    return done.stdout


# Instructions, on this machine ------------------------------------------------------------------


def self_costs(text):
    """Instructions of each function itself, from a callgrind file with full names."""
    costs = {}
    function = None
    is_callee = False
    for line in text.splitlines():
        if line.startswith("fn="):
            function = line[3:]
        elif line.startswith("calls="):
            is_callee = True
        elif re.match(r"[0-9+*-]", line) and function:
            if not is_callee:
                costs[function] = costs.get(function, 0) + int(line.split()[1])
            is_callee = False
    return costs


def callgrind(inside, *command):
    """Instructions executed inside these functions, by function."""
    with tempfile.NamedTemporaryFile() as out:
        output("valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}",
               "--compress-strings=no", "--compress-pos=no",
               *(f"--toggle-collect={name}" for name in inside), *command,
               env={**os.environ, "LD_BIND_NOW": "1"})
        costs = self_costs(out.read().decode())
    if not costs:
        raise Broken(f"nothing was counted inside {', '.join(inside)} of {' '.join(command)}")
    return costs


def total(costs, but=None):
    return sum(cost for name, cost in costs.items() if not (but and but.search(name)))


def ring_counts(native):
    """Instructions beyond two functions of a shared library that only copy and take the time. The
    copies' own instructions depend on the alignment of the bytes; they are excluded from both."""
    program = f"{native}/bench/ring/ring-instructions"
    least = "cabinaudio::bench::Called<cabinaudio::bench::Copies>::"
    for ring, size in RINGS.items():
        for chunk in (chunk for chunk in CHUNKS if chunk < size):
            words = (str(chunk), str(size), str(RING_ROUNDS))
            ours = callgrind(("ShareMemoryEx::write(unsigned char const*, unsigned int)",
                              "ShareMemoryEx::read(unsigned char*, unsigned int)"),
                             program, "ours", *words)
            called = callgrind((f"{least}write(unsigned char const*, unsigned int)",
                                f"{least}read(unsigned char*, unsigned int)"),
                               program, "memcpy-called", *words)
            yield (f"ring {ring}, {chunk} B",
                   (total(ours, COPY) - total(called, COPY)) / RING_ROUNDS)


def peer_counts(native):
    """The same for other rings, also behind two functions of a shared library."""
    program = f"{native}/bench/ring/ring-instructions"
    words = ("960", str(RINGS["1 MiB"]), str(RING_ROUNDS))
    beyond = {}
    for variant, ring in (("memcpy", "Copies"), ("spa", "Spa"), ("jack", "Jack"), ("boost", "Boost")):
        name = f"cabinaudio::bench::Called<cabinaudio::bench::{ring}>::"
        costs = callgrind((f"{name}write(unsigned char const*, unsigned int)",
                           f"{name}read(unsigned char*, unsigned int)"),
                          program, f"{variant}-called", *words)
        beyond[variant] = total(costs, COPY) / RING_ROUNDS
    for variant in ("spa", "jack", "boost"):
        yield f"{variant}'s ring 1 MiB, 960 B", beyond[variant] - beyond["memcpy"]


def call_counts(native):
    program = f"{native}/bench/gate/call-instructions"
    for name, (kind, call, ring) in CALLS.items():
        whole = callgrind((call,), program, kind, str(CALL_ROUNDS))
        below = callgrind((ring,), program, kind, str(CALL_ROUNDS))
        beyond = total(whole) - total(below)
        lock = sum(cost for function, cost in whole.items() if LOCK.search(function))
        yield f"{name} beyond the ring", beyond / CALL_ROUNDS
        yield f"{name} beyond the ring and the C library's lock", (beyond - lock) / CALL_ROUNDS
    request = callgrind((REQUEST,), program, "request", str(CALL_ROUNDS))
    yield "callFuncId, caller's thread", total(request) / CALL_ROUNDS


# Instructions, on the target ----------------------------------------------------------------------


def target_counts(target):
    """Write and read of one chunk as above, including the copies."""
    with tempfile.TemporaryDirectory() as scratch:
        counter = f"{scratch}/count.so"
        output("g++", "-std=c++20", "-O2", "-shared", "-fPIC", "-Wl,--unresolved-symbols=ignore-all",
               "-o", counter, f"{HERE}/count.cpp")
        compiler = ["arm-linux-gnueabihf-g++", "-std=c++20", "-O2", f"-I{ROOT}",
                    f"-I{ROOT}/include", "-Wall", "-Wextra"]
        output(*compiler, "-shared", "-fPIC", "-o", f"{scratch}/libleast.so",
               f"{HERE}/TargetCopies.cpp")
        program = f"{scratch}/target-ring"
        output(*compiler, "-o", program, f"{HERE}/TargetRing.cpp", f"-L{scratch}", "-lleast",
               f"-L{target}", "-lcabinaudio", "-Wl,--allow-shlib-undefined")
        environment = {**os.environ, "QEMU_LD_PREFIX": "/", "CABINAUDIO_INSTANCE": "gate"}
        libraries = ":".join([scratch, os.path.abspath(target), f"{os.path.abspath(target)}/devkit/log"])

        def per_round(variant, chunk):
            counts = []
            for rounds in TARGET_ROUNDS:
                words = output("qemu-arm", "-E", f"LD_LIBRARY_PATH={libraries}", "-E", "LD_BIND_NOW=1",
                               "-plugin", counter, "-d", "plugin", "-D", f"{scratch}/count",
                               program, variant, str(chunk), str(rounds), env=environment)
                del words
                with open(f"{scratch}/count", encoding="ascii") as count:
                    counts.append(int(count.read()))
            return (counts[1] - counts[0]) / (TARGET_ROUNDS[1] - TARGET_ROUNDS[0])

        for chunk in (64, 960, 3840):
            yield (f"armhf ring 1 MiB, {chunk} B, copies included",
                   per_round("ours", chunk) - per_round("least", chunk))


# Object code ------------------------------------------------------------------------------------


def text_size(library):
    return int(output("size", library).splitlines()[1].split()[0])


def relocations(library):
    """Entries of the relocation tables, and places that they adjust: a packed entry has up to 63."""
    table = output("readelf", "-rW", library)
    single = len(re.findall(r"^[0-9a-f]{8,16} +[0-9a-f]{8,16} R_", table, re.M))
    packed = re.search(r"contains (\d+) entr\w+:\n +(\d+) offsets$", table, re.M)
    if packed is None:
        return single, single
    return single + int(packed[1]), single + int(packed[2])


def divisions(path, functions):
    """Calls of 64-bit divisions in these functions of an object file of the target."""
    function = ""
    count = 0
    for line in output("arm-linux-gnueabihf-objdump", "-drC", "--no-show-raw-insn",
                       path).splitlines():
        begin = re.match(r"[0-9a-f]+ <(.*)>:$", line)
        if begin:
            function = begin[1]
        elif "R_ARM" in line and DIVISION.search(line) and functions.search(function):
            count += 1
    return count


def ring_divisions(target):
    """Divisions in the ring's code, and in a stream's code for each call."""
    ring = f"{target}/shm/CMakeFiles/cabinaudio-shm.dir/RingTransfer.cpp.o"
    streams = ("ClientTrack", "ClientSink", "ClientRecord", "Playback")
    return divisions(ring, re.compile("")) + sum(
        divisions(f"{target}/client/CMakeFiles/cabinaudio-client.dir/{name}.cpp.o", TRANSFER)
        for name in streams)


def code_counts(native, target):
    yield "armhf text, bytes", text_size(f"{target}/libcabinaudio.so.2")
    entries, places = relocations(f"{native}/libcabinaudio.so.2")
    yield "relocation entries", entries
    yield "relocated places", places
    yield "armhf 64-bit divisions on the ring's path", ring_divisions(target)


# Limits -------------------------------------------------------------------------------------------


def read_limits(path):
    """Lines of: limit or -, goal or -, name; a reason after #."""
    limits = {}
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            words, _, reason = line.partition("#")
            if not words.strip():
                continue
            limit, goal, name = words.split(None, 2)
            limits[name.strip()] = {"limit": None if limit == "-" else float(limit),
                                    "goal": None if goal == "-" else float(goal),
                                    "reason": reason.strip()}
    return limits


def judge(counts, limits):
    """Prints all counts. @return the problems found"""
    problems = [f"{name}: not counted" for name in limits if name not in counts]
    print(f"{'counted':>10} {'limit':>8} {'goal':>8}")
    for name, count in counts.items():
        entry = limits.get(name)
        if entry is None:
            problems.append(f"{name}: no limit")
            continue
        goal, limit = entry["goal"], entry["limit"]
        note = "" if goal is None else "  goal reached" if count <= goal else "  goal MISSED"
        shown = ["-" if value is None else format(value, ".0f") for value in (limit, goal)]
        print(f"{count:10.1f} {shown[0]:>8} {shown[1]:>8}  {name}{note}")
        if limit is not None and count > limit:
            problems.append(f"{name}: {count:.1f} is more than {limit:.0f}")
    return problems


def count_all(native, target):
    counts = {}
    for part in (ring_counts(native), peer_counts(native), call_counts(native), code_counts(native, target),
                 target_counts(target)):
        counts.update(part)
    return counts


def main():
    parser = argparse.ArgumentParser(description="Counts, and compares with the limits.")
    parser.add_argument("native", nargs="?")
    parser.add_argument("target", nargs="?")
    parser.add_argument("--limits", default=f"{HERE}/limits.txt")
    parser.add_argument("--json", help="write the counts to this file")
    parser.add_argument("--judge", metavar="FILE", help="counts of an earlier run")
    words = parser.parse_args()
    if bool(words.judge) == bool(words.target):
        parser.error("give two builds, or --judge")
    try:
        limits = read_limits(words.limits)
        if words.judge:
            with open(words.judge, encoding="utf-8") as file:
                counts = {name: entry["count"] for name, entry in json.load(file)["counts"].items()}
        else:
            counts = count_all(words.native, words.target)
        problems = judge(counts, limits)
    except (Broken, OSError) as error:
        print(f"gate.py: {error}", file=sys.stderr)
        return 1
    if words.json:
        with open(words.json, "w", encoding="utf-8") as file:
            json.dump({"title": "Counts", "counts":
                       {name: {"count": count, **limits.get(name, {})}
                        for name, count in counts.items()}}, file, indent=2)
            file.write("\n")
    for problem in problems:
        print(f"gate.py: {problem}", file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
