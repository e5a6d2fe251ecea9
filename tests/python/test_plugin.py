# SPDX-License-Identifier: Apache-2.0
"""The fixtures of pytest, in runs of their own."""

import os
import re
import subprocess
import sys

import pytest

from cabinaudio.testing import tone, write_wav

HEAD = """
import pytest
import cabinaudio
from cabinaudio.testing import assert_heard, silence, tone

MUSIC = tone(440, 10)
PROMPT = tone(1000, 2)

def play(cabin):
    cabin.settings["ducking.mode"] = 1
    with cabinaudio.Sink("music") as music, cabinaudio.Track("prompt", type=2) as prompt:
        cabinaudio.play_together((music, MUSIC), (prompt, PROMPT))
"""

PASSING = HEAD + """
@pytest.mark.cabin(hold=2, await_={"prompt": 5000})
def test_prompt(cabin):
    play(cabin)
    assert_heard("ducked music by -20dB during prompt", "starts prompt@5000", "lasts music 10")
"""


@pytest.fixture
def run(pytester):
    """Runs tests in a process of their own."""

    def run(code, *options, name="test_it.py"):
        (pytester.path / name).write_text(code)
        return pytester.runpytest_subprocess(
            "-p", "no:cacheprovider", "--basetemp", str(pytester.path / "kept"), *options
        )

    return run


def kept(pytester):
    return sorted(path.name for path in (pytester.path / "kept").glob("*/cabin*/*"))


def test_a_prompt_that_ducks_music(run, pytester):
    run(PASSING).assert_outcomes(passed=1)
    assert kept(pytester) == []


UNITTEST = HEAD + """
import unittest
from cabinaudio.testing import Server

def play_prompt():
    with cabinaudio.Track("prompt") as track:
        track.play(PROMPT)

@pytest.mark.usefixtures("cabin")
class Used(unittest.TestCase):
    def test_heard(self):
        play_prompt()
        assert_heard(Server.current(), "lasts prompt 2")

    def test_not_heard(self):
        play_prompt()
        assert_heard("lasts prompt 3")

    @pytest.mark.cabin(hold=2, patience=1000)
    def test_late(self):
        play_prompt()

class Asked(unittest.TestCase):
    def test_argument(self, cabin):
        play_prompt()
"""


def test_fixtures_in_classes_of_unittest(run, pytester):
    result = run(UNITTEST)
    result.assert_outcomes(passed=1, failed=2, errors=1)
    result.stdout.fnmatch_lines([
        "*methods of unittest.TestCase take no fixtures, not 'cabin' either: *usefixtures*",
        "*TimeError: *2 streams*",
        "*NOT MET *lasts prompt 3*",
    ])
    assert any("test_not_heard" in str(path) for path in pytester.path.glob("kept/*/cabin"))


def test_a_failure_names_what_was_heard(run, pytester):
    result = run(PASSING.replace("-20dB", "-12dB"), "-o", "junit_family=xunit1",
                 "--junitxml", "junit.xml")
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines([
        "*HeardError: 1 of 3 checks not met",
        "*NOT MET*ducked music by -12dB during prompt*",
        "*- audio -*",
        "heard *heard.wav",
        "report *report.json",
        "trace *trace.txt",
        "log *server.log",
    ])
    names = kept(pytester)
    for name in ("heard.wav", "report.json", "trace.txt", "server.log"):
        assert name in names
    if "picture.png" in names:  # of a build with Cairo
        result.stdout.fnmatch_lines(["picture *picture.png"])
    assert re.search(r'property name="heard" value=".*heard\.wav"',
                     (pytester.path / "junit.xml").read_text())


def test_any_failure_names_them(run):
    result = run(HEAD + """
def test_it(cabin):
    with cabinaudio.Track("prompt") as track:
        track.play(PROMPT)
    assert 1 == 2
""")
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*- audio -*", "heard *heard.wav"])


def test_errors_of_time_fail_a_test(run):
    result = run(HEAD + """
@pytest.mark.cabin(hold=2, patience=1000)
def test_it(cabin):
    with cabinaudio.Track("prompt") as track:
        track.play(silence(0.1))
""")
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*TimeError*2 streams*", "time *2 streams*"])


