# SPDX-License-Identifier: Apache-2.0
"""Playback streams."""

import array
import concurrent.futures
import sys
import threading
import time

import numpy
import pytest

import cabinaudio
from cabinaudio.testing import assert_heard, assert_starts, silence, tone, write_wav

SOUND = tone(440, 1)


def heard_bytes(cabin):
    """The mix as 16-bit samples; a mix of one stream is exact. It ends with a whole period."""
    samples = (cabin.stop().heard.array * 32768).astype("<i2").tobytes()
    assert not any(samples[len(SOUND) :])
    return samples[: len(SOUND)]


@pytest.mark.parametrize(
    "kind",
    [
        bytes,
        bytearray,
        memoryview,
        lambda data: array.array("h", data),
        lambda data: numpy.frombuffer(data, "<i2"),
        lambda data: numpy.frombuffer(data, "<i2").reshape(-1, 2),
        lambda data: numpy.frombuffer(data, "u1"),
    ],
    ids=["bytes", "bytearray", "memoryview", "array", "numpy", "numpy-frames", "numpy-bytes"],
)
def test_plays_every_buffer_exactly(cabin, kind):
    with cabinaudio.Track("prompt") as track:
        track.play(kind(SOUND))
    assert heard_bytes(cabin) == SOUND


@pytest.mark.parametrize("stream", [cabinaudio.Track, cabinaudio.Sink])
def test_plays_exactly(cabin, stream, tmp_path):
    with stream("prompt") as track:
        track.play(SOUND)
    assert_heard(cabin, f"played prompt={write_wav(tmp_path / 'sound.wav', SOUND)}")


def test_alternative_track_plays_to_its_end(cabin):
    # Without an end that the server knows, the last samples are heard when the ring is empty.
    with cabinaudio.Track("nav", tag="alternative") as track:
        track.play(SOUND)
    assert heard_bytes(cabin) == SOUND


@pytest.mark.parametrize("bits, item", [(8, "B"), (16, "h"), (32, "i")])
def test_sample_sizes(cabin, bits, item):
    with cabinaudio.Track("prompt", bits=bits, channels=1) as track:
        assert track.frame_bytes == bits // 8
        track.play(array.array(item, [64] * 4800))
        with pytest.raises(TypeError, match="the stream takes"):
            track.write(array.array("d", [0.5]))


@pytest.mark.parametrize(
    "buffer, error, text",
    [
        ("text", TypeError, "bytes-like"),
        (17, TypeError, "bytes-like"),
        (None, TypeError, "bytes-like"),
        (b"123", ValueError, "no whole frames: 3 bytes; a frame has 4"),
        (array.array("f", [0.0, 0.0]), TypeError, "items of format 'f'"),
        (array.array("i", [0, 0]), TypeError, "16-bit integers"),
        (numpy.zeros((4, 2), ">i2"), ValueError, "byte order"),
        (numpy.zeros((4, 4), "<i2")[:, :2], (BufferError, ValueError), "contiguous"),
        (numpy.zeros((4, 3), "<i2"), ValueError, "3 columns; the stream has 2 channels"),
    ],
)
def test_refuses_other_buffers(cabin, buffer, error, text):
    with cabinaudio.Track("prompt") as track:
        track.start()
        with pytest.raises(error, match=text):
            track.write(buffer)
        track.stop()
    cabin.command("time stop")  # nothing was written: time would wait for it


@pytest.mark.parametrize(
    "arguments, text",
    [
        ({"name": ""}, "needs a name"),
        ({"name": "x" * 64}, "63 bytes"),
        ({"name": "a/b"}, "'/'"),
        ({"tag": "loud"}, "no such tag: 'loud'"),
        ({"tag": "input0"}, "use Record"),
        ({"rate": 0}, "rate"),
        ({"channels": 7}, "channels must be 1 to 6, not 7"),
        ({"bits": 12}, "bits must be 8, 16, 24 or 32, not 12"),
    ],
)
def test_refuses_other_arguments(arguments, text):
    with pytest.raises(ValueError, match=text):
        cabinaudio.Track(**{"name": "prompt", **arguments})


def test_a_second_stream_of_a_name_is_an_error_with_a_status(cabin):
    with cabinaudio.Track("prompt", tag="alternative"):
        with pytest.raises(cabinaudio.AudioError) as refused:
            cabinaudio.Track("prompt", tag="alternative")
    assert refused.value.status == -9998
    assert refused.value.name == "AUDIO_INVALID_STATE"
    assert not isinstance(refused.value, cabinaudio.ServerGone)
    assert 'creation of "prompt"' in str(refused.value)


