# SPDX-License-Identifier: Apache-2.0
"""Threads, forks, ends of the interpreter, and many lives."""

import concurrent.futures
import gc
import os
import threading
import time

import pytest

import cabinaudio
from cabinaudio.testing import tone
from conftest import IS_EMULATED, IS_SANITIZED

CYCLES = int(os.environ.get("CABINAUDIO_TEST_LIFE_CYCLES", "10000"))
SOUND = tone(440, 1)

HEAD = """
import os, sys, threading, time
import cabinaudio
from cabinaudio.testing import tone
SOUND = tone(440, 1)
"""


@pytest.mark.parametrize(
    "code",
    [
        "track = cabinaudio.Track('prompt')",
        "track = cabinaudio.Track('prompt'); track.start(); track.write(SOUND, block=False)",
        "track = cabinaudio.Track('prompt'); track.start(); track.write(SOUND)\n"
        "track.on_finish = lambda: print('end', flush=True); track.write_done()",
        "record = cabinaudio.Record('note'); record.start()",
        "cabinaudio.settings['volume.master']",
        "track = cabinaudio.Track('prompt'); track.start()\n"
        "threading.Thread(target=track.write, args=(SOUND,), daemon=True).start()",
        "cabinaudio.never_closed = [cabinaudio.Track('prompt')]; sys.exit(0)",
    ],
    ids=["idle", "playing", "callback", "capture", "settings", "blocked", "exit"],
)
@pytest.mark.cabin(time="real", patience=60000)
def test_the_interpreter_ends_with_open_objects(cabin, run_script, code):
    ended = run_script(HEAD + code)
    # A thread that was blocked in a write may begin to print its exception; nothing else is printed.
    is_thread = "Thread(" in code and ended.stderr.startswith("Exception in thread")
    assert (ended.returncode, "" if is_thread else ended.stderr) == (0, "")
    assert "terminate" not in ended.stderr and "Fatal" not in ended.stderr


@pytest.mark.cabin(time="real")
def test_a_child_of_a_fork_cannot_use_the_parents_streams(cabin, run_script):
    ended = run_script(
        HEAD
        + """
track = cabinaudio.Track('prompt')
record = cabinaudio.Record('note')
cabinaudio.settings['volume.master']
child = os.fork()
if child == 0:
    for use in (track.start, record.start, lambda: cabinaudio.settings['volume.master']):
        try:
            use()
        except RuntimeError as error:
            print('child:', error)
    track.close(); record.close(); cabinaudio.settings.close()
    del track, record
    sys.exit(0)
assert os.waitpid(child, 0)[1] == 0
track.play(SOUND[:19200])
print('parent: played')
"""
    )
    assert ended.returncode == 0, ended.stderr
    assert ended.stdout.count("belongs to the parent process") == 3
    assert "parent: played" in ended.stdout


@pytest.mark.skipif(IS_EMULATED, reason="qemu-arm ends a forked child that makes threads")
@pytest.mark.cabin(time="real")
def test_a_child_of_a_fork_makes_its_own_streams(cabin, run_script):
    ended = run_script(
        HEAD
        + """
track = cabinaudio.Track('prompt')
child = os.fork()
if child == 0:
    with cabinaudio.Track('second') as own:
        own.play(SOUND[:19200])
    os._exit(0)
print(os.waitpid(child, 0)[1])
track.close()
"""
    )
    assert (ended.returncode, ended.stdout.strip()) == (0, "0"), ended.stderr


@pytest.mark.cabin(time="stepped")
def test_ctrl_c_ends_a_wait(cabin, ctrl_c):
    with cabinaudio.Track("prompt") as track:
        track.start()
        track.write(SOUND[:9600])
        track.write_done()
        with ctrl_c():
            track.wait(600)


@pytest.mark.cabin(time="stepped")
def test_ctrl_c_ends_a_write_while_time_stands(cabin, ctrl_c):
    with cabinaudio.Track("prompt") as track:
        track.start()
        begin = time.monotonic()
        with ctrl_c():
            track.write(SOUND)
        assert time.monotonic() - begin < 15  # the library's own wait has 60 s here


DROP = """
holder = []

def play_and_drop():
    gone = threading.Event()
    track = cabinaudio.Track('prompt')
    track.on_finish = lambda: (holder.clear(), gone.set())
    track.start()
    track.write(SOUND[:4096])
    holder.append(track)
    track.write_done()
    del track
    assert gone.wait(60)
    while True:
        try:
            cabinaudio.Track('prompt').close()
            return
        except cabinaudio.InvalidState:
            time.sleep(0.001)
"""


