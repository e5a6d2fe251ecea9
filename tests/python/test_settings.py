# SPDX-License-Identifier: Apache-2.0
"""Settings as a mapping."""

import json
import math
import os
import subprocess

import numpy
import pytest

import cabinaudio
from cabinaudio import Steps


def of_tool(cabin, name):
    """The value as the command-line tool reads it."""
    environment = {**os.environ, "CABINAUDIO_INSTANCE": cabin.instance}
    printed = subprocess.run(
        [os.environ["CABINAUDIO_LAUNCHER"], "--", os.environ["CABINAUDIO_TEST_TOOL"],
         "get", "--json", name],
        env=environment, stdout=subprocess.PIPE, text=True, check=True, timeout=120,
    )
    return json.loads(printed.stdout)["settings"][0]["value"]


@pytest.mark.parametrize(
    "name, value, read",
    [
        ("volume.master", -6.0, -6.0),
        ("volume.master", -6, -6.0),
        ("volume.master", "87", -6.5),
        ("volume.master", "-3dB", -3.0),
        ("volume.master", Steps(100), 0.0),
        ("volume.master", numpy.float32(-2.5), -2.5),
        ("volume.ramp", 30, [30.0, 30.0]),
        ("volume.ramp", (10, 20.5), [10.0, 20.5]),
        ("mixer.upmix", 1, 1),
        ("mixer.upmix", numpy.int64(1), 1),
    ],
)
def test_sets_and_reads(cabin, name, value, read):
    cabin.settings[name] = value
    assert cabin.settings[name] == read
    assert of_tool(cabin, name) == read


def test_switches(cabin):
    name = next(n for n in cabin.settings if cabin.settings.describe(n)["kind"] == "switch"
                and cabin.settings.describe(n)["readable"]
                and cabin.settings.describe(n)["settable"])
    for value in (True, False):
        cabin.settings[name] = value
        assert cabin.settings[name] is value
    for wrong in (0.5, [True], None):
        with pytest.raises(TypeError, match="on or off"):
            cabin.settings[name] = wrong


@pytest.mark.parametrize(
    "name, value, error, text",
    [
        ("volume.mastr", -6.0, KeyError, "did you mean volume.master"),
        ("volume.master", 99.0, ValueError, "-103.5dB to 24dB"),
        ("volume.master", math.nan, ValueError, "volume.master"),
        ("volume.master", "loud", ValueError, "volume.master"),
        ("volume.master", None, TypeError, "NoneType"),
        ("volume.ramp", Steps(3), TypeError, "no volume steps"),
        ("volume.ramp", [1, 2, 3], ValueError, "volume.ramp"),
        ("energy.output", 1.0, ValueError, "can only be read"),
    ],
)
def test_refuses(cabin, name, value, error, text):
    with pytest.raises(error, match=text):
        cabin.settings[name] = value


def test_unknown_names(cabin):
    with pytest.raises(KeyError, match="did you mean volume.master"):
        cabin.settings["volume.mastr"]
    assert "volume.mastr" not in cabin.settings
    assert "volume.master" in cabin.settings
    assert 3 not in cabin.settings
    with pytest.raises(TypeError):
        del cabin.settings["volume.master"]


def test_lists(cabin):
    names = cabin.settings.names("volume.*")
    assert "volume.master" in names and all(name.startswith("volume.") for name in names)
    assert len(cabin.settings) == len(list(cabin.settings)) > len(names)
    values = cabin.settings.get_all("volume.ma*")
    assert values["volume.master"] == 0.0
    assert cabin.settings.describe("volume.master")["unit"] == "dB"


def test_names_of_streams(cabin):
    with cabinaudio.Track("nav.voice") as track:
        track.start()
        assert "volume.track.auxiliary.nav.voice" in cabin.settings.names("volume.track.*")
        track.stop()


def test_meters_of_silence(cabin):
    meters = cabin.settings.meters()
    assert meters and all(v == -math.inf for m in meters.values() if isinstance(m, list) for v in m)


def test_set_several(cabin):
    cabin.settings.set(volume__master=-4.0, volume__ramp=30)
    assert cabin.settings.get_all("volume.[mr]a*")["volume.ramp"] == [30.0, 30.0]
    assert cabin.settings["volume.master"] == -4.0


def test_a_setting_that_can_only_be_set(cabin):
    cabin.settings["ducking.mode"] = 1
    with pytest.raises(ValueError, match="can only be set"):
        cabin.settings["ducking.mode"]


def test_closed(cabin):
    with cabinaudio.Settings() as settings:
        assert settings["volume.master"] == 0.0
    settings.close()
    with pytest.raises(ValueError, match="closed"):
        settings["volume.master"]


def test_without_a_server(cabin):
    settings = cabinaudio.Settings()
    settings["volume.master"] = -1.0
    cabin.crash()
    with pytest.raises(cabinaudio.ServerGone):
        settings["volume.master"]
    with pytest.raises(cabinaudio.ServerGone):
        cabinaudio.Settings()["volume.master"]
