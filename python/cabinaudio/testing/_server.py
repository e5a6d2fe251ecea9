# SPDX-License-Identifier: Apache-2.0
"""A development server of a test's own."""

from __future__ import annotations

import atexit
import contextlib
import json
import os
import secrets
import select
import socket
import subprocess
import sys
import tempfile
import threading
import time as clock
from pathlib import Path
from typing import (
    TYPE_CHECKING,
    Any,
    Dict,
    Iterable,
    List,
    Mapping,
    Optional,
    Tuple,
    Union,
)

from .._scoped import Scoped
from ._programs import find
from ._result import Result
from ._text import number

if TYPE_CHECKING:
    from .._settings import Settings

_VARIABLE = "CABINAUDIO_INSTANCE"
# Where clients look for the user's diagnostics settings: a test is not to find them, and leaves
# nothing there.
_CONFIG = "CABINAUDIO_CONFIG_DIR"
_CONTROL = "/tmp/cabinaudio_control"
_STARTUP = 60.0  # s; under an emulator on a busy machine
_CURRENT: List["Server"] = []
#: The variables as they were before the first of the running servers.
_BEFORE: Dict[str, Optional[str]] = {}


class ServerError(RuntimeError):
    """The server did not start, has ended, or refused a command."""


def server_program() -> str:
    """Path of cabinaudio-server."""
    found = find("cabinaudio-server", "CABINAUDIO_SERVER")
    if not found:
        raise ServerError("cabinaudio-server is not installed, and CABINAUDIO_SERVER not set")
    return found


class _Control:
    """A connection for commands, one line each."""

    def __init__(self, instance: str) -> None:
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.connect(f"\0{_CONTROL}.{instance}")
        self._rest = b""

    def ask(self, line: str, timeout: float) -> str:
        if "\n" in line:
            raise ValueError(f"a command is one line: {line!r}")
        self._socket.settimeout(timeout)
        self._socket.sendall(line.encode() + b"\n")
        while b"\n" not in self._rest:
            chunk = self._socket.recv(65536)
            if not chunk:
                raise ConnectionError("the server has closed the connection")
            self._rest += chunk
        answer, _, self._rest = self._rest.partition(b"\n")
        return answer.decode(errors="replace")

    def close(self) -> None:
        self._socket.close()


def _reconnect() -> None:
    """`cabinaudio.settings` is for the server of the environment, which changes."""
    module = sys.modules.get("cabinaudio._settings")
    if module is not None:
        module.shared.close()


def _stop_all() -> None:
    """At the end of the interpreter: the process that has started a server ends it."""
    process = sys.modules.get("cabinaudio._process")
    if process is not None:
        process._close_all()  # streams first: they ask the server
    for server in reversed(_CURRENT[:]):
        if server._owner == os.getpid():
            server.stop()


atexit.register(_stop_all)


