# SPDX-License-Identifier: Apache-2.0
"""Scenario files, run by the command-line tool."""

from __future__ import annotations

import os
import subprocess
from typing import Optional, Union

from ._programs import find
from ._server import ServerError


class ScenarioError(AssertionError):
    """A scenario whose expectations are not met; the text is that of the tool."""


def run_scenario(
    path: Union[str, "os.PathLike[str]"],
    directory: Union[str, "os.PathLike[str]", None] = None,
    timeout: float = 600,
    *,
    program: Optional[str] = None,
) -> None:
    """Runs a scenario file with ``cabinaudio scenario`` and a server of its own.

    Args:
        directory: keeps sound, report, trace and logs; without it those of a failure are kept in a
                   place that the text names
        timeout:   s
        program:   path of cabinaudio-server, as for Server

    Raises:
        ScenarioError: an expectation is not met
        ServerError:   the file has errors (the text names file and line), or the scenario could
                       not be run
    """
    __tracebackhide__ = True
    tool = find("cabinaudio", "CABINAUDIO_TOOL")
    if not tool:
        raise ServerError("cabinaudio is not installed, and CABINAUDIO_TOOL not set")
    words = [tool, "scenario", os.fspath(path)]
    words += ["--keep", os.fspath(directory)] if directory is not None else []
    environment = {**os.environ, **({"CABINAUDIO_SERVER": program} if program else {})}
    ran = subprocess.run(
        words,
        env=environment,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        errors="replace",
        timeout=timeout,
    )
    if ran.returncode == 5:
        raise ScenarioError(ran.stdout.rstrip())
    if ran.returncode != 0:
        raise ServerError(ran.stdout.rstrip() or f"{path}: status {ran.returncode}")
