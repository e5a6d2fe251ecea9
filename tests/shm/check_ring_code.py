#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_ring_code.py OBJDUMP OBJECT: looks at what the ring's transfers became on the target.

The target's cores reorder stores, which no test on this machine ever shows. So in each function that
copies bytes, every store of an offset must have a barrier between it and the call before it, the
copy; and every copy a barrier before it, behind the load of the other side's offset. Where the
caller copies, the offsets that it sets and gets have theirs. The creator stores the size last, so
the size is loaded first and has a barrier behind it, before the offsets. The wait flag has a full
one on either side. Divisions of 64 bits would be calls into the compiler's library.
"""
import re
import subprocess
import sys

# Function, and where in the header the offset is that it stores.
TRANSFERS = {
    "ShareMemoryEx::read(": 4,
    "ShareMemoryEx::write(": 8,
    "::readAnyRing(": 4,
    "::writeAnyRing(": 8,
}
# Operations around a copy that the caller makes: function, and what must stand in it in this order.
BARRIER = ("barrier",)
READ_OFFSET, WRITE_OFFSET, WAIT = 4, 8, 56
SEQUENCES = {
    "::updateReadOffset(": [BARRIER, ("str", READ_OFFSET), BARRIER, ("ldrb", WAIT)],
    "::updateWriteOffset(": [BARRIER, ("str", WRITE_OFFSET)],
    "::getTotalSize(": [BARRIER],
    "::getUsedSize(": [BARRIER, ("ldr", READ_OFFSET), BARRIER, ("ldr", WRITE_OFFSET), BARRIER],
    "::getFreeSize(": [BARRIER, ("ldr", READ_OFFSET), BARRIER, ("ldr", WRITE_OFFSET), BARRIER],
    "::getNextBuffer(": [BARRIER, ("ldr", READ_OFFSET), BARRIER, ("ldr", WRITE_OFFSET), BARRIER],
    "::releaseBuffer(": [BARRIER, ("ldr", READ_OFFSET), BARRIER, ("str", READ_OFFSET)],
    "::clear(": [BARRIER, ("str", READ_OFFSET), BARRIER, ("str", WRITE_OFFSET)],
    "::setWait(": [("strb", WAIT), BARRIER],
}
# What would be calls into the compiler's library, slow ones, on the way of every transfer.
LONG_DIVISION = re.compile(r"__aeabi_u?ldivmod|__u?divdi3|__u?moddi3")


def disassembly(objdump, path):
    """Function name -> its instructions, relocations included."""
    text = subprocess.run(
        [objdump, "-d", "-r", "-C", "--no-show-raw-insn", path],
        check=True, capture_output=True, text=True).stdout
    functions = {}
    current = None
    for line in text.splitlines():
        start = re.match(r"[0-9a-f]+ <(.*)>:$", line)
        if start:
            current = functions.setdefault(start.group(1), [])
        elif current is not None and re.match(r"\s+[0-9a-f]+:\s", line):
            current.append(line.split(":", 1)[1].strip())
    return functions


def is_call(instruction):
    return re.match(r"blx?\s", instruction) is not None


def is_barrier(instruction):
    return instruction.startswith("dmb")


def is_copy(instruction):
    return re.search(r"R_ARM_\S+\s+memcpy$", instruction) is not None


def has_barrier_behind_last_call(instructions):
    for instruction in reversed(instructions):
        if is_barrier(instruction):
            return True
        if is_call(instruction):
            return False
    return False


def access(kind, offset):
    """A load or store of the header's field at this offset."""
    return re.compile(r"%s(\.w)?\s+\w+, \[(?!sp|pc)\w+, #%d\]" % (kind, offset))


def missing_step(instructions, steps):
    """Looks for the steps from the function's end on. @return the one that is not there, or None"""
    at = len(instructions)
    for step in reversed(steps):
        wanted = is_barrier if step == BARRIER else access(*step).match
        found = [n for n in range(at) if wanted(instructions[n])]
        if not found:
            return step
        at = found[-1]
    return None


def faults(name, instructions, offset):
    store = access("str", offset)
    stores = [i for i, text in enumerate(instructions) if store.match(text)]
    copies = [i for i, text in enumerate(instructions) if is_copy(text)]
    if not copies:
        yield f"{name}: copies nothing"
    if not stores:
        yield f"{name}: stores no offset"
    for at in stores:
        if not has_barrier_behind_last_call(instructions[:at]):
            yield f"{name}: no barrier before '{instructions[at]}'"
    loads = [i for i, text in enumerate(instructions) if access("ldr", READ_OFFSET).match(text)]
    if not loads or not any(map(is_barrier, instructions[:loads[0]])):
        yield f"{name}: no barrier between the size and the offsets"
    if copies and not any(map(is_barrier, instructions[loads[0] if loads else 0:copies[0]])):
        yield f"{name}: no barrier before the first copy"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    functions = disassembly(sys.argv[1], sys.argv[2])
    found = []
    for wanted, offset in TRANSFERS.items():
        names = [name for name in functions if wanted in name]
        if not names:
            found.append(f"{wanted}...) is not there")
        for name in names:
            found.extend(faults(name, functions[name], offset))
    for wanted, steps in SEQUENCES.items():
        names = [name for name in functions if wanted in name]
        if not names:
            found.append(f"{wanted}...) is not there")
        for name in names:
            missing = missing_step(functions[name], steps)
            if missing:
                found.append(f"{name}: not there in its place: {' '.join(map(str, missing))}")
    for name, instructions in functions.items():
        if any(LONG_DIVISION.search(text) for text in instructions):
            found.append(f"{name}: divides 64 bits")
    for fault in found:
        print(fault)
    print(f"{len(found)} faults in {sys.argv[2]}")
    sys.exit(1 if found else 0)


main()
