#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_sites.py OBJDUMP LIBRARY FAULTS-TEST: whether the conversations of the faults test reach
every call in the library's code that can fail. Those that they do not reach have to be named here,
with the reason.
"""
import os
import re
import subprocess
import sys
import tempfile

# Function that calls, what it calls, and why no conversation gets there.
FAILED = "after a mapping that has failed, in code of its own"
WAKES = "wakes sleepers, which cannot fail"
OFFSET = "applications set offsets, streams do not; the time is read as for a write"
NOT_REACHED = {
    ("AudioSemaphore::waitRelative", "sem_timedwait"): "only with a C library older than 2.30",
    ("ShareMemoryEx::updateReadOffset", "clock_gettime"): OFFSET,
    ("ShareMemoryEx::updateWriteOffset", "clock_gettime"): OFFSET,
    ("ShmUpdateNotificationRecevier::run", "syscall"): WAKES,
    ("cabinaudio::createRequest", "syscall"): "asks for the process's number, which cannot fail",
    ("cabinaudio::mapHeader", "close"): FAILED,
    ("cabinaudio::mapHeader", "fstat64"): FAILED,
    ("cabinaudio::mapHeader", "munmap"): FAILED,
    ("cabinaudio::mapPhysicalMemory", "close"): FAILED,
    ("cabinaudio::sem_post", "syscall"): WAKES,
    ("cabinaudio::sem_wait", "syscall"): "sleeps only if nothing was posted yet; a sleep that fails "
                                         "is part of shm-test",
    ("cabinaudio::semaphoreWakeSleepers", "syscall"): WAKES,
    ("cabinaudio::UseGate::drain", "syscall"): "sleeps after several looks at the word; a sleep that "
                                               "fails is part of foundation-gate-test",
    ("cabinaudio::UseGate::wakeDrains", "syscall"): WAKES,
}
# Copies of the compiler's that nothing calls, because each call of them was inlined.
NOT_CALLED = re.compile(r"std::vector<.*>::_M_realloc_insert<|cabinaudio::setting::append<")


def output(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def reached(program):
    """(return address, function called) of the library's sites, and functions called last."""
    with tempfile.TemporaryDirectory() as directory:
        listing = os.path.join(directory, "sites")
        functions = os.path.join(directory, "functions")
        output(program, "--gtest_filter=Faults.HaveSitesThatCanBeListed",
               env={**os.environ, "CABINAUDIO_FAULTS_SITES": listing,
                    "CABINAUDIO_FAULTS_FUNCTIONS": functions})
        with open(listing, encoding="ascii") as lines:
            sites = [line.split()[:3] for line in lines]
        with open(functions, encoding="ascii") as lines:
            known = set(lines.read().split())
    return ({(int(at, 16), name) for module, at, name in sites if module == "0"},
            {name for module, _, name in sites if module == "2"}, known)


def calls(objdump, library, known):
    """(caller, called function, return address or None for a jump) of the code's sites."""
    caller = None
    pending = None
    for line in output(objdump, "-d", "--no-show-raw-insn", library).splitlines():
        start = re.match(r"[0-9a-f]+ <(.*)>:$", line)
        if start:
            caller = start.group(1)
            continue
        instruction = re.match(r"\s*([0-9a-f]+):\s+(.*)", line)
        if not instruction:
            continue
        if pending:
            yield (*pending, int(instruction.group(1), 16))
            pending = None
        called = re.match(r"(call|jmp)\s+[0-9a-f]+ <([^@>]+)@plt>", instruction.group(2))
        if called and called.group(2) in known:
            if called.group(1) == "jmp":
                yield caller, called.group(2), None
            else:
                pending = (caller, called.group(2))


def readable(name):
    return output("c++filt", "--no-params", name).strip()


def main():
    objdump, library, program = sys.argv[1:4]
    visited, last, known = reached(program)
    for _ in range(5):  # some are reached only when one thread is before another
        more, more_last, _ = reached(program)
        visited |= more
        last |= more_last
    everything = list(calls(objdump, library, known))
    targets = set(re.findall(r"call\s+[0-9a-f]+ <(_Z[^@+>]*)>",
                             output(objdump, "-d", "--no-show-raw-insn", library)))
    missing = 0
    excused = 0
    for caller, called, address in everything:
        if (called in last) if address is None else ((address, called) in visited):
            continue
        name = readable(caller)
        if (name, called) in NOT_REACHED or (NOT_CALLED.match(name) and caller not in targets):
            excused += 1
            continue
        print(f"not reached: {called} in {name}, " + (f"{address:#x}" if address else "a jump"))
        missing += 1
    print(f"{len(everything)} sites in the code, {excused} of them excused, {missing} missing")
    return 1 if missing or not everything else 0


if __name__ == "__main__":
    sys.exit(main())
