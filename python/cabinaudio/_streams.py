# SPDX-License-Identifier: Apache-2.0
"""Playback and capture streams."""

from __future__ import annotations

import contextlib
import sys
import threading
import time
import weakref
from concurrent.futures import Future, TimeoutError as FutureTimeout
from typing import Any, Callable, List, Optional, Tuple, Union

from ._errors import AudioTimeout, ServerGone
from ._process import _cabinaudio, opened
from ._scoped import Scoped

if sys.version_info >= (3, 12):
    from collections.abc import Buffer
else:
    Buffer = Union[bytes, bytearray, memoryview, Any]


_SLICE = 0.1  # s between two looks at the server during a wait
_POLL = 0.002


class _Stream(Scoped):
    """What all streams share: a name, states, and an end."""

    _core: Union[_cabinaudio.Playback, _cabinaudio.Capture]

    def __init__(self, name: str, rate: int, channels: int, bits: int) -> None:
        self.name = name
        self.rate = rate
        self.channels = channels
        self.bits = bits
        self._started = False

    @property
    def frame_bytes(self) -> int:
        """Bytes of a sample of all channels."""
        return self.bits // 8 * self.channels

    @property
    def state(self) -> str:
        """"idle", "active" or "closed", as this program has left it."""
        if self._core.closed:
            return "closed"
        return "active" if self._started else "idle"

    @property
    def ring_bytes(self) -> int:
        """Capacity of the stream's ring; 0 while there is none."""
        return self._core.ring_bytes

    @property
    def period_bytes(self) -> int:
        """Bytes that the server takes or gives at once."""
        return self._core.period_bytes

    def start(self) -> None:
        """Starts the stream. A started one stays started."""
        self._core.start()
        self._started = True

    def stop(self) -> None:
        """Stops the stream and ends a blocked write or read of another thread."""
        self._core.stop()
        self._started = False

    def clear(self) -> None:
        """Discards what is in the ring. Only while stopped."""
        self._core.clear()

    def close(self) -> None:
        """Ends calls of other threads, and the stream. Closing it again does nothing; every other
        use then raises ValueError."""
        self._core.close()

    def __repr__(self) -> str:
        return (
            f"<{type(self).__name__} {self.name!r} {self.rate} Hz, {self.channels} channels, "
            f"{self.bits} bits, {self.state}>"
        )


