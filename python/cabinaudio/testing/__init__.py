# SPDX-License-Identifier: Apache-2.0
"""Tests that hear: private servers, recordings of them, and assertions about the sound.

    from cabinaudio.testing import Server, assert_heard, tone

    with Server(hold=1) as server:
        with cabinaudio.Track("prompt") as track:
            track.play(tone(440, 10, level=-12))
        assert_heard(server, "tone 440 level=-12", "gap-free")

With pytest, the fixture ``cabin`` is such a server for each test.
"""

from ._checks import (
    HeardError,
    assert_ducked,
    assert_heard,
    assert_level,
    assert_no_click,
    assert_no_gap,
    assert_same,
    assert_silence,
    assert_starts,
    assert_tone,
    judge,
)
from ._program import Program, launch
from ._result import CheckError, Result, Sound, TimeError, read_sound
from ._scenario import ScenarioError, run_scenario
from ._server import Server, ServerError
from ._sounds import silence, tone, write_wav

__all__ = [
    "CheckError",
    "HeardError",
    "Program",
    "Result",
    "ScenarioError",
    "Server",
    "ServerError",
    "Sound",
    "TimeError",
    "assert_ducked",
    "assert_heard",
    "assert_level",
    "assert_no_click",
    "assert_no_gap",
    "assert_same",
    "assert_silence",
    "assert_starts",
    "assert_tone",
    "judge",
    "launch",
    "read_sound",
    "run_scenario",
    "silence",
    "tone",
    "write_wav",
]
