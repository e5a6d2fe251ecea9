# SPDX-License-Identifier: Apache-2.0
"""Programs under the launcher."""

from __future__ import annotations

import os
import subprocess
from pathlib import Path
from typing import List, Mapping, Optional, Sequence

from .._scoped import Scoped
from ._programs import find
from ._server import Server, ServerError
from ._text import number


def _launcher(server: Server) -> str:
    beside = Path(server._program).with_name("cabinaudio-run")
    found = find("cabinaudio-run", "CABINAUDIO_LAUNCHER")
    if not found and beside.exists():
        found = str(beside)
    if not found:
        raise ServerError("cabinaudio-run is not installed, and CABINAUDIO_LAUNCHER not set")
    return found


class Program(Scoped):
    """A program that plays or records through a server; see launch()."""

    def __init__(self, words: List[str], log: Path, environment: Mapping[str, str]) -> None:
        self.log = log
        with open(log, "wb") as file:
            self._process = subprocess.Popen(
                words, stdin=subprocess.DEVNULL, stdout=file, stderr=file, env=dict(environment)
            )

    @property
    def pid(self) -> int:
        """Of the program."""
        return self._process.pid

    @property
    def output(self) -> str:
        """What it has printed so far."""
        return self.log.read_text(errors="replace")

    def signal(self, number: int) -> None:
        """Sends it a signal."""
        self._process.send_signal(number)

    def wait(self, timeout: float = 60) -> int:
        """Waits for its end and returns its exit status, negative after a signal. Raises
        TimeoutError; the program then runs on."""
        try:
            return self._process.wait(timeout)
        except subprocess.TimeoutExpired:
            raise TimeoutError(
                f"{self._process.args!r} has not ended in {number(timeout)} s; "
                f"its output is in {self.log}"
            ) from None

    def close(self) -> None:
        """Ends it."""
        if self._process.poll() is None:
            self._process.kill()
        self._process.wait()


def launch(
    argv: Sequence[str], server: Optional[Server] = None, *, env: Optional[Mapping[str, str]] = None
) -> Program:
    """Starts a program through cabinaudio-run as a client of a server, by default the one that was
    started last. What it prints is kept in the server's directory."""
    server = server or Server.current()
    if not argv:
        raise ValueError("no program is given")
    words = [_launcher(server), "--", *map(os.fspath, argv)]
    name = Path(argv[0]).name
    number = len(list(server.directory.glob("program-*.log"))) + 1
    environment = {**os.environ, **server._variables(), **(env or {})}
    return Program(words, server.directory / f"program-{number}-{name}.log", environment)