class Track(_Stream):
    """A playback stream.

    Args:
        name:     of the stream, 1 to 63 bytes; another stream of this name must not exist
        tag:      "auxiliary", "alternative", "output_input0_invocation",
                  "output_uplink_invocation", or "main" (see Sink)
        rate:     frames per second
        channels: 1 to 6
        bits:     8 (unsigned), 16, 24 (packed) or 32
        type:     stream type of the server, 0 for the tag's own

    ``with Track("prompt") as track: track.play(samples)`` is all that a sound needs.

    Any thread may call. Requests wait for the server's answer (see reply_timeout()); all waits
    release the interpreter lock.

    Raises:
        ServerGone:  there is no server
        AudioError:  the server has refused the stream
        ValueError:  an argument is out of range
    """

    _tag = "auxiliary"

    def __init__(
        self,
        name: str,
        *,
        tag: Optional[str] = None,
        rate: int = 48000,
        channels: int = 2,
        bits: int = 16,
        type: int = 0,
    ) -> None:
        super().__init__(name, rate, channels, bits)
        self.tag = tag if tag is not None else self._tag
        self._finished: Future[bool] = Future()
        self._on_finish: Optional[Callable[[], object]] = None
        self._core: _cabinaudio.Playback = _cabinaudio.Playback(
            name, self.tag, rate, channels, bits, type
        )
        # Weak: the stream's thread must not keep a forgotten stream alive.
        reference = weakref.ref(self)
        self._core.set_on_finish(lambda: _notify(reference))
        opened.add(self)

    def start(self) -> None:
        if not self._started:
            self._abandon(Future())
        super().start()

    def close(self) -> None:
        self._core.close()
        self._abandon(self._finished)

    def __del__(self) -> None:
        # Who waits for the end of a forgotten stream would wait for ever.
        if hasattr(self, "_finished"):
            self._finished.cancel()

    def _abandon(self, next_future: "Future[bool]") -> None:
        """Ends the waits for a playback that will not be played to its end."""
        before, self._finished = self._finished, next_future
        before.cancel()

    @property
    def bytes_free(self) -> int:
        """Bytes that can be written without a wait."""
        return self._core.bytes_free

    @property
    def on_finish(self) -> Optional[Callable[[], object]]:
        """Called without arguments when the data before write_done() has been played, on a thread
        of the stream. It must not block for long, and must not close the stream (RuntimeError).
        Its exceptions go to ``sys.unraisablehook``."""
        return self._on_finish

    @on_finish.setter
    def on_finish(self, callback: Optional[Callable[[], object]]) -> None:
        if callback is not None and not callable(callback):
            raise TypeError(f"on_finish must be callable, not {callback!r}")
        self._on_finish = callback

    @property
    def finished(self) -> "Future[bool]":
        """The end of this playback: a future whose result is True. It is cancelled when the stream
        is closed or forgotten, or started anew after a stop. The future does not keep the stream."""
        return self._finished

    def write(self, buffer: Buffer, block: bool = True, timeout: Optional[float] = None) -> int:
        """Queues samples and returns the number of bytes that were queued.

        Args:
            buffer:  contiguous, whole frames: bytes, bytearray, memoryview, array, a NumPy array
            block:   wait until everything is queued; else queue what fits
            timeout: s, for a blocking write

        Ctrl-C ends a blocking write of the main thread. A write that ends early may leave a piece of
        up to a quarter of the ring, which is queued as soon as there is space, before the data of
        the next write; stop() discards it.

        A sink whose source is withdrawn returns less than was given: the rest is discarded.

        Raises:
            TypeError, BufferError, ValueError: the buffer is none, not contiguous, of other samples
                or of no whole frames
            AudioTimeout:     no space; ``done`` has the bytes that were queued, or left to be
                queued: continue with the rest
            InvalidState:     not started, or stopped meanwhile
            InvalidOperation: another thread writes, or write_done() was called
            ServerGone:       the server has ended
        """
        return self._core.write(buffer, block, timeout)

    def write_done(self) -> None:
        """Announces the end of the data. Not for the tag "alternative", see drain()."""
        self._core.write_done()

    def finish(self) -> "Future[bool]":
        """Announces the end of the data, and returns the future of its end."""
        if self.tag != "alternative":
            self.write_done()
            return self._finished
        future = self._finished
        threading.Thread(target=_drain_to, args=(self, future), daemon=True).start()
        return future

    def wait(self, timeout: float = 10) -> bool:
        """Waits until the data before write_done() has been played. Returns whether it has.

        Ctrl-C ends the wait. Raises ServerGone when the server ends meanwhile.
        """
        deadline = time.monotonic() + timeout
        while True:
            left = deadline - time.monotonic()
            try:
                return self._finished.result(max(min(left, _SLICE), 0))
            except (FutureTimeout, TimeoutError):
                if self._finished.done():
                    raise
                if not _cabinaudio.server_listens():
                    raise ServerGone(1, f'wait for the end of "{self.name}"') from None
                if left <= _SLICE:
                    return False

    def drain(self, timeout: float = 10) -> None:
        """Waits until the ring is empty, and a period more: for the tag "alternative".

        Raises AudioTimeout when it is not.
        """
        deadline = time.monotonic() + timeout
        # A ring holds a byte less than its size.
        while self.ring_bytes - self.bytes_free >= self.frame_bytes:
            if time.monotonic() >= deadline:
                raise AudioTimeout(-2000, f'drain of "{self.name}"')
            time.sleep(_POLL)
        time.sleep(self.period_bytes / max(self.frame_bytes * self.rate, 1))

    def key_shift(self, factor: float) -> None:
        """Changes the pitch, 0.8 to 1.2; 1 is the original."""
        self._core.key_shift(factor)

    def play(self, buffer: Buffer, timeout: float = 60) -> None:
        """Starts, plays the samples to their end and stops. `timeout` is for the end."""
        self.start()
        try:
            self.write(buffer)
            if self.tag == "alternative":
                self.drain(timeout)
            else:
                self.write_done()
                if not self.wait(timeout):
                    raise AudioTimeout(-2000, f'wait for the end of "{self.name}"')
        except BaseException:
            # The reason is more important than a stop that fails for the same reason.
            with contextlib.suppress(Exception):
                self.stop()
            raise
        self.stop()


class Sink(Track):
    """A playback stream of the tag "main", whose source the server activates and withdraws.

    Arguments and operations are those of Track.
    """

    _tag = "main"


def _notify(reference: "weakref.ref[Track]") -> None:
    """On the notifier thread."""
    track = reference()
    if track is None:
        return
    future = track._finished
    if future.set_running_or_notify_cancel():
        future.set_result(True)
    if track._on_finish is not None:
        track._on_finish()


def _drain_to(track: Track, future: "Future[bool]") -> None:
    try:
        track.drain()
    except BaseException as error:  # handed over to the thread that waits
        if future.set_running_or_notify_cancel():
            future.set_exception(error)
    else:
        if future.set_running_or_notify_cancel():
            future.set_result(True)


def play_together(*parts: Tuple[Track, Buffer], timeout: float = 60) -> None:
    """Starts the tracks in their order, plays a sound on each of them at the same time, and stops
    them when all have ended. Raises the first error of one of them."""
    errors: List[BaseException] = []

    def feed(track: Track, buffer: Buffer) -> None:
        try:
            track.write(buffer)
            if track.tag == "alternative":
                track.drain(timeout)
            else:
                track.write_done()
        except BaseException as error:
            errors.append(error)

    for track, _ in parts:
        track.start()
    threads = [threading.Thread(target=feed, args=part, daemon=True) for part in parts]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if not errors:
        for track, _ in parts:
            if track.tag != "alternative" and not track.wait(timeout):
                errors.append(AudioTimeout(-2000, f'wait for the end of "{track.name}"'))
    if errors:
        raise errors[0]
    for track, _ in parts:
        track.stop()


