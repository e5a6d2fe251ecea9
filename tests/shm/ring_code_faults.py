#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""ring_code_faults.py OBJDUMP COMPILE_COMMANDS: whether check_ring_code.py sees a missing barrier.

Compiles the ring as the build does, each time with one fault put into the sources, and lets the
check look at what came out. It must object to each of them.
"""
import json
import os
import shlex
import subprocess
import sys
import tempfile

CHECK = os.path.join(os.path.dirname(os.path.abspath(__file__)), "check_ring_code.py")
CORE = "shm/RingCore.h"
RING = "shm/RingTransfer.cpp"

SHORT_READ = "storeRelease(ring.readOffset, static_cast<std::uint32_t>(end));"
STAMPED = "storeRelease(offset, value);"
SIZE = "const std::uint32_t size = loadAcquire(ring.size);\n    "
FENCE = "    std::atomic_thread_fence(std::memory_order_seq_cst);\n"

# File, what stands there once (or, in the third place, how often), and what is put in its place.
FAULTS = {
    "no barrier before any store of an offset":
        (CORE, ".store(value, std::memory_order_release)", 1,
         ".store(value, std::memory_order_relaxed)"),
    "no barrier behind any load of an offset":
        (CORE, ".load(std::memory_order_acquire)", 1, ".load(std::memory_order_relaxed)"),
    "no barrier behind the size of any ring":
        (CORE, "loadAcquire(ring.size)", 1, "loadRelaxed(ring.size)"),
    "no barrier behind the size in a short read":
        (RING, SIZE + "const std::uint32_t r = loadRelaxed", 1,
         SIZE.replace("Acquire", "Relaxed") + "const std::uint32_t r = loadRelaxed"),
    "no barrier behind the size in a short write":
        (RING, SIZE + "const std::uint32_t r = loadAcquire", 1,
         SIZE.replace("Acquire", "Relaxed") + "const std::uint32_t r = loadAcquire"),
    "no barrier behind the size in a release":
        (RING, SIZE + "if (size == 0)", 1, SIZE.replace("Acquire", "Relaxed") + "if (size == 0)"),
    "no barrier behind the size that is asked for":
        (RING, "loadAcquire(mHandle->ring->size)", 1, "loadRelaxed(mHandle->ring->size)"),
    "no barrier in a short read":
        (RING, SHORT_READ, 1, SHORT_READ.replace("Release", "Relaxed")),
    "no barrier before an offset that is stored with the time":
        (RING, STAMPED, 1, STAMPED.replace("Release", "Relaxed")),
    "no barrier in a read in pieces":
        (RING, "storeRelease(hdl->hdr->readOffset, next)", 1,
         "storeRelaxed(hdl->hdr->readOffset, next)"),
    "no barrier in a write in pieces":
        (RING, "storeRelease(hdl->hdr->writeOffset, next)", 1,
         "storeRelaxed(hdl->hdr->writeOffset, next)"),
    "no fences around the wait flag": (RING, FENCE, 2, ""),
    "a division of 64 bits":
        (RING, "static_cast<std::uint32_t>(time.tv_nsec) / 1000000",
         1, "static_cast<std::uint64_t>(time.tv_sec * 1000000000LL + time.tv_nsec) / 1000000"),
}


def text_of(root, path):
    with open(os.path.join(root, path), encoding="utf-8") as file:
        return file.read()


def compile_command(database):
    with open(database, encoding="utf-8") as file:
        for entry in json.load(file):
            if entry["file"].endswith("/" + RING):
                return entry
    sys.exit(f"{database} does not tell how {RING} is compiled")


def compiled(entry, root, directory, replaced):
    """Compiles with these files (path -> text) in place of the tree's. @return the object"""
    os.makedirs(os.path.join(directory, "shm"), exist_ok=True)
    for path in (CORE, RING):
        with open(os.path.join(directory, path), "w", encoding="utf-8") as file:
            file.write(replaced.get(path, text_of(root, path)))
    arguments = shlex.split(entry["command"])
    result = os.path.join(directory, "ring.o")
    arguments[arguments.index("-o") + 1] = result
    arguments[arguments.index(entry["file"])] = os.path.join(directory, RING)
    arguments.insert(arguments.index("-I" + root), "-I" + directory)  # comes before the tree
    subprocess.run(arguments, cwd=entry["directory"], check=True)
    return result


def objections(objdump, path):
    run = subprocess.run([sys.executable, CHECK, objdump, path], capture_output=True, text=True,
                         check=False)
    return run.returncode, run.stdout.strip().splitlines()


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    objdump, database = sys.argv[1:]
    entry = compile_command(database)
    root = entry["file"][:-len("/" + RING)]
    unseen = 0
    with tempfile.TemporaryDirectory() as directory:
        status, said = objections(objdump, compiled(entry, root, directory, {}))
        if status != 0:
            sys.exit("objects to the ring as it is: " + "; ".join(said))
        for name, (path, old, times, new) in FAULTS.items():
            text = text_of(root, path)
            if text.count(old) != times:
                sys.exit(f"{path} does not have {times} times: {old}")
            status, said = objections(
                objdump, compiled(entry, root, directory, {path: text.replace(old, new)}))
            unseen += status == 0
            print(f"{name}: {said[0] if status != 0 else 'NOT SEEN'}")
    print(f"{len(FAULTS)} faults, {unseen} not seen")
    sys.exit(1 if unseen else 0)


main()
