# SPDX-License-Identifier: Apache-2.0
"""Client library of a car's audio server.

Playing, recording, settings::

    import cabinaudio

    with cabinaudio.Track("prompt", rate=48000, channels=2) as track:
        track.play(samples)                            # bytes, array, NumPy array

    with cabinaudio.Record("note") as record:
        voice = record.record(2.5)                     # s

    cabinaudio.settings["volume.master"] = -6.0        # dB

On a head unit the package uses its devices. Where the development kit is installed, it uses the
kit's stand-in for them: no launcher is needed, and a server is `cabinaudio-server`. The environment
variable CABINAUDIO_INSTANCE, set before the first object, chooses among several servers.

`cabinaudio.testing` starts servers of a test's own, and pytest has fixtures for them.
"""

from importlib import import_module
from typing import TYPE_CHECKING, Any, Dict

if TYPE_CHECKING:
    from ._errors import (
        AudioError,
        AudioTimeout,
        BadValue,
        Busy,
        InvalidOperation,
        InvalidState,
        ServerGone,
    )
    from ._process import reply_timeout
    from ._settings import Settings, Steps
    from ._streams import Record, Sink, Track, Uplink, play_together

    settings: Settings

__all__ = [
    "AudioError",
    "AudioTimeout",
    "BadValue",
    "Busy",
    "InvalidOperation",
    "InvalidState",
    "Record",
    "ServerGone",
    "Settings",
    "Sink",
    "Steps",
    "Track",
    "Uplink",
    "play_together",
    "reply_timeout",
    "settings",
]

_MODULES: Dict[str, str] = {
    "Record": "_streams",
    "Settings": "_settings",
    "Sink": "_streams",
    "Steps": "_settings",
    "Track": "_streams",
    "Uplink": "_streams",
    "play_together": "_streams",
    "reply_timeout": "_process",
}


def __getattr__(name: str) -> Any:
    """Loads the library with the first name that needs it. pytest loads this package for its
    fixtures in runs that do not use them."""
    if name not in __all__:
        raise AttributeError(f"module 'cabinaudio' has no attribute '{name}'")
    if name == "settings":
        found: Any = import_module("._settings", __name__).shared
    else:
        found = getattr(import_module("." + _MODULES.get(name, "_errors"), __name__), name)
    globals()[name] = found
    return found
