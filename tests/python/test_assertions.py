# SPDX-License-Identifier: Apache-2.0
"""Assertions about sounds, and the texts of their failures."""

import array
import math

import numpy
import pytest

import cabinaudio
from cabinaudio.testing import (
    CheckError,
    HeardError,
    ServerError,
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
    read_sound,
    silence,
    tone,
    write_wav,
)
from cabinaudio.testing._text import number

BEEP = tone(440, 1)


@pytest.fixture
def beep(tmp_path):
    """Half a second of silence, then a tone."""
    return write_wav(tmp_path / "beep.wav", silence(0.5) + BEEP)


@pytest.fixture
def gap(tmp_path):
    """A tone with 10 ms of silence in it, which also make clicks."""
    data = BEEP[: 4 * 24000] + silence(0.010) + BEEP[4 * 24120 :]
    return write_wav(tmp_path / "gap.wav", data)


@pytest.mark.parametrize(
    "met, missed",
    [
        (lambda f: assert_level(f, -12, start=0.6), lambda f: assert_level(f, -20, start=0.6)),
        (lambda f: assert_tone(f, 440, start=0.6), lambda f: assert_tone(f, 450, start=0.6)),
        (lambda f: assert_tone(f, 440, level=-12, start=0.6, channel=1),
         lambda f: assert_tone(f, 440, level=-13, start=0.6, channel=1)),
        (lambda f: assert_silence(f, end=0.5), lambda f: assert_silence(f, start=0.4)),
        (lambda f: assert_no_gap(f, start=0.6), assert_no_gap),
        (lambda f: assert_no_gap(f, longest=501), lambda f: assert_no_gap(f, longest=499)),
        (lambda f: assert_same(f, f), lambda f: assert_same(f, f.replace("beep", "other"))),
    ],
)
def test_assertions_are_met_or_not(beep, tmp_path, met, missed):
    write_wav(tmp_path / "other.wav", BEEP)
    assert met(beep) is None
    with pytest.raises(HeardError, match="NOT MET"):
        missed(beep)


def test_numbers_have_all_digits_and_no_exponent():
    values = (5, 5.0, -12, 0.5, 1e-7, 1e22, 123456.7, 1000001, 1000001.0, 2**63)
    assert [number(value) for value in values] == [
        "5", "5", "-12", "0.5", "0.0000001", "10000000000000000000000", "123456.7", "1000001",
        "1000001", "9223372036854775808"]
    assert number(numpy.float32(0.5)) == "0.5" and number(numpy.int64(7)) == "7"
    for wrong in (math.nan, math.inf):
        with pytest.raises(ValueError, match="number is needed"):
            number(wrong)


def test_a_small_tolerance(beep):
    with pytest.raises(HeardError, match="NOT MET"):
        assert_level(beep, -20, tolerance=1e-7, start=0.6)


@pytest.mark.parametrize("name", ["a b.wav", "it's.wav", "[0..1].wav", "a'b\"c d.wav"])
def test_names_of_files_are_one_word(beep, tmp_path, name):
    same = write_wav(tmp_path / name, silence(0.5) + BEEP)
    assert_same(beep, same)
    write_wav(same, BEEP)
    with pytest.raises(HeardError, match="NOT MET"):
        assert_same(beep, same)


@pytest.mark.cabin(hold=2, await_={"the voice": 500})
def test_names_of_streams_are_one_word(cabin):
    cabin.settings["ducking.mode"] = 1
    with cabinaudio.Sink("my music") as music, cabinaudio.Track("the voice", type=2) as voice:
        cabinaudio.play_together((music, tone(440, 3)), (voice, tone(1000, 1)))
    assert_starts(cabin, "the voice", 500)
    assert_ducked(cabin, "my music", during="the voice")


def test_clicks(beep, gap):
    assert_no_click(beep, start=0.6, end=1.4)
    with pytest.raises(HeardError, match="click-free"):
        assert_no_click(gap)


def test_the_text_has_all_checks_and_the_picture(beep, tmp_path):
    with pytest.raises(HeardError) as missed:
        assert_heard(beep, "tone 440 [0.6..1.4]", "silence", "level -12 [0.6..]")
    lines = str(missed.value).splitlines()
    assert lines[0] == "1 of 3 checks not met"
    assert [line.split()[0] for line in lines[1:4]] == ["ok", "NOT", "ok"]
    assert lines[4] == f"heard    {beep}"
    assert [verdict.met for verdict in missed.value.verdicts] == [True, False, True]
    if missed.value.picture is not None:  # of a build with Cairo
        assert missed.value.picture.read_bytes().startswith(b"\x89PNG")
        assert str(missed.value.picture) in lines[5]


def test_verdicts(beep):
    level, quiet = judge(beep, "level -12 [0.6..1.4]", "silence [0..0.5]")
    assert (level.met, quiet.met) == (True, True)
    assert (level.start, level.end) == (0.6, 1.4)
    assert level.check == "level -12 [0.6..1.4]" and "-12" in level.text
    assert level.measured and level.required


@pytest.mark.parametrize("check", ["loud", "tone", "level -12 [2..1]", "ducked a by -20dB"])
def test_what_is_no_check(beep, check):
    with pytest.raises(CheckError, match=check.split()[0]):
        assert_heard(beep, check)


def test_without_checks_or_server(beep):
    with pytest.raises(CheckError, match="no check"):
        assert_heard(beep)
    with pytest.raises(ServerError, match="no server runs"):
        assert_heard("silence")
    with pytest.raises(CheckError, match="nowhere"):
        read_sound("/nowhere.wav")


def test_a_sound_as_an_array(beep):
    sound = read_sound(beep)
    assert (sound.rate, sound.channels, sound.bits, len(sound)) == (48000, 2, 16, 72000)
    assert sound.seconds == 1.5
    assert sound.array.shape == (72000, 2)
    assert not sound.array[:24000].any()
    assert (sound.array[24000:] * 32768).astype("<i2").tobytes() == BEEP
    first = array.array("f", sound.samples.tobytes()[: 8 * 10])
    assert list(first) == [0.0] * 20
    assert_heard(sound, "silence [0..0.5]")
    assert "1.500 s" in repr(sound)


@pytest.mark.cabin(hold=2, await_={"prompt": 5000})
def test_ducking(cabin):
    cabin.settings["ducking.mode"] = 1
    with cabinaudio.Sink("music") as music, cabinaudio.Track("prompt", type=2) as prompt:
        cabinaudio.play_together((music, tone(440, 10)), (prompt, tone(1000, 2)))
    assert_ducked(cabin, "music", by=-20, during="prompt")
    assert_starts(cabin, "prompt", 5000)
    with pytest.raises(HeardError, match="ducked music by -10"):
        assert_ducked(cabin, "music", by=-10, during="prompt")
    with pytest.raises(HeardError, match="prompt@4900"):
        assert_starts(cabin, "prompt", 4900)


def test_nothing_was_heard(cabin):
    with pytest.raises(CheckError, match="nothing was heard"):
        assert_heard(cabin, "silence")
