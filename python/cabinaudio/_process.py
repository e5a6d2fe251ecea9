# SPDX-License-Identifier: Apache-2.0
"""The library in this process: loaded, given its policy, and ended in order."""

from __future__ import annotations

import atexit
import os
import weakref
from typing import Protocol

from . import _board


class _Closable(Protocol):
    def close(self) -> None: ...


# Before the module that is linked with the library: a library that is loaded cannot be bound anew.
_board.bind()

from . import _cabinaudio as _cabinaudio  # noqa: E402  # others take it from here

# Priorities of the library's log. Exceptions tell what programs must know.
_SILENT = 8
_INFO = 4
_REPLY_TIMEOUT = 5.0

#: Everything that must be closed before the interpreter ends: its threads may call Python.
opened: "weakref.WeakSet[_Closable]" = weakref.WeakSet()


def _close_all() -> None:
    for one in list(opened):
        one.close()
    _cabinaudio.wait_for_destructions()


def _prepare() -> None:
    _cabinaudio.set_reply_timeout(_REPLY_TIMEOUT)
    _cabinaudio.set_log_priority(_INFO if "CABINAUDIO_LOG" in os.environ else _SILENT)
    atexit.register(_close_all)
    if hasattr(os, "register_at_fork"):
        os.register_at_fork(after_in_child=_cabinaudio.abandon_after_fork)


_prepare()


def reply_timeout(seconds: float) -> float:
    """Sets the longest wait for an answer of the server, for objects that are made from now on.

    0 means no limit. Returns the value before; at first it is 5 s.
    """
    if not 0 <= seconds <= 86400:
        raise ValueError(f"reply_timeout is 0 to 86400 s, not {seconds}")
    before = _cabinaudio.reply_timeout()
    _cabinaudio.set_reply_timeout(seconds)
    return before