def test_states_and_use_after_close(cabin):
    track = cabinaudio.Track("prompt")
    assert track.state == "idle"
    with pytest.raises(cabinaudio.InvalidState) as refused:
        track.write(SOUND)
    assert refused.value.done == 0
    track.play(SOUND)
    track.close()
    track.close()
    assert track.state == "closed" and "closed" in repr(track)
    for use in (track.start, track.stop, track.clear, lambda: track.write(SOUND),
                track.write_done, lambda: track.key_shift(1.0), lambda: track.bytes_free,
                lambda: track.ring_bytes):
        with pytest.raises(ValueError, match="closed"):
            use()


def test_finish_is_a_future(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        track.write(SOUND)
        end = track.finish()
        assert end.result(60) is True
        assert track.finished is end
        with pytest.raises(cabinaudio.InvalidOperation):
            track.write(SOUND)
        track.stop()
        track.start()
        assert not track.finished.done()
        second = track.finished
    assert second.cancelled()
    with pytest.raises(concurrent.futures.CancelledError):
        second.result(0)


def test_finish_of_an_alternative_track(cabin):
    with cabinaudio.Track("nav", tag="alternative") as track:
        track.start()
        track.write(SOUND)
        assert track.finish().result(60) is True
        track.stop()


def test_on_finish_runs_on_a_thread_of_the_stream(cabin):
    threads = []
    with cabinaudio.Track("prompt") as track:
        track.on_finish = lambda: threads.append(threading.current_thread())
        track.play(SOUND)
        with pytest.raises(TypeError, match="callable"):
            track.on_finish = 3
    assert len(threads) == 1 and threads[0] is not threading.main_thread()


def test_close_in_on_finish_is_refused(cabin):
    refused = concurrent.futures.Future()

    def close():
        try:
            track.close()
        except RuntimeError as error:
            refused.set_result(str(error))

    with cabinaudio.Track("prompt") as track:
        track.on_finish = close
        track.play(SOUND)
        assert "on_finish" in refused.result(60)


def test_an_exception_in_on_finish_is_unraisable(cabin, monkeypatch):
    seen = concurrent.futures.Future()
    monkeypatch.setattr(sys, "unraisablehook", lambda args: seen.set_result(args.exc_type))
    with cabinaudio.Track("prompt") as track:
        track.on_finish = lambda: 1 // 0
        track.play(SOUND)
        assert seen.result(60) is ZeroDivisionError


def test_the_last_reference_may_go_in_on_finish(cabin):
    gone = threading.Event()
    holder = []

    def drop():
        holder.clear()
        gone.set()

    holder.append(cabinaudio.Track("prompt"))
    holder[0].on_finish = drop
    holder[0].start()
    holder[0].write(SOUND)
    holder[0].write_done()
    assert gone.wait(60)
    # The name is free once the stream is destroyed.
    deadline = time.monotonic() + 60
    while True:
        try:
            cabinaudio.Track("prompt").close()
            return
        except cabinaudio.InvalidState:
            assert time.monotonic() < deadline
            time.sleep(0.01)


@pytest.mark.cabin(time="stepped")
def test_nonblocking_write_queues_what_fits(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        first = track.write(SOUND, block=False)
        assert 0 < first < len(SOUND)
        assert track.write(SOUND, block=False) == 0
        assert track.ring_bytes - track.bytes_free >= first


@pytest.mark.cabin(time="stepped")
def test_a_blocked_write_does_not_hold_the_interpreter(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            written = pool.submit(track.write, SOUND)
            while track.ring_bytes == 0 or track.bytes_free > track.period_bytes:
                time.sleep(0.001)  # the writer fills the ring meanwhile
            assert not written.done()
            cabin.run(1000)
            assert written.result(60) == len(SOUND)


@pytest.mark.cabin(time="stepped")
@pytest.mark.parametrize("end", ["stop", "close"])
def test_another_thread_ends_a_blocked_write(cabin, end):
    track = cabinaudio.Track("prompt")
    track.start()
    with concurrent.futures.ThreadPoolExecutor() as pool:
        written = pool.submit(track.write, SOUND)
        while track.ring_bytes == 0 or track.bytes_free > track.period_bytes:
            time.sleep(0.001)
        getattr(track, end)()
        with pytest.raises(cabinaudio.InvalidState) as ended:
            written.result(60)
    assert 0 < ended.value.done < len(SOUND)
    track.close()


@pytest.mark.cabin(time="stepped")
def test_write_times_out(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        with pytest.raises(cabinaudio.AudioTimeout) as late:
            track.write(SOUND, timeout=0)
        assert late.value.name == "AUDIO_TIMED_OUT" and late.value.done > 0


@pytest.mark.cabin(time="stepped")
def test_a_write_that_times_out_loses_nothing(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        begin = time.monotonic()
        with pytest.raises(cabinaudio.AudioTimeout) as late:
            track.write(SOUND, timeout=0.3)
        assert 0.3 <= time.monotonic() - begin < 15  # the library's own wait has 60 s here
        done = late.value.done
        assert track.ring_bytes - track.bytes_free <= done < len(SOUND)
        assert track.write(SOUND[done:], block=False) == 0
        with pytest.raises(cabinaudio.AudioTimeout) as late:
            track.write(SOUND[done:], timeout=0)
        assert late.value.done == 0
        cabin.settle()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            written = pool.submit(track.write, SOUND[done:])
            cabin.run(1000)
            assert written.result(60) == len(SOUND) - done
        track.write_done()
        cabin.run(200)
        assert track.wait(60)
    assert heard_bytes(cabin) == SOUND


@pytest.mark.cabin(time="stepped")
@pytest.mark.parametrize("end", ["stop", "close", "forget"])
def test_what_a_write_has_left_ends_with_the_stream(cabin, end):
    track = cabinaudio.Track("prompt")
    track.start()
    with pytest.raises(cabinaudio.AudioTimeout):
        track.write(SOUND, timeout=0.05)
    if end == "forget":
        del track
    else:
        getattr(track, end)()
    if end == "stop":
        track.clear()
        track.start()
        assert track.write(SOUND[:4096]) == 4096
        track.close()
    cabinaudio.Track("prompt").close()


def test_the_future_of_a_forgotten_track_is_cancelled(cabin):
    cabin.stop_time(0)
    track = cabinaudio.Track("prompt")
    track.start()
    track.write(SOUND[:4096])
    end = track.finish()
    assert not end.done()
    del track
    with pytest.raises(concurrent.futures.CancelledError):
        end.result(60)


@pytest.mark.cabin(time="stepped")
def test_wait_tells_whether_it_has_ended(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        track.write(silence(0.05))
        track.write_done()
        assert track.wait(0) is False
        cabin.run(100)
        assert track.wait(60) is True


@pytest.mark.cabin(hold=2, await_={"prompt": 500})
def test_plays_together(cabin):
    with cabinaudio.Sink("music") as music, cabinaudio.Track("prompt") as prompt:
        cabinaudio.play_together((music, tone(440, 2)), (prompt, SOUND))
    assert_starts(cabin, "prompt", 500)
    assert_heard(cabin, "overlap music prompt", "lasts music 2")


def test_play_together_raises_what_a_thread_has_raised(cabin):
    with cabinaudio.Track("prompt") as track, pytest.raises(ValueError, match="whole frames"):
        cabinaudio.play_together((track, b"123"))


def test_key_shift(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        track.write(SOUND)
        track.key_shift(1.1)
        with pytest.raises(cabinaudio.BadValue) as refused:
            track.key_shift(2.0)
        assert isinstance(refused.value, ValueError)
        track.write_done()
        assert track.wait(60)


@pytest.mark.cabin(at=[(200, "source withdraw music")])
def test_a_withdrawn_sink_takes_less(cabin):
    with cabinaudio.Sink("music") as sink:
        sink.start()
        assert 0 < sink.write(SOUND) < len(SOUND)


@pytest.mark.cabin(at=[(200, "stream remove prompt")])
def test_a_removed_stream_ends_its_write(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        with pytest.raises(cabinaudio.InvalidState) as removed:
            track.write(SOUND)
        assert not isinstance(removed.value, cabinaudio.ServerGone)


def test_without_a_server(cabin):
    cabin.crash()
    for make in (cabinaudio.Track, cabinaudio.Sink, cabinaudio.Record, cabinaudio.Uplink):
        with pytest.raises(cabinaudio.ServerGone, match="no server answers") as gone:
            make("prompt")
        assert isinstance(gone.value, cabinaudio.AudioError)


@pytest.mark.cabin(time="stepped")
def test_a_server_that_crashes_during_a_write(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            written = pool.submit(track.write, SOUND)
            while track.ring_bytes == 0:
                time.sleep(0.001)
            cabin.crash()
            # A killed server's sockets are closed one after the other: the stream's may be the first.
            with pytest.raises((cabinaudio.ServerGone, cabinaudio.InvalidState)):
                written.result(60)
        with pytest.raises(cabinaudio.ServerGone):
            track.start()


@pytest.mark.cabin(time="stepped")
def test_a_server_that_crashes_before_the_end(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        track.write(silence(0.05))
        track.write_done()
        cabin.crash()
        with pytest.raises(cabinaudio.ServerGone, match="wait for the end"):
            track.wait(60)