def test_the_end_of_a_server_is_judged(run):
    result = run(HEAD + """
import os, signal

@pytest.mark.parametrize("number", [signal.SIGABRT, signal.SIGKILL])
def test_dies(cabin, number):
    os.kill(cabin.pid, number)

def test_dies_before_a_crash(cabin):
    os.kill(cabin.pid, signal.SIGABRT)
    cabin._process.wait()
    cabin.crash()

def test_dies_in_the_first_run(cabin):
    os.kill(cabin.pid, signal.SIGABRT)
    cabin._process.wait()
    cabin.restart()

def test_crashes(cabin):
    cabin.crash()
    cabin.restart()
    cabin.crash()
""")
    result.assert_outcomes(failed=4, passed=1)
    result.stdout.fnmatch_lines(["*ServerError: the server has ended by SIGABRT*",
                                 "server *SIGABRT*",
                                 "*ServerError: the server has ended by SIGKILL*"])


def test_errors_of_time_of_the_first_run_fail_a_test(run):
    result = run(HEAD + """
@pytest.mark.cabin(hold=2, patience=1000)
def test_it(cabin):
    with cabinaudio.Track("prompt") as track:
        track.play(silence(0.1))
    cabin.restart()
""")
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*TimeError*2 streams*", "time *2 streams*"])


def test_the_environment_is_that_of_before(run):
    run(HEAD + """
import os

NAMES = ("CABINAUDIO_INSTANCE", "CABINAUDIO_CONFIG_DIR")
os.environ["CABINAUDIO_INSTANCE"] = "of-the-user"
os.environ.pop("CABINAUDIO_CONFIG_DIR", None)

def test_two(cabin_servers):
    cabin_servers(), cabin_servers()

def test_nothing_is_left():
    assert [os.environ.get(name) for name in NAMES] == ["of-the-user", None]
""").assert_outcomes(passed=2)


@pytest.mark.parametrize("keep, is_kept", [("all", True), ("failed", False), ("none", False)])
def test_keeps_what_is_asked_for(run, pytester, keep, is_kept):
    run(PASSING, f"--cabinaudio-keep={keep}").assert_outcomes(passed=1)
    assert ("heard.wav" in kept(pytester)) is is_kept


def test_keeps_nothing_of_a_failed_test_if_asked_for(run, pytester):
    run(PASSING.replace("-20dB", "-12dB"), "--cabinaudio-keep=none").assert_outcomes(failed=1)
    assert kept(pytester) == []


def test_the_options_of_marks_add_up(run):
    run(HEAD + """
pytestmark = pytest.mark.cabin(time="stepped", patience=3000)

@pytest.mark.cabin(hold=1)
class TestOptions:
    @pytest.mark.cabin_server(time="lockstep")
    def test_nearest(self, cabin_server, cabin):
        assert cabin is cabin_server
        assert (cabin.time, cabin.patience) == ("lockstep", 3000)

    def test_module(self, cabin):
        assert cabin.time_state()["mode"] == "stepped"
""").assert_outcomes(passed=2)


def test_a_mark_takes_options_by_name(run):
    result = run(HEAD + """
@pytest.mark.cabin(2)
def test_it(cabin):
    pass
""")
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*takes options by name only*"])


def test_an_unknown_option_is_an_error(run):
    result = run(HEAD + """
@pytest.mark.cabin(louder=True)
def test_it(cabin):
    pass
""")
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*louder*"])


def test_a_server_that_is_not_there(run):
    result = run(PASSING, "--cabinaudio-server=/nowhere/cabinaudio-server")
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*/nowhere/cabinaudio-server*"])


def test_patience_of_the_ini_file(run, pytester):
    pytester.makeini("[pytest]\ncabinaudio_patience = 4321\n")
    run("def test_it(cabin):\n    assert cabin.patience == 4321\n").assert_outcomes(passed=1)


def test_parallel_under_xdist(run):
    code = HEAD + """
@pytest.mark.parametrize("number", range(12))
@pytest.mark.cabin(hold=2, await_={"prompt": 5000})
def test_prompt(cabin, number):
    play(cabin)
    assert_heard("ducked music by -20dB during prompt", "starts prompt@5000", "lasts music 10")
"""
    run(code, "-n", "3").assert_outcomes(passed=12)


