# SPDX-License-Identifier: Apache-2.0
"""Exceptions, one for each status of the library. The module _cabinaudio raises them.

No class has a constructor: the module makes them where no code of Python may run.
"""

from __future__ import annotations

from typing import Any, Dict

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
    """The library or the server has refused an operation."""

    def _argument(self, index: int, default: Any) -> Any:
        return self.args[index] if len(self.args) > index else default

    @property
    def status(self) -> int:
        """Number of the library (see ``AudioStatus.h``), or the server's own."""
        return int(self._argument(0, 0))

    @property
    def name(self) -> str:
        """The status's name, for example "AUDIO_TIMED_OUT", or the number as text."""
        return NAMES.get(self.status, str(self.status))

    @property
    def call(self) -> str:
        """The operation, for example 'write to "music"'."""
        return str(self._argument(1, ""))

    @property
    def done(self) -> int:
        """Bytes that were written before."""
        return int(self._argument(2, 0))

    @property
    def data(self) -> bytes:
        """What was read before."""
        return bytes(self._argument(3, b""))

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
