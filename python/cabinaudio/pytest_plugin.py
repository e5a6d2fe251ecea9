# SPDX-License-Identifier: Apache-2.0
"""Fixtures for pytest: a private server for each test.

    @pytest.mark.cabin(hold=2, await_={"prompt": 5000})
    def test_prompt_ducks_music(cabin):
        ...
        assert_heard("ducked music by -20dB during prompt")

Nothing of the package is imported before a fixture is used.
"""

from __future__ import annotations

import inspect
import os
import shutil
import tempfile
import unittest
from pathlib import Path
from typing import TYPE_CHECKING, Any, Callable, Dict, Generator, List, Optional

import pytest

if TYPE_CHECKING:
    from .testing import Program, Result, Server, Sound

_MARKS = ("cabin", "cabin_server")
_FIXTURES = ("cabin", "cabin_server", "cabin_servers", "cabin_app", "heard")
_servers = pytest.StashKey["List[Server]"]()
_REPLY_TIMEOUT = 60.0  # s; a client's waits while time stands count together


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("cabinaudio", "cabinaudio: private audio servers")
    group.addoption(
        "--cabinaudio-server", metavar="PATH", help="the server's program (in PATH if not given)"
    )
    group.addoption(
        "--cabinaudio-keep",
        choices=["failed", "all", "none"],
        default="failed",
        help="whose sounds, reports and traces to keep (failed)",
    )
    parser.addini("cabinaudio_patience", "ms that a server waits for somebody (20000)", default="")
    parser.addini(
        "cabinaudio_scenarios", "whether files *.scenario are tests", type="bool", default=False
    )


def pytest_configure(config: pytest.Config) -> None:
    for mark in _MARKS:
        config.addinivalue_line(
            "markers", f"{mark}(**options): options of this test's server, see help(Server)"
        )


def _options(request: pytest.FixtureRequest) -> Dict[str, Any]:
    """Those of the ini file and of the marks, the nearest last."""
    options: Dict[str, Any] = {}
    patience = request.config.getini("cabinaudio_patience")
    if patience:
        options["patience"] = int(patience)
    program = request.config.getoption("--cabinaudio-server")
    if program:
        options["program"] = program
    marks = [mark for mark in request.node.iter_markers() if mark.name in _MARKS]
    for mark in reversed(marks):
        if mark.args:
            raise pytest.UsageError(f"@pytest.mark.{mark.name} takes options by name only")
        options.update(mark.kwargs)
    return options


@pytest.fixture
def cabin_servers(
    request: pytest.FixtureRequest, tmp_path: Any
) -> "Generator[Callable[..., Server], None, None]":
    """Starts servers: ``cabin_servers(time="real")`` takes the arguments of
    cabinaudio.testing.Server; those of the mark are the defaults."""
    import cabinaudio
    from cabinaudio.testing import Server

    made: List[Server] = []
    request.node.stash[_servers] = made
    before = cabinaudio.reply_timeout(_REPLY_TIMEOUT)

    def start(**options: Any) -> Server:
        directory = tmp_path / ("cabin" if not made else f"cabin-{len(made) + 1}")
        server = Server(directory, **{**_options(request), **options})
        made.append(server)
        return server

    try:
        yield start
    finally:
        cabinaudio.reply_timeout(before)
        for server in reversed(made):
            server.stop()
        failed = request.node.stash.get(_failed, True)
        keep = request.config.getoption("--cabinaudio-keep")
        if keep == "none" or (keep == "failed" and not failed):
            for server in made:
                shutil.rmtree(server.directory, ignore_errors=True)


@pytest.fixture
def cabin(cabin_servers: "Callable[..., Server]") -> "Server":
    """A server of the test's own in lockstep, in tmp_path; see cabinaudio.testing.Server. Its
    options are those of ``@pytest.mark.cabin(...)``. Errors of time fail the test, and so does a
    server that has ended by itself, in each of its runs."""
    return cabin_servers()


@pytest.fixture
def cabin_server(cabin: "Server") -> "Server":
    """Another name of the fixture cabin."""
    return cabin


@pytest.fixture
def cabin_app(cabin: "Server") -> "Generator[Callable[..., Program], None, None]":
    """Starts programs through the launcher as clients of `cabin`: ``cabin_app(["player", "x"])``.
    They are ended with the test."""
    from cabinaudio.testing import launch

    programs: List[Program] = []

    def start(argv: List[str], *, env: Optional[Dict[str, str]] = None) -> "Program":
        programs.append(launch([os.fspath(word) for word in argv], cabin, env=env))
        return programs[-1]

    yield start
    for program in programs:
        program.close()


@pytest.fixture
def heard(cabin: "Server") -> "Callable[[], Sound]":
    """Stops the server and returns the mix: ``heard()``."""
    return lambda: cabin.stop().heard


