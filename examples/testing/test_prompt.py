# SPDX-License-Identifier: Apache-2.0
"""The navigation program tested with pytest. NAVIGATION of the environment is its path."""

import os

import pytest
from cabinaudio.testing import assert_ducked, assert_heard

PROGRAM = os.environ.get("NAVIGATION", "./navigation")

# Time begins when the music is started, and the prompt is heard at one second.
pytestmark = pytest.mark.cabin(hold=1, await_={"prompt": 1000})


def played(cabin, cabin_app, *arguments):
    """What the server has heard when the program has ended."""
    navigation = cabin_app([PROGRAM, *arguments])
    assert navigation.wait() == 0, navigation.output
    return cabin.stop()


def test_prompt_is_heard_over_the_music(cabin, cabin_app):
    assert_heard(played(cabin, cabin_app), "starts prompt@1000", "tone 1000 [1.2..1.8]",
                 "tone 440 [0.1..0.9]")


def test_prompt_ducks_the_music(cabin, cabin_app):
    assert_ducked(played(cabin, cabin_app), "music", by=-20, during="prompt")
