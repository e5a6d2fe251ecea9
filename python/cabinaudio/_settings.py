# SPDX-License-Identifier: Apache-2.0
"""The server's settings as a mapping."""

from __future__ import annotations

import operator
import threading
from typing import (
    Dict,
    Iterator,
    List,
    MutableMapping,
    Optional,
    Sequence,
    SupportsFloat,
    SupportsIndex,
    Union,
)

from ._process import _cabinaudio, opened
from ._scoped import Scoped

Single = Union[float, int, bool, str, bytes]
Value = Union[Single, Sequence[float], Sequence[int], Sequence[str]]


class Steps:
    """A volume in steps instead of dB: ``settings["volume.master"] = Steps(87)``."""

    def __init__(self, *steps: int) -> None:
        if not steps or not all(isinstance(step, int) for step in steps):
            raise TypeError("Steps takes one or more whole numbers")
        self.steps = steps

    def __repr__(self) -> str:
        return f"Steps({', '.join(map(str, self.steps))})"


class Settings(Scoped, MutableMapping[str, Value]):
    """The server's settings by the names of ``cabinaudio list``.

    ``settings["volume.master"] = -6.0`` sets 6 dB of attenuation, and reading gives a float. Gains
    are in dB (see also Steps), other numbers in the unit that describe() tells; switches are bool,
    meters float in dB (-inf for silence), opaque parameters bytes, lists a list. A value may also
    be the text that follows ``cabinaudio set NAME=``, for example "87" or "off".

    Iteration, len() and get_all() cover the settings that the server knows now, those of streams
    included. Any thread may use one object.

    Raises:
        KeyError:   there is no such setting; the text has similar names
        ValueError: the setting does not take the value, or can only be read or set
        AudioError: the server's refusal; ServerGone without one
    """

    def __init__(self) -> None:
        self._connection: Optional[_cabinaudio.Settings] = _cabinaudio.Settings()
        opened.add(self)

    @property
    def _core(self) -> _cabinaudio.Settings:
        assert self._connection is not None  # _Shared alone has none at times
        return self._connection

    def __getitem__(self, name: str) -> Value:
        value: Value = self._core.get(name)
        return value

    def __setitem__(self, name: str, value: Union[Value, Steps]) -> None:
        self._core.set(name, self._text(name, value))

    def __delitem__(self, name: str) -> None:
        raise TypeError("a setting cannot be deleted")

    def __iter__(self) -> Iterator[str]:
        return iter(self.names())

    def __len__(self) -> int:
        return len(self.names())

    def __contains__(self, name: object) -> bool:
        if not isinstance(name, str):
            return False
        try:
            self._core.describe(name)
        except KeyError:
            return False
        return True

    def names(self, pattern: str = "*") -> List[str]:
        """Names that fit a pattern with ``*``, ``?`` and ``[...]``."""
        return self._core.names(pattern)

    def get_all(self, pattern: str = "*") -> Dict[str, Value]:
        """Values of the settings that fit and that can be read now."""
        from ._errors import AudioError, ServerGone

        values: Dict[str, Value] = {}
        for name in self.names(pattern):
            try:
                values[name] = self[name]
            except ServerGone:
                raise
            except (AudioError, ValueError):
                continue  # can only be set, or the server lacks it
        return values

    def meters(self) -> Dict[str, Value]:
        """All levels that the server measures."""
        return {
            name: self[name] for name in self.names("*") if self._core.describe(name)["meter"]
        }

    def set(self, **values: Union[Value, Steps]) -> None:
        """Sets several settings, in this order; in the names ``__`` stands for a dot:
        ``settings.set(volume__master=-6.0)``."""
        for name, value in values.items():
            self[name.replace("__", ".")] = value

    def describe(self, name: str) -> Dict[str, object]:
        """What is known about a setting: "what", "kind", "unit", "range", "count", "readable",
        "settable", "meter"."""
        return self._core.describe(name)

    def close(self) -> None:
        """Disconnects. Closing again does nothing."""
        self._core.close()

    # Identity, not contents: the mapping changes whenever another program sets something.
    __eq__ = object.__eq__
    __hash__ = object.__hash__

    def __repr__(self) -> str:
        return "<cabinaudio.Settings>"

    def _text(self, name: str, value: Union[Value, Steps]) -> str:
        kind = self._core.describe(name)
        if isinstance(value, str):
            return value
        if isinstance(value, (bytes, bytearray)):
            return value.hex()
        if isinstance(value, Steps):
            if kind["kind"] != "gain":
                raise TypeError(f"{name} has no volume steps")
            return ",".join(map(str, value.steps))
        if isinstance(value, bool) or kind["kind"] == "switch":
            return _switch(name, kind, value)
        unit = str(kind["unit"])
        items = value if isinstance(value, Sequence) else [value]
        return ",".join(_number(name, item, unit) for item in items)


class _Shared(Settings):
    """cabinaudio.settings: connects on its first use, and anew on the first use after close(). So it
    reaches the next server, too."""

    def __init__(self) -> None:
        self._connection = None
        self._lock = threading.Lock()
        opened.add(self)

    @property
    def _core(self) -> _cabinaudio.Settings:
        with self._lock:
            if self._connection is None:
                self._connection = _cabinaudio.Settings()
            return self._connection

    def close(self) -> None:
        """Disconnects. The next use connects again."""
        with self._lock:
            before, self._connection = self._connection, None
        if before is not None:
            before.close()


#: cabinaudio.settings
shared = _Shared()


def _switch(name: str, kind: Dict[str, object], value: object) -> str:
    if kind["kind"] != "switch" or not isinstance(value, (bool, int)):
        raise TypeError(f"{name} takes {kind['range']}, not {value!r}")
    return "on" if value else "off"


def _number(name: str, item: object, unit: str) -> str:
    if isinstance(item, str):
        return item
    # NumPy's numbers are also among these.
    if isinstance(item, SupportsIndex):
        return f"{operator.index(item)}{unit}"
    if not isinstance(item, SupportsFloat):
        raise TypeError(f"{name} takes no {type(item).__name__}")
    number = float(item)
    return f"{int(number)}{unit}" if number.is_integer() else f"{number!r}{unit}"