class _ScenarioFile(pytest.File):
    def collect(self) -> "Generator[_Scenario, None, None]":
        yield _Scenario.from_parent(self, name=self.path.stem)


class _Scenario(pytest.Item):
    """A scenario file: one test, which the command-line tool runs."""

    def runtest(self) -> None:
        from .testing import run_scenario

        directory = self._directory()
        keep = self.config.getoption("--cabinaudio-keep")
        has_failed = True
        try:
            run_scenario(
                self.path, directory, program=self.config.getoption("--cabinaudio-server")
            )
            has_failed = False
        finally:
            if keep == "all" or (keep == "failed" and has_failed):
                self.add_report_section("call", "audio", f"results  {directory}")
            else:
                shutil.rmtree(directory, ignore_errors=True)

    def _directory(self) -> Path:
        """Where tests with the fixture tmp_path have theirs."""
        factory = getattr(self.config, "_tmp_path_factory", None)
        if factory is None:  # the plug-in tmpdir is switched off
            return Path(tempfile.mkdtemp(prefix="cabinaudio-"))
        return Path(factory.mktemp(f"scenario-{self.name}"))

    def repr_failure(self, excinfo: "pytest.ExceptionInfo[BaseException]", style: Any = None) -> str:
        return str(excinfo.value)  # names file and line itself

    def reportinfo(self) -> Any:
        return self.path, 0, f"scenario {self.name}"


def pytest_collect_file(file_path: Any, parent: pytest.Collector) -> Optional[pytest.Collector]:
    """Collects ``*.scenario`` in projects that want it: the plug-in is loaded in all of them."""
    if file_path.suffix != ".scenario" or not parent.config.getini("cabinaudio_scenarios"):
        return None
    collected: pytest.Collector = _ScenarioFile.from_parent(parent, path=file_path)
    return collected


_failed = pytest.StashKey[bool]()


def pytest_runtest_setup(item: pytest.Item) -> None:
    """Python's own error would not say how a method of unittest gets a server."""
    owner = getattr(item, "cls", None)
    if not isinstance(item, pytest.Function) or owner is None:
        return
    wanted = [name for name in inspect.signature(item.function).parameters if name in _FIXTURES]
    if wanted and issubclass(owner, unittest.TestCase):
        pytest.fail(
            f"{item.name}: methods of unittest.TestCase take no fixtures, not '{wanted[0]}' either: "
            'write @pytest.mark.usefixtures("cabin") and use cabinaudio.testing.Server.current()',
            pytrace=False,
        )


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_call(item: pytest.Item) -> Generator[None, Any, None]:
    """Ends a test's servers with its function, so that what their ends show is the test's failure."""
    outcome = yield
    outcome.get_result()  # the test's own failure comes first; that of unittest does in its report
    servers: List[Server] = item.stash.get(_servers, [])
    for server in reversed(servers):
        server.stop()
    _require_good_ends([result for server in servers for result in server.results])


def _require_good_ends(results: "List[Result]") -> None:
    faults = [result.fault for result in results if result.fault]
    if faults:
        from .testing import ServerError

        raise ServerError("; ".join(faults))
    for result in results:
        result.require_time()


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(
    item: pytest.Item, call: "pytest.CallInfo[None]"
) -> Generator[None, Any, None]:
    outcome = yield
    report = outcome.get_result()
    if report.when == "setup":
        item.stash[_failed] = report.failed
    if report.when != "call":
        return
    item.stash[_failed] = report.failed
    if report.failed:
        for server in item.stash.get(_servers, []):
            _describe(server, item, report)


def _describe(server: "Server", item: pytest.Item, report: pytest.TestReport) -> None:
    """Names the files that the server has left, and draws the picture unless there is one."""
    result = server.stop()
    if result.picture is None and result.path.exists():
        _draw(result)
    lines = []
    for title, path in (
        ("heard", result.path),
        ("picture", result.picture),
        ("report", result.report_path),
        ("trace", result.trace),
        ("log", result.log),
    ):
        if path is not None and path.exists():
            lines.append(f"{title:8} {path}")
            if title in ("heard", "picture"):
                # JUnit takes them from the item, xdist from the report.
                item.user_properties.append((title, str(path)))
                report.user_properties.append((title, str(path)))
    for run in server.results:
        lines += [f"server   {run.fault}"] if run.fault else []
        lines += [f"time     {error}" for error in run.errors]
    log = server.log_tail(20)
    if log:
        lines += ["last lines of the server's log:", log]
    report.sections.append(("audio", "\n".join(lines)))


def _draw(result: "Result") -> None:
    from . import _hear
    from .testing import CheckError

    path = result.directory / "picture.png"
    try:
        _hear.draw_picture(str(path), result.recording, [])
        result.picture = path
    except CheckError:
        pass  # an empty recording, or a build without Cairo
