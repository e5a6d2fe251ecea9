# SPDX-License-Identifier: Apache-2.0
"""What a server has played."""

from __future__ import annotations

import hashlib
import json
import os
import signal
from pathlib import Path
from typing import TYPE_CHECKING, Any, Dict, List, Optional, Union

if TYPE_CHECKING:
    from .. import _hear


_TIME_ERRORS = 5  # exit status of the server


def _signal_name(number: int) -> str:
    try:
        return signal.Signals(number).name
    except ValueError:
        return f"signal {number}"


class CheckError(ValueError):
    """A text that is no check, or a check that cannot be made."""


class TimeError(AssertionError):
    """The server had to let time pass without somebody, so the sound differs between runs."""


class Sound:
    """Samples in memory as floats, full scale -1 to 1.

    Attributes:
        rate:     frames per second
        channels: in the order LF, RF, LS, RS, CF, L1 of the loudspeakers
        bits:     of the file's samples; 0 if these are not linear PCM
        samples:  memoryview, frames in rows, channels in columns
    """

    def __init__(self, core: "_hear.Sound") -> None:
        self._core = core
        self.rate = core.rate
        self.channels = core.channels
        self.bits = core.bits
        # mypy knows no buffers of extension classes before Python 3.12.
        self.samples = memoryview(core)  # type: ignore[arg-type]

    def __len__(self) -> int:
        """Number of frames."""
        return self._core.frames

    @property
    def frames(self) -> int:
        """Number of frames."""
        return self._core.frames

    @property
    def seconds(self) -> float:
        """Length in s."""
        return self.frames / self.rate if self.rate else 0.0

    @property
    def array(self) -> Any:
        """The samples as a NumPy array of two dimensions, without a copy. Needs NumPy."""
        import numpy

        return numpy.asarray(self.samples)

    def __array__(self, dtype: Any = None, copy: Any = None) -> Any:
        import numpy

        return numpy.array(self.samples, dtype=dtype)

    def __repr__(self) -> str:
        return f"<Sound {self.seconds:.3f} s, {self.rate} Hz, {self.channels} channels>"


def read_sound(path: Union[str, "os.PathLike[str]"]) -> Sound:
    """Reads a sound file: WAV, FLAC and all others of libsndfile. Raises CheckError."""
    from .. import _hear

    return Sound(_hear.read_sound(os.fspath(path)))


class Result:
    """What a server has left, in its directory.

    Attributes:
        directory: of all files
        path:      heard.wav, the mix
        status:    the server's exit status: 5 after errors of time, negative after a signal
        log:       path of the server's log
        trace:     path of the trace of requests and notifications
    """

    def __init__(
        self, directory: Path, path: Path, report: Path, status: int, was_killed: bool = False
    ) -> None:
        self.directory = directory
        self.path = path
        self.report_path = report
        self.status = status
        self._was_killed = was_killed  # by the test, which wanted it
        self.log = directory / "server.log"
        self.trace = directory / "trace.txt"
        self.picture: Optional[Path] = None
        self._recording: Optional["_hear.Recording"] = None
        self._report: Optional[Dict[str, Any]] = None

    @property
    def recording(self) -> "_hear.Recording":
        """The mix, the streams and the report, for checks."""
        if self._recording is None:
            from .. import _hear

            if not self.path.exists():
                raise CheckError(f"nothing was heard: the server has not written {self.path}")
            report = str(self.report_path) if self.report_path.exists() else ""
            recording = _hear.read_recording(str(self.path), report, str(self.directory / "stems"))
            # Without this, a test whose streams never started would find silence.
            if recording.heard.frames == 0:
                raise CheckError(f"nothing was heard: {self.path} is empty; no stream was started")
            self._recording = recording
        return self._recording

    @property
    def heard(self) -> Sound:
        """The mix."""
        return Sound(self.recording.heard)

    @property
    def stems(self) -> List[str]:
        """Names of the streams that were played."""
        return self.recording.stem_names

    def stem(self, name: str) -> Sound:
        """A stream's own samples, as the server took them. Raises KeyError."""
        return Sound(self.recording.stem(name))

    @property
    def report(self) -> Dict[str, Any]:
        """The server's report; empty if it has crashed."""
        if self._report is None:
            try:
                self._report = dict(json.loads(self.report_path.read_text()))
            except FileNotFoundError:
                self._report = {}
        return self._report

    @property
    def errors(self) -> List[str]:
        """Texts of the errors of time."""
        errors = self.report.get("time", {}).get("errors", [])
        return [f"{error['text']}" for error in errors]

    @property
    def sha256(self) -> str:
        """Of the samples of the mix: equal in every run of a test whose time is its own."""
        return hashlib.sha256(self.heard.samples.tobytes()).hexdigest()

    @property
    def fault(self) -> str:
        """How the server has ended that should have ended by itself, "" for an end as it should be.
        Errors of time are no fault: see `errors`."""
        if self.status in (0, _TIME_ERRORS) or self._was_killed:
            return ""
        if self.status > 0:
            return f"the server has ended with status {self.status}, see {self.log}"
        return f"the server has ended by {_signal_name(-self.status)}, see {self.log}"

    def require_time(self) -> None:
        """Raises TimeError if there are errors of time."""
        __tracebackhide__ = True
        if self.errors:
            raise TimeError("; ".join(self.errors))

    def __repr__(self) -> str:
        return f"<Result {self.path}>"
