# SPDX-License-Identifier: Apache-2.0
"""Programs on a terminal that is only calculated, and the server that they need."""

import fcntl
import math
import os
import pty
import select
import signal
import struct
import subprocess
import termios
import time
import wave

import pyte

_PATIENCE = 60  # seconds, with sanitizers on a busy machine


class Terminal:
    """A program on a pseudo-terminal of its own, whose screen pyte calculates."""

    def __init__(self, words, columns=80, rows=24, **variables):
        self.screen = pyte.Screen(columns, rows)
        self._stream = pyte.ByteStream(self.screen)
        self.received = b""
        self.master, slave = pty.openpty()
        self.resize(columns, rows)
        self.modes_before = termios.tcgetattr(slave)
        # pyte knows this kind's sequences; of others it ignores tabs to the left, for example.
        environment = {**os.environ, "TERM": "linux", "LC_ALL": "C.UTF-8", **variables}
        self.process = subprocess.Popen(
            [str(word) for word in words], stdin=slave, stdout=slave, stderr=slave,
            env=environment, preexec_fn=_take_terminal, close_fds=True)
        self._slave = slave

    def resize(self, columns, rows):
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))
        self.screen.resize(rows, columns)

    def press(self, keys):
        os.write(self.master, keys.encode())

    def lines(self):
        return [line.rstrip() for line in self.screen.display]

    def wait_for(self, is_there):
        """Reads until the lines are as wanted. @return them"""
        deadline = time.monotonic() + _PATIENCE
        while not is_there(self.lines()):
            if not self._read(deadline - time.monotonic()):
                raise AssertionError("not on the screen:\n" + "\n".join(self.lines()))
        return self.lines()

    def wait_for_text(self, text):
        return self.wait_for(lambda lines: any(text in line for line in lines))

    def end(self):
        """Reads until the program's end. @return its exit status"""
        deadline = time.monotonic() + _PATIENCE
        while self.process.poll() is None:
            self._read(0.05)
            if time.monotonic() > deadline:
                self.process.kill()
                raise AssertionError("does not end:\n" + "\n".join(self.lines()))
        while self._read(0):
            pass
        return self.process.returncode

    def modes(self):
        return termios.tcgetattr(self._slave)

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        os.close(self.master)
        os.close(self._slave)

    def _read(self, seconds):
        if seconds < 0 or not select.select([self.master], [], [], seconds)[0]:
            return False
        data = os.read(self.master, 65536)
        self.received += data
        self._stream.feed(data)
        return bool(data)


def _take_terminal():
    os.setsid()
    fcntl.ioctl(0, termios.TIOCSCTTY, 0)


def write_tone(path, peak=0.25):
    """Two minutes."""
    with wave.open(str(path), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(8000)
        second = b"".join(struct.pack("<h", int(32767 * peak * math.sin(math.tau * i / 20)))
                          for i in range(8000))
        file.writeframes(second * 120)


class Server:
    """A development server of the instance in the environment, ready when it has been made."""

    def __init__(self, program, *arguments):
        ready, told = os.pipe()
        self.process = subprocess.Popen(
            [program, "--output", "null", "--ready-fd", str(told), *arguments], pass_fds=[told],
            stderr=subprocess.DEVNULL)
        os.close(told)
        with os.fdopen(ready) as pipe:
            if pipe.readline() != "ready\n":
                raise AssertionError("the server does not come up")

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(_PATIENCE)
