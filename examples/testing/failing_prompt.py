# SPDX-License-Identifier: Apache-2.0
"""Fails, and is here to show how; pytest does not collect a file of this name by itself."""

import pytest
from cabinaudio.testing import assert_ducked
from test_prompt import played

pytestmark = pytest.mark.cabin(hold=1, await_={"prompt": 1000})


def test_prompt_is_not_ducked(cabin, cabin_app):
    result = played(cabin, cabin_app, "--without-ducking")
    assert_ducked(result, "music", by=-20, during="prompt")
