# SPDX-License-Identifier: Apache-2.0
"""Exceptions, one for each status of the library."""

from __future__ import annotations

import time
from typing import Dict, Type

NAMES: Dict[int, str] = {
    0: "AUDIO_NO_ERROR",
    1: "request not sent",
    -1000: "AUDIO_NOT_CONNECTED",
    -1990: "AUDIO_NO_MEMORY",
    -2000: "AUDIO_TIMED_OUT",
    -2992: "AUDIO_BAD_SEQUENCE",
    -3000: "AUDIO_BAD_VALUE",
    -8000: "AUDIO_INVALID_OPERATION",
    -9998: "AUDIO_INVALID_STATE",
}


class AudioError(Exception):
    """The library or the server has refused an operation.

    Attributes:
        status: number of the library (see ``AudioStatus.h``), or the server's own
        name:   the number's name, for example "AUDIO_TIMED_OUT", or the number as text
        call:   the operation, for example 'write to "music"'
        done:   bytes that were written before
        data:   bytes that were read before
    """

    def __init__(self, status: int, call: str = "", done: int = 0, data: bytes = b"") -> None:
        self.status = status
        self.name = NAMES.get(status, str(status))
        self.call = call
        self.done = done
        self.data = data
        super().__init__(status, call)

    def _why(self) -> str:
        return self.name if self.status == 1 else f"{self.name} ({self.status})"

    def __str__(self) -> str:
        text = f"{self.call}: {self._why()}" if self.call else self._why()
        return f"{text}; {self.done} bytes before" if self.done else text


class AudioTimeout(AudioError):
    """Space, data, a ring or an event did not appear in time."""


class ServerGone(AudioError):
    """There is no server, or it has gone away: close the object and make a new one."""

    def _why(self) -> str:
        return "no server answers"


class InvalidState(AudioError):
    """The stream's state does not allow it: not started, stopped meanwhile, removed by the server."""


class InvalidOperation(AudioError):
    """Another write is blocked, the end of the data was announced, or the server lacks this."""


class BadValue(AudioError, ValueError):
    """The library or the server has refused an argument."""


class Busy(AudioError):
    """Another request of the same object is in progress, or memory is exhausted."""


_CLASSES: Dict[int, Type[AudioError]] = {
    -1000: ServerGone,
    -1990: Busy,
    -2000: AudioTimeout,
    -3000: BadValue,
    -8000: InvalidOperation,
    -9998: InvalidState,
}

# Results that a lost server has as well as other reasons.
_DOUBTFUL = (1, -2000, -9998)


def make(status: int, call: str, done: int = 0, data: bytes = b"") -> AudioError:
    """The exception for a status: ServerGone when a lost server may be the reason, and is lost."""
    kind = _CLASSES.get(status, AudioError)
    if status in _DOUBTFUL and _is_lost():
        kind = ServerGone
    return kind(status, call, done, data)


def _is_lost() -> bool:
    """Looks again a moment later: the sockets of a killed server are closed one after the other."""
    from ._process import _cabinaudio

    for _ in range(5):
        if not _cabinaudio.server_listens():
            return True
        time.sleep(0.01)
    return False
