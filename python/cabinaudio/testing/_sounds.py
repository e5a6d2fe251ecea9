# SPDX-License-Identifier: Apache-2.0
"""Sounds to play."""

from __future__ import annotations

import array
import functools
import math
import os
import sys
import wave
from typing import Union


def _pcm(samples: "array.array[int]") -> bytes:
    if sys.byteorder == "big":
        samples.byteswap()
    return samples.tobytes()


@functools.lru_cache(maxsize=32)
def tone(
    hz: float, seconds: float, *, level: float = -12.0, rate: int = 48000, channels: int = 2
) -> bytes:
    """A sine as 16-bit samples, the same in all channels.

    Args:
        level: RMS in dB of full scale, as the check ``level`` measures it; -3.01 at most
    """
    if not level <= -3.01:
        raise ValueError(f"a sine has a level of -3.01 dB at most, not {level}")
    frames = round(seconds * rate)
    peak = 32767 * math.sqrt(2) * 10 ** (level / 20)
    step = 2 * math.pi * hz / rate
    # A tone of whole Hz repeats after a second.
    period = min(frames, rate) if float(hz).is_integer() else frames
    once = array.array("h")
    for frame in range(period):
        once.extend([round(peak * math.sin(step * frame))] * channels)
    data = _pcm(once)
    whole, rest = divmod(frames, period) if period else (0, 0)
    return data * whole + data[: rest * 2 * channels]


def silence(seconds: float, *, rate: int = 48000, channels: int = 2) -> bytes:
    """Silence as 16-bit samples."""
    return bytes(round(seconds * rate) * 2 * channels)


def write_wav(
    path: Union[str, "os.PathLike[str]"], data: bytes, *, rate: int = 48000, channels: int = 2
) -> str:
    """Writes 16-bit samples to a WAV file, for example for the check ``same``, and returns its
    path."""
    with wave.open(os.fspath(path), "wb") as file:
        file.setnchannels(channels)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(data)
    return os.fspath(path)
