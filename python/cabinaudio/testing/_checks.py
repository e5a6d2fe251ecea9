# SPDX-License-Identifier: Apache-2.0
"""Assertions about sounds. The checks are those of ``cabinaudio check``."""

from __future__ import annotations

import os
from pathlib import Path
from typing import TYPE_CHECKING, List, Optional, Tuple, Union

from ._result import CheckError, Result, Sound
from ._server import Server
from ._text import number, quoted

if TYPE_CHECKING:
    from .. import _hear

Heard = Union[Server, Result, Sound, str, "os.PathLike[str]"]


class HeardError(AssertionError):
    """Checks that are not met. `verdicts` has all of them, `picture` the path of the picture."""

    def __init__(
        self, text: str, verdicts: "List[_hear.Verdict]", picture: Optional[Path]
    ) -> None:
        super().__init__(text)
        self.verdicts = verdicts
        self.picture = picture


def _recording(heard: Heard) -> "Tuple[_hear.Recording, Optional[Result], Optional[Path]]":
    """The recording, the server's files, and the place for a picture."""
    from .. import _hear

    if isinstance(heard, Server):
        heard = heard.stop()
    if isinstance(heard, Result):
        return heard.recording, heard, heard.directory / "picture.png"
    if isinstance(heard, Sound):
        return _hear.Recording(heard._core), None, None
    path = Path(heard)
    return _hear.read_recording(str(path), "", ""), None, path.with_suffix(".png")


def judge(heard: Heard, *checks: str, channel: Optional[int] = None) -> "List[_hear.Verdict]":
    """Makes checks and returns their verdicts: `check`, `met`, `start`, `end` (s), `measured`,
    `required` and `text`. Raises CheckError for a text that is no check."""
    from .. import _hear

    if not checks:
        raise CheckError("no check is given")
    return _hear.judge(_recording(heard)[0], list(checks), channel)


def assert_heard(
    heard: Union[Heard, None] = None, *checks: str, channel: Optional[int] = None
) -> None:
    """Raises HeardError with one line for each check unless all are met, and draws a picture.

    Args:
        heard:  a server, which is stopped, a Result, a Sound or the path of a sound file. It may be
                left out: the server that was started last
        checks: as for ``cabinaudio check``, for example "tone 440 level=-12 [0.5..2]"
        channel: only this loudspeaker, 0 to 5, for checks that do not name one

    Raises:
        CheckError: a text is no check, or a check cannot be made
    """
    __tracebackhide__ = True
    from .. import _hear

    # assert_heard("silence") is about the present server.
    if heard is None or (isinstance(heard, str) and not os.path.exists(heard)):
        checks = checks if heard is None else (heard, *checks)
        heard = Server.current()
    if not checks:
        raise CheckError("no check is given")
    recording, result, place = _recording(heard)
    verdicts = _hear.judge(recording, list(checks), channel)
    if all(verdict.met for verdict in verdicts):
        return
    picture = _draw(recording, verdicts, place)
    if result is not None:
        result.picture = picture
    raise HeardError(_text(verdicts, recording.path, picture), verdicts, picture)


def _draw(
    recording: "_hear.Recording", verdicts: "List[_hear.Verdict]", place: Optional[Path]
) -> Optional[Path]:
    from .. import _hear

    if place is None:
        return None
    try:
        _hear.draw_picture(str(place), recording, verdicts)
    except CheckError:
        return None  # the verdicts matter more; this build may have no Cairo
    return place


def _text(verdicts: "List[_hear.Verdict]", path: str, picture: Optional[Path]) -> str:
    missed = sum(not verdict.met for verdict in verdicts)
    lines = [f"{missed} of {len(verdicts)} checks not met"]
    for verdict in verdicts:
        lines.append(("ok       " if verdict.met else "NOT MET  ") + verdict.text)
    if path:
        lines.append(f"heard    {path}")
    if picture is not None:
        lines.append(f"picture  {picture}")
    return "\n".join(lines)


def _range(start: Optional[float], end: Optional[float]) -> str:
    if start is None and end is None:
        return ""
    return f" [{'' if start is None else number(start)}..{'' if end is None else number(end)}]"


def assert_level(
    heard: Heard,
    db: float,
    *,
    tolerance: float = 0.5,
    start: Optional[float] = None,
    end: Optional[float] = None,
    channel: Optional[int] = None,
) -> None:
    """The RMS level in dB of full scale, between two times in s."""
    __tracebackhide__ = True
    assert_heard(heard, f"level {number(db)} tol={number(tolerance)}" + _range(start, end), channel=channel)


def assert_tone(
    heard: Heard,
    hz: float,
    *,
    level: Optional[float] = None,
    start: Optional[float] = None,
    end: Optional[float] = None,
    channel: Optional[int] = None,
) -> None:
    """The strongest line of the spectrum."""
    __tracebackhide__ = True
    text = f"tone {number(hz)}" + ("" if level is None else f" level={number(level)}")
    assert_heard(heard, text + _range(start, end), channel=channel)


def assert_silence(
    heard: Heard,
    *,
    below: float = -90.0,
    start: Optional[float] = None,
    end: Optional[float] = None,
    channel: Optional[int] = None,
) -> None:
    """No sample above this level in dB."""
    __tracebackhide__ = True
    assert_heard(heard, f"silence below={number(below)}" + _range(start, end), channel=channel)


def assert_no_gap(
    heard: Heard,
    *,
    longest: float = 1.0,
    start: Optional[float] = None,
    end: Optional[float] = None,
    channel: Optional[int] = None,
) -> None:
    """No silence of more than `longest` ms."""
    __tracebackhide__ = True
    assert_heard(heard, f"gap-free max={number(longest)}" + _range(start, end), channel=channel)


def assert_no_click(
    heard: Heard,
    *,
    start: Optional[float] = None,
    end: Optional[float] = None,
    channel: Optional[int] = None,
) -> None:
    """No jump that the sound around it does not explain."""
    __tracebackhide__ = True
    assert_heard(heard, "click-free" + _range(start, end), channel=channel)


def assert_ducked(
    heard: Heard, name: str, *, by: float = -20.0, during: str, tolerance: float = 1.0
) -> None:
    """The stream is softer by so many dB while another one plays, with its ramps."""
    __tracebackhide__ = True
    streams = f"{quoted(name)} by {number(by)}dB during {quoted(during)}"
    assert_heard(heard, f"ducked {streams} tol={number(tolerance)}")


def assert_starts(heard: Heard, name: str, ms: float) -> None:
    """The stream's first frame is heard at this time."""
    __tracebackhide__ = True
    assert_heard(heard, f"starts {quoted(name)}@{number(ms)}")


def assert_same(heard: Heard, path: Union[str, "os.PathLike[str]"]) -> None:
    """The mix has the samples of a file."""
    __tracebackhide__ = True
    assert_heard(heard, f"same {quoted(os.fspath(path))}")