class Server(Scoped):
    """A development server of its own instance, running when the constructor returns.

    Streams and settings that this process makes from then on are its clients: the environment
    variable CABINAUDIO_INSTANCE is changed until the server is stopped, and with it
    CABINAUDIO_CONFIG_DIR, the directory of the diagnostics settings. Close streams of an earlier
    server before.

    The end of a with statement raises ServerError when a run of the server has ended by a signal or
    with a status of its own, other than by crash(), or has errors of time. A test that expects these
    calls stop() without a with statement and looks at the results.

    Args:
        directory:    of its files; by default a temporary one, which stop() leaves
        time:         "lockstep": time passes when all streams are ready; "stepped": as far as run()
                      says; "fast" and "real" as the server's --time
        hold:         time begins when so many streams are started
        await_:       times in ms before which a stream is not heard, and for whose start time
                      waits: {"prompt": 5000}
        at:           commands at times in ms: [(1000, "stream remove music")]
        inputs:       inputs of capture streams: {"input0": "voice.wav", "uplink": "tone:440"}
        patience:     ms of real time for every wait of the server
        tail:         ms, see --tail
        strict:       errors for starts, stops and settings at a time that is not the test's own
        rate, channels: of the output
        args:         more options of the server
    """

    def __init__(
        self,
        directory: Union[str, "os.PathLike[str]", None] = None,
        *,
        time: str = "lockstep",
        hold: int = 0,
        await_: Optional[Mapping[str, float]] = None,
        at: Iterable[Tuple[float, str]] = (),
        inputs: Optional[Mapping[str, str]] = None,
        patience: int = 20000,
        tail: Optional[int] = None,
        strict: bool = True,
        rate: int = 48000,
        channels: int = 2,
        args: Iterable[str] = (),
        program: Optional[str] = None,
    ) -> None:
        self.directory = Path(directory or tempfile.mkdtemp(prefix="cabinaudio-"))
        self.directory.mkdir(parents=True, exist_ok=True)
        self.instance = "t" + secrets.token_hex(8)
        self.time = time
        self.patience = patience
        self._runs = 0
        self._settings: Optional["Settings"] = None
        #: Of the runs that have ended: more than one after restart().
        self.results: List[Result] = []
        self._owner = os.getpid()
        self._control: Optional[_Control] = None
        self._process: Optional["subprocess.Popen[bytes]"] = None
        self._program = program or server_program()
        self._options = ["--rate", str(rate), "--channels", str(channels)]
        for tag, what in (inputs or {}).items():
            self._options += ["--input", f"{tag}={what}"]
        self._options += _time_options(time, hold, await_ or {}, at, patience, tail, strict)
        self._options += list(args)
        self._start()

    # ---- Start and end ---------------------------------------------------------------------------

    def _start(self) -> None:
        self._runs += 1
        suffix = "" if self._runs == 1 else f"-{self._runs}"
        self._heard = self.directory / f"heard{suffix}.wav"
        self._report = self.directory / f"report{suffix}.json"
        ready, child = os.pipe()
        try:
            self._spawn(child)
            os.close(child)
            child = -1
            self._wait_until_ready(ready)
        finally:
            os.close(ready)
            if child >= 0:
                os.close(child)
        if not _CURRENT:
            _BEFORE.update({name: os.environ.get(name) for name in (_VARIABLE, _CONFIG)})
        os.environ.update(self._variables())
        _CURRENT.append(self)
        _reconnect()

    def _variables(self) -> Dict[str, str]:
        return {_VARIABLE: self.instance, _CONFIG: str(self.directory / "config")}

    def _spawn(self, ready: int) -> None:
        from .._process import _cabinaudio

        words = [self._program, "--instance", self.instance, "--ready-fd", str(ready)]
        words += ["--output", f"wav:{self._heard}", "--report", str(self._report)]
        words += ["--stems", str(self.directory / "stems"), "--trace", *self._options]
        # The signal is that of the thread that makes the process, not of the program.
        is_main = threading.current_thread() is threading.main_thread()
        with contextlib.ExitStack() as files:
            trace = files.enter_context(open(self.directory / "trace.txt", "ab"))
            log = files.enter_context(open(self.directory / "server.log", "ab"))
            self._process = subprocess.Popen(
                words,
                stdin=subprocess.DEVNULL,
                stdout=trace,
                stderr=log,
                pass_fds=[ready],
                preexec_fn=_cabinaudio.die_with_parent if is_main else None,
            )

    def _wait_until_ready(self, ready: int) -> None:
        readable, _, _ = select.select([ready], [], [], _STARTUP)
        if readable and os.read(ready, 16):
            return
        self._kill()
        self._process = None
        self._remove_memory()
        raise ServerError(f"the server did not start: {self.log_tail(3)}")

    def stop(self) -> Result:
        """Ends the server and returns what it has left; again: the same."""
        self._end()
        return self.results[-1]

    def close(self) -> None:
        """As stop()."""
        self.stop()

    def _leave(self, is_clean: bool) -> None:
        __tracebackhide__ = True
        self.stop()
        faults = self._faults()
        if faults and is_clean:
            raise ServerError("; ".join(faults))

    def _faults(self) -> List[str]:
        """What the ends of all runs have shown."""
        faults = []
        for result in self.results:
            faults += [result.fault] if result.fault else []
            faults += result.errors
        return faults

    def crash(self) -> None:
        """Kills the server, as the kernel would."""
        self._close_connections()
        if self._process is not None:
            has_ended = self._process.poll() is not None
            self._note_end(self._kill(), was_killed=not has_ended)

    def restart(self) -> None:
        """Starts the server again under the same name, after crash() or while it runs. Files of the
        new run are heard-2.wav and so on; time begins at 0."""
        self._end()
        self._start()

    def _end(self) -> None:
        """Ends the process, if there is one."""
        self._close_connections()
        if self._process is not None:
            self._process.terminate()
            try:
                status = self._process.wait(_STARTUP)
            except subprocess.TimeoutExpired:
                status = self._kill()
            self._note_end(status)
        with contextlib.suppress(OSError):  # not there, or a test has put settings into it
            (self.directory / "config").rmdir()
        self._forget()

    def _note_end(self, status: int, was_killed: bool = False) -> None:
        self._process = None
        if status < 0:
            self._remove_memory()
        self.results.append(
            Result(self.directory, self._heard, self._report, status, was_killed)
        )

    def _kill(self) -> int:
        if self._process is None:
            return 0
        self._process.kill()
        return self._process.wait()

    def _remove_memory(self) -> None:
        """A server that has ended by a signal leaves it."""
        memory = f"/dev/shm/cabinaudio-physmem-{os.geteuid()}-{self.instance}"
        with contextlib.suppress(FileNotFoundError):
            os.unlink(memory)

    def _close_connections(self) -> None:
        if self._settings is not None:
            self._settings.close()
            self._settings = None
        if self._control is not None:
            self._control.close()
            self._control = None

    def _forget(self) -> None:
        if self not in _CURRENT:
            return
        _CURRENT.remove(self)
        _reconnect()
        if os.environ.get(_VARIABLE) != self.instance:
            return
        variables: Dict[str, Optional[str]] = dict(_BEFORE)
        if _CURRENT:
            variables.update(_CURRENT[-1]._variables())
        for name, value in variables.items():
            if value is None:
                os.environ.pop(name, None)
            else:
                os.environ[name] = value

    @staticmethod
    def current() -> "Server":
        """The server that was started last and runs."""
        if not _CURRENT:
            raise ServerError("no server runs: say which sound is meant")
        return _CURRENT[-1]

    @property
    def pid(self) -> int:
        """Of the process that runs. Raises ServerError when none does."""
        if self._process is None:
            raise ServerError("the server has been stopped: it has no process")
        return self._process.pid

    @property
    def is_running(self) -> bool:
        """Whether the server's process runs."""
        return self._process is not None and self._process.poll() is None

    def log_tail(self, lines: int = 20) -> str:
        """The last lines of the server's log."""
        try:
            text = (self.directory / "server.log").read_text(errors="replace")
        except FileNotFoundError:
            return ""
        return "\n".join(text.splitlines()[-lines:])

    # ---- Commands --------------------------------------------------------------------------------

    def command(self, line: str, timeout: Optional[float] = None) -> str:
        """Sends a command to the server's control socket and returns its answer.

        Raises ServerError when the answer is an error, or does not come.
        """
        longest = timeout if timeout is not None else self.patience / 1000 + 10
        try:
            if self._control is None:
                self._control = _Control(self.instance)
            answer = self._control.ask(line, longest)
        except OSError as error:
            if self._control is not None:
                self._control.close()
                self._control = None
            raise ServerError(f"{line}: no answer of the server: {error}") from None
        if answer.startswith("error: "):
            raise ServerError(f"{line}: {answer[7:]}")
        return answer

    def state(self) -> Dict[str, Any]:
        """Output, clients, streams and settings, as ``cabinaudio server state`` has them."""
        return dict(json.loads(self.command("state")))

    def time_state(self) -> Dict[str, Any]:
        """Mode, state and frame of time, and for whom it waits."""
        return dict(json.loads(self.command("time")))

    def run(self, ms: float) -> None:
        """Lets so much time pass (time="stepped"), and returns when it has."""
        self.command(f"time run {number(ms)}")

    def stop_time(self, ms: Optional[float] = None) -> None:
        """Time stands, now or when it has reached `ms`."""
        self.command("time stop" if ms is None else f"time stop {number(ms)}")

    def go(self) -> None:
        """Time passes again."""
        self.command("time go")

    def hold(self, streams: int) -> None:
        """Time begins when so many streams are started."""
        self.command(f"time hold {streams}")

    def await_(self, name: str, ms: float = 0) -> None:
        """The stream is not heard before this time, and time waits for its start."""
        self.command(f"time await {name} {number(ms)}")

    def at(self, ms: float, command: str) -> None:
        """Makes a command when time is there."""
        self.command(f"at {number(ms)} {command}")

    def settle(self) -> None:
        """Waits until every stream has written what it can at this time."""
        self.command("time settle")

    def until_finished(self, name: str, timeout: float = 60) -> None:
        """Waits until a stream's end has been played, also of one that does not exist yet. Raises
        ServerError."""
        deadline = clock.monotonic() + timeout
        has_played = False
        while True:
            finishes, state = self._playing(name)
            # A stream that has ended is removed by its program at any time.
            if finishes > 0 or (has_played and state == "does not exist"):
                return
            has_played = has_played or state == "plays"
            if clock.monotonic() >= deadline:
                raise ServerError(
                    f'"{name}" has not been played to its end in {number(timeout)} s: it {state}'
                )
            clock.sleep(0.005)

    def _playing(self, name: str) -> Tuple[int, str]:
        """How often a playback stream was played to its end, and what it does."""
        streams = self.state()["streams"]
        found = [one for one in streams if one["name"] == name and "finishes" in one]
        if not found:
            return 0, "does not exist"
        is_active = any(one["state"] == "active" for one in found)
        return max(one["finishes"] for one in found), "plays" if is_active else "does not play"

    # ---- Faults ----------------------------------------------------------------------------------

    def _fault(self, command: str, at: Optional[float]) -> None:
        if at is None:
            self.command(command)
        else:
            self.at(at, command)

    def withdraw(self, name: str, *, at: Optional[float] = None) -> None:
        """The sink loses its source, now or at a time in ms."""
        self._fault(f"source withdraw {name}", at)

    def activate(self, name: str, *, at: Optional[float] = None) -> None:
        """The sink gets the source."""
        self._fault(f"source activate {name}", at)

    def remove(self, name: str, *, at: Optional[float] = None) -> None:
        """The server removes its side of a stream."""
        self._fault(f"stream remove {name}", at)

    def ring(self, on: bool, name: str = "", *, at: Optional[float] = None) -> None:
        """The ring of an uplink, or of all, comes or goes."""
        self._fault(f"uplink ring {'on' if on else 'off'} {name}".rstrip(), at)

    def damage_reply(
        self, damage: str, request: str, name: str = "", *, at: Optional[float] = None
    ) -> None:
        """Damages the next reply to a request.

        Args:
            damage:  "short-reply": its second half is missing; "wrong-magic": its first word is not
                     that of a reply, with which the client's connection ends
            request: as in the server's trace, or "any"
            name:    of the stream whose reply it is; by default of any client
        """
        self._fault(f"fault {damage} {request} {name}".rstrip(), at)

    def stall(self, ms: int) -> None:
        """The server does nothing for so long."""
        self.command(f"stall {ms}")

    # ---- The rest --------------------------------------------------------------------------------

    @property
    def settings(self) -> "Settings":
        """The server's settings; see cabinaudio.Settings."""
        if self._settings is None:
            from .. import Settings

            self._settings = Settings()
        return self._settings

    @property
    def heard(self) -> "Any":
        """The mix: stops the server. See Result.heard."""
        return self.stop().heard

    def __repr__(self) -> str:
        state = "running" if self.is_running else "stopped"
        return f"<Server {self.instance} {self.time} {state}, {self.directory}>"


def _time_options(
    time: str,
    hold: int,
    await_: Mapping[str, float],
    at: Iterable[Tuple[float, str]],
    patience: int,
    tail: Optional[int],
    strict: bool,
) -> List[str]:
    if time not in ("real", "fast", "lockstep", "stepped"):
        raise ValueError(f"time is real, fast, lockstep or stepped, not {time!r}")
    if time in ("real", "fast"):
        if hold or await_ or list(at):
            raise ValueError(f"hold, await_ and at need time to be lockstep or stepped, not {time}")
        return ["--time", time]
    options = ["--time", time, "--patience", str(patience)]
    options += ["--hold", str(hold)] if hold else []
    options += ["--tail", str(tail)] if tail is not None else []
    options += ["--strict"] if strict else []
    for name, ms in await_.items():
        options += ["--await", f"{name}@{number(ms)}"]
    for ms, command in at:
        options += ["--at", f"{number(ms)}:{command}"]
    return options


__all__ = ["Server", "ServerError", "server_program"]