def test_a_failure_under_xdist(run):
    result = run(PASSING.replace("-20dB", "-12dB"), "-n", "2")
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*- audio -*", "heard *heard.wav"])


TOOL = os.environ["CABINAUDIO_TEST_TOOL"]
SCENARIO = """server --hold 1
run player %s play --name nav prompt.wav
until finished nav
expect exit player 0
expect check 'tone %s [0.1..0.9]'
"""
has_scenarios = "\n  scenario " in subprocess.run([TOOL, "--help"], stdout=subprocess.PIPE,
                                                  text=True, timeout=120).stdout


def kept_scenarios(pytester):
    """Those of which something was heard."""
    kept = (pytester.path / "kept").glob("scenario-*[0-9]/**/*.wav")
    return sorted({re.search("/scenario-([a-z]+)", str(path))[1] for path in kept})


@pytest.mark.skipif(not has_scenarios, reason="the tool runs no scenarios")
def test_collects_scenarios(pytester, monkeypatch):
    monkeypatch.setenv("CABINAUDIO_TOOL", TOOL)
    programs = [os.path.dirname(os.environ[name]) for name in ("CABINAUDIO_SERVER",
                                                               "CABINAUDIO_LAUNCHER")]
    monkeypatch.setenv("PATH", ":".join([*programs, os.environ["PATH"]]))
    write_wav(pytester.path / "prompt.wav", tone(1000, 1))
    for name, text in (("good", SCENARIO % (TOOL, 1000)), ("bad", SCENARIO % (TOOL, 500)),
                       ("wrong", "server --hold 1\nfly high\n")):
        (pytester.path / f"{name}.scenario").write_text(text)
    options = ("-p", "no:cacheprovider", "--basetemp", str(pytester.path / "kept"))
    pytester.runpytest_subprocess(*options).assert_outcomes()  # other projects have such files, too
    pytester.makeini("[pytest]\ncabinaudio_scenarios = true\n")
    result = pytester.runpytest_subprocess(*options)
    result.assert_outcomes(passed=1, failed=2)
    assert kept_scenarios(pytester) == ["bad"]
    pytester.runpytest_subprocess(*options, "--cabinaudio-keep=all")
    assert kept_scenarios(pytester) == ["bad", "good"]
    pytester.runpytest_subprocess(*options, "--cabinaudio-keep=none")
    assert kept_scenarios(pytester) == []
    missing = pytester.runpytest_subprocess(*options, "--cabinaudio-server=/nowhere/server")
    missing.stdout.fnmatch_lines(["*/nowhere/server*"])
    result.stdout.fnmatch_lines_random(["*tone 500*", "*wrong.scenario:2: *fly*"])


def test_the_plugin_imports_nothing_before_it_is_used():
    code = "import sys, pytest; pytest.main(['--markers']); print(sorted(sys.modules))"
    printed = subprocess.run([sys.executable, "-c", code], stdout=subprocess.PIPE, text=True,
                             check=True, timeout=120).stdout
    assert "@pytest.mark.cabin(" in printed
    assert "cabinaudio.pytest_plugin" in printed
    for module in ("cabinaudio._cabinaudio", "cabinaudio._streams", "cabinaudio.testing"):
        assert f"'{module}'" not in printed


def test_no_server_outlives_a_killed_test(run, pytester):
    code = """
import os, signal
def test_it(cabin):
    print("instance", cabin.instance)
    with open("instance", "w") as file:
        file.write(str(cabin.pid))
    os.kill(os.getpid(), signal.SIGKILL)
"""
    run(code)
    pid = int((pytester.path / "instance").read_text())
    # The signal is on its way when the run has ended.
    for _ in range(6000):
        try:
            with open(f"/proc/{pid}/stat") as file:
                if file.read().rsplit(")", 1)[1].split()[0] == "Z":
                    return
        except FileNotFoundError:
            return
        os.sched_yield()
        subprocess.run(["sleep", "0.01"], check=True)
    raise AssertionError(f"the server runs on as process {pid}")
