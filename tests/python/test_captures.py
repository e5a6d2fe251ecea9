# SPDX-License-Identifier: Apache-2.0
"""Capture streams and the uplink of a call."""

import array
import concurrent.futures
import time

import numpy
import pytest

import cabinaudio
from cabinaudio.testing import tone, write_wav

VOICE = tone(300, 1, channels=1)
INPUTS = {"input0": "silence"}


@pytest.fixture
def voice(cabin_servers, tmp_path):
    """A server whose input is the voice, in a loop."""
    path = write_wav(tmp_path / "voice.wav", VOICE, channels=1)
    return cabin_servers(inputs={"input0": path, "uplink": path})


def test_records_exactly(voice):
    with cabinaudio.Record("note") as record:
        assert record.record(1.5) == VOICE + VOICE[: len(VOICE) // 2]
        assert record.state == "idle"


def test_record_leaves_a_started_stream_started(voice):
    with cabinaudio.Record("note") as record:
        record.start()
        assert record.record(0.25) + record.record(0.25) == VOICE[: len(VOICE) // 2]
        assert record.state == "active"
        record.stop()


@pytest.mark.parametrize(
    "buffer",
    [
        lambda: bytearray(4800),
        lambda: array.array("h", bytes(4800)),
        lambda: numpy.zeros(2400, "<i2"),
        lambda: numpy.zeros((2400, 1), "<i2"),
        lambda: memoryview(bytearray(4800)),
    ],
    ids=["bytearray", "array", "numpy", "numpy-frames", "memoryview"],
)
def test_reads_into_every_buffer(voice, buffer):
    into = buffer()
    with cabinaudio.Record("note") as record:
        record.start()
        assert record.readinto(into) == 4800
        record.stop()
    assert memoryview(into).tobytes() == VOICE[:4800]


@pytest.mark.parametrize(
    "buffer, error, text",
    [
        (b"12", BufferError, "not writable"),
        (bytearray(3), ValueError, "no whole frames"),
        (array.array("f", [0.0]), TypeError, "items of format 'f'"),
        ("text", TypeError, "bytes-like"),
    ],
)
def test_refuses_other_buffers(voice, buffer, error, text):
    with cabinaudio.Record("note") as record:
        with pytest.raises(error, match=text):
            record.readinto(buffer)


def test_read_may_be_short_and_record_is_not(voice):
    with cabinaudio.Record("note") as record:
        with pytest.raises(cabinaudio.InvalidState):
            record.read(960)
        record.start()
        assert record.read(960) == VOICE[:960]
        assert len(record.read(1 << 20, block=False)) < 1 << 20
        with pytest.raises(ValueError, match="-1"):
            record.read(-1)
        with pytest.raises(ValueError, match="-1"):
            record.record(-1)
        record.stop()


def test_record_times_out_with_what_there_is(voice):
    with cabinaudio.Record("note") as record:
        with pytest.raises(cabinaudio.AudioTimeout) as late:
            record.record(3600, timeout=0)
    got = late.value.data
    assert 0 < len(got) < 2 * 48000 * 60
    assert got[:960] == VOICE[:960]


@pytest.mark.cabin(time="stepped")
def test_a_record_that_times_out_loses_nothing(cabin_servers, tmp_path):
    path = write_wav(tmp_path / "voice.wav", VOICE, channels=1)
    server = cabin_servers(inputs={"input0": path})
    with cabinaudio.Record("note") as record:
        record.start()
        begin = time.monotonic()
        with pytest.raises(cabinaudio.AudioTimeout) as late:
            record.record(0.2, timeout=0.3)
        assert time.monotonic() - begin < 15  # the library's own wait has 60 s here
        got = late.value.data
        with concurrent.futures.ThreadPoolExecutor() as pool:
            rest = pool.submit(record.record, 0.2)
            server.run(300)  # the ring holds more, whoever reads
            got += rest.result(60)
        assert len(got) >= 19200 and got == VOICE[: len(got)]
        record.stop()


@pytest.mark.cabin(time="stepped")
def test_ctrl_c_ends_a_read(cabin, ctrl_c):
    with cabinaudio.Record("note") as record:
        record.start()
        begin = time.monotonic()
        with ctrl_c():
            record.read(48000)
        assert time.monotonic() - begin < 15


def test_ctrl_c_ends_the_read_of_an_uplink_after_a_period(cabin, ctrl_c):
    with cabinaudio.Uplink("call") as uplink:
        uplink.start()
        cabin.ring(False)
        deadline = time.monotonic() + 60
        while uplink.ring_bytes and time.monotonic() < deadline:
            time.sleep(0.01)
        # Silence. One wait of the library: the longest before the interpreter looks for signals.
        assert uplink._core.read_into(bytearray(32000), True) == uplink.period_bytes
        with ctrl_c():
            uplink.read(3_200_000)


def test_volume(voice):
    with cabinaudio.Record("note") as record:
        assert record.volume == 100
        record.volume = 40
        assert record.volume == 40
        with pytest.raises(cabinaudio.BadValue):
            record.volume = 101


def test_closed(voice):
    record = cabinaudio.Record("note")
    assert record.bytes_used == 0 and record.period_bytes > 0 and record.ring_bytes > 0
    record.close()
    record.close()
    for use in (record.start, lambda: record.read(2), lambda: record.volume, record.clear,
                lambda: record.bytes_used):
        with pytest.raises(ValueError, match="closed"):
            use()


@pytest.mark.parametrize("make", [cabinaudio.Record, cabinaudio.Uplink])
def test_refuses_other_arguments(make):
    for arguments, text in (
        ({"name": ""}, "name"),
        ({"channels": 0}, "channels"),
        ({"bits": 20}, "bits"),
    ):
        with pytest.raises(ValueError, match=text):
            make(**{"name": "note", **arguments})


def test_refuses_other_tags_and_codecs():
    with pytest.raises(ValueError, match="use Track"):
        cabinaudio.Record("note", tag="auxiliary")
    with pytest.raises(ValueError, match="class Uplink"):
        cabinaudio.Record("note", tag="uplink")
    with pytest.raises(ValueError, match="pcm, aac, opus or msbc"):
        cabinaudio.Uplink("call", codec="mp3")


def test_uplink_of_pcm(voice):
    with cabinaudio.Uplink("call", rate=48000) as uplink:
        uplink.start()
        uplink.wait_for_ring(60)
        assert len(uplink.read(9600)) == 9600
        assert len(uplink.read_frame()) == uplink.period_bytes
        uplink.stop()


def test_uplink_of_opus(voice):
    with cabinaudio.Uplink("call", codec="opus", rate=16000) as uplink:
        uplink.start()
        uplink.wait_for_ring(60)
        for _ in range(5):
            frame = uplink.read_frame()
            length = int.from_bytes(frame[:4], "big")
            assert len(frame) == 8 + length
        with pytest.raises(ValueError, match="read_frame"):
            uplink.read(960)
        uplink.stop()


def test_a_ring_that_does_not_come(cabin_servers):
    cabin_servers(args=["--uplink-delay", "never"])
    with cabinaudio.Uplink("call", rate=16000) as uplink:
        uplink.start()
        with pytest.raises(cabinaudio.AudioTimeout, match="ring"):
            uplink.wait_for_ring(0.01)
        assert len(uplink.read(640)) == 640  # silence
        uplink.stop()


def test_the_ring_comes_on_command(cabin_servers):
    server = cabin_servers(args=["--uplink-delay", "never"])
    with cabinaudio.Uplink("call", rate=16000) as uplink:
        uplink.start()
        server.ring(True)
        uplink.wait_for_ring(60)
        uplink.stop()