@pytest.mark.skipif(IS_EMULATED, reason="the emulator has the address space")
def test_streams_that_are_dropped_in_on_finish_leave_no_stacks(cabin, run_script):
    ended = run_script(HEAD + DROP + """
def address_space():
    with open('/proc/self/statm') as file:
        return int(file.read().split()[0]) * os.sysconf('SC_PAGESIZE')

for _ in range(10):
    play_and_drop()
before = address_space()
for _ in range(60):
    play_and_drop()
print((address_space() - before) >> 20)
""")
    assert ended.returncode == 0, ended.stderr
    assert int(ended.stdout) < 240, "MiB; 60 stacks have 480"


@pytest.mark.skipif(IS_EMULATED, reason="qemu-arm ends a forked child that makes threads")
def test_a_child_of_a_fork_does_not_wait_for_the_parents_threads(cabin, run_script):
    ended = run_script(HEAD + DROP + """
play_and_drop()
child = os.fork()
if child == 0:
    sys.exit(0)
print(os.waitpid(child, 0)[1])
""")
    assert (ended.returncode, ended.stdout.strip()) == (0, "0"), ended.stderr


@pytest.mark.cabin(time="real")
def test_ctrl_c_ends_a_write(cabin, ctrl_c):
    with cabinaudio.Track("prompt") as track:
        track.start()
        with ctrl_c():
            track.write(SOUND * 600)


@pytest.mark.cabin(time="real")
def test_threads_use_one_settings_object(cabin):
    def change(number):
        for step in range(20):
            cabin.settings["volume.master"] = -float(step)
            assert cabin.settings["volume.master"] <= 0
        return number

    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        assert sorted(pool.map(change, range(4))) == [0, 1, 2, 3]


@pytest.mark.cabin(time="real")
def test_threads_close_a_stream_that_others_use(cabin):
    for _ in range(50):
        track = cabinaudio.Track("prompt")
        track.start()

        def use():
            try:
                while True:
                    track.write(SOUND[:4096])
                    assert track.bytes_free >= 0
            except (ValueError, cabinaudio.InvalidState, cabinaudio.InvalidOperation):
                return True

        with concurrent.futures.ThreadPoolExecutor(3) as pool:
            users = [pool.submit(use) for _ in range(2)]
            pool.submit(track.close)
            assert all(user.result(60) for user in users)


def usage():
    """Resident kB, descriptors, threads, and names in shared memory of this instance."""
    gc.collect()
    with open("/proc/self/statm") as file:
        resident = int(file.read().split()[1]) * os.sysconf("SC_PAGESIZE") // 1024
    instance = os.environ["CABINAUDIO_INSTANCE"]
    memory = [name for name in os.listdir("/dev/shm") if instance in name]
    return (
        resident,
        len(os.listdir("/proc/self/fd")),
        len(os.listdir("/proc/self/task")),
        len(memory),
    )


def settled(quiet):
    """The usage as soon as threads and names in shared memory are as in `quiet`, or after 30 s.
    A thread is listed until the kernel has taken it down, and the server removes a ring's name after
    the stream's end."""
    end = time.monotonic() + 30
    while (now := usage())[2:] != quiet[2:] and time.monotonic() < end:
        time.sleep(0.01)
    return now


def live(number):
    """One of several kinds of lives: started or not, closed or forgotten."""
    if number % 5 == 0:
        record = cabinaudio.Record("note")
        record.start()
        record.close()
        return
    track = (cabinaudio.Track, cabinaudio.Sink)[number % 2]("prompt")
    if number % 3 == 0:
        track.on_finish = lambda: track.name
        track.start()
        track.write(SOUND[:3072], block=False)
    if number % 7 != 0:
        track.close()


@pytest.mark.cabin(time="real", args=["--quiet"])
def test_many_lives_leave_nothing(cabin):
    quiet = usage()
    for number in range(CYCLES // 10):
        live(number)
    before = settled(quiet)
    for number in range(CYCLES):
        live(number)
    after = settled(quiet)
    assert after[1:] == before[1:]
    assert after[2:] == quiet[2:]
    # The emulator keeps memory of its own for each thread that has ended, and the address sanitizer
    # keeps what was freed.
    if not IS_EMULATED and not IS_SANITIZED:
        assert after[0] - before[0] < 4096, (before, after)