class _Recording(_Stream):
    """What captures share."""

    _core: _cabinaudio.Capture

    @property
    def bytes_used(self) -> int:
        """Bytes that can be read without a wait."""
        return self._core.bytes_used

    def readinto(self, buffer: Buffer, block: bool = True) -> int:
        """Reads into a writable buffer and returns the number of bytes; fewer than it holds when
        there was no new data for 1 s, or without `block`. Ctrl-C ends a blocking read of the main
        thread, that of an uplink after a period. Errors are those of Track.write()."""
        view = memoryview(buffer)
        if view.itemsize != 1 or view.ndim != 1:
            # The first read checks the samples of the whole buffer.
            total = self._core.read_into(buffer, block)
            view = view.cast("B")
        else:
            total = self._core.read_into(view, block)
        while block and 0 < total < len(view):
            count = self._core.read_into(view[total:], True)
            if count == 0:
                break
            total += count
        return total

    def read(self, n: int, block: bool = True) -> bytes:
        """Reads up to `n` bytes, whole frames. See readinto()."""
        if n < 0:
            raise ValueError(f"cannot read {n} bytes")
        data = bytearray(n)
        count = self.readinto(data, block)
        return bytes(data[:count])

    def record(self, seconds: float, timeout: Optional[float] = None) -> bytes:
        """Records for so long: all of it, or AudioTimeout with what there is as ``data``.

        Starts the stream if it is not started, and stops it then. `timeout` is the longest time
        for the whole; without it, 1 s without data ends the recording.
        """
        if not seconds >= 0:
            raise ValueError(f"cannot record {seconds} s")
        was_started = self._started
        if not was_started:
            self.start()
        try:
            return self._record(round(seconds * self.rate) * self.frame_bytes, timeout)
        finally:
            if not was_started and not self._core.closed:
                self.stop()

    def _record(self, count: int, timeout: Optional[float]) -> bytes:
        deadline = None if timeout is None else time.monotonic() + timeout
        data = bytearray(count)
        with memoryview(data) as view:
            done = 0
            while done < count:
                left = None if deadline is None else deadline - time.monotonic()
                got = self._core.read_into(view[done:], True, left)
                done += got
                late = deadline is not None and time.monotonic() >= deadline
                if done < count and (late or (got == 0 and deadline is None)):
                    raise AudioTimeout(-2000, f'record of "{self.name}"', 0, bytes(view[:done]))
        return bytes(data)


class Record(_Recording):
    """An ordinary capture stream.

    Args:
        name: of the stream, as for Track
        tag:  "input0", "input1", "input2" or "input_front_feedback"
        rate, channels, bits: as for Track
    """

    def __init__(
        self,
        name: str,
        *,
        tag: str = "input0",
        rate: int = 48000,
        channels: int = 1,
        bits: int = 16,
    ) -> None:
        super().__init__(name, rate, channels, bits)
        self.tag = tag
        self._core = _cabinaudio.Capture(name, tag, rate, channels, bits)
        opened.add(self)

    @property
    def volume(self) -> int:
        """Capture volume, 0 to 100."""
        return self._core.volume

    @volume.setter
    def volume(self, volume: int) -> None:
        self._core.volume = volume


class Uplink(_Recording):
    """The uplink of a call.

    Without a ring, which the server gives and takes away, reads return silence at the pace of the
    clock. Frames do not tell whether they are silence.

    Args:
        name:  of the stream, as for Track
        codec: "pcm", "aac", "opus" or "msbc"; coded streams are read with read_frame()
        rate, channels, bits: as for Track; coded streams have no bits
    """

    tag = "uplink"

    def __init__(
        self,
        name: str,
        *,
        codec: str = "pcm",
        rate: int = 16000,
        channels: int = 1,
        bits: int = 16,
    ) -> None:
        super().__init__(name, rate, channels, bits)
        self.codec = codec
        self._core = _cabinaudio.Capture.uplink(name, codec, rate, channels, bits)
        opened.add(self)

    def read_frame(self, block: bool = True) -> bytes:
        """The next frame of a coded stream with its header, or one period of PCM; empty when none
        is due."""
        return self._core.read_frame(block)

    def wait_for_ring(self, timeout: float = 10) -> None:
        """Waits until the server's data arrives in a ring. Raises AudioTimeout when it does not."""
        deadline = time.monotonic() + timeout
        while self.ring_bytes == 0:
            if time.monotonic() >= deadline:
                raise AudioTimeout(-2000, f'wait for the ring of "{self.name}"')
            time.sleep(_POLL)


__all__ = ["AudioTimeout", "Buffer", "Record", "Sink", "Track", "Uplink", "play_together"]
