# SPDX-License-Identifier: Apache-2.0
"""Servers of a test's own, their time, their faults and what they leave."""

import concurrent.futures
import os
import signal
import sys
import threading
import time

import pytest

import cabinaudio
from cabinaudio.testing import (
    Server,
    ServerError,
    TimeError,
    assert_heard,
    assert_starts,
    launch,
    silence,
    tone,
    write_wav,
)

MUSIC = tone(440, 2)
PROMPT = tone(1000, 1)


def wait_until(condition):
    end = time.monotonic() + 60
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.001)


def play_both(server):
    server.settings["ducking.mode"] = 1
    with cabinaudio.Sink("music") as music, cabinaudio.Track("prompt", type=2) as prompt:
        cabinaudio.play_together((music, MUSIC), (prompt, PROMPT))
    return server.stop()


def test_the_same_bytes_in_every_run(cabin_servers):
    results = [play_both(cabin_servers(hold=2, await_={"prompt": 500})) for _ in range(5)]
    assert len({result.sha256 for result in results}) == 1
    for result in results:
        assert result.errors == [] and result.status == 0
        assert sorted(result.stems) == ["music", "prompt"]
        assert_starts(result, "prompt", 500)


def test_a_late_program_changes_nothing(cabin_servers):
    def play(delay):
        server = cabin_servers(await_={"music": 0, "prompt": 500})
        with cabinaudio.Sink("music") as music, cabinaudio.Track("prompt") as prompt:
            late = threading.Timer(delay, prompt.play, (PROMPT,))
            late.start()
            music.play(MUSIC)
            late.join()
        return server.stop().sha256

    assert play(0) == play(0.3)


@pytest.mark.cabin(time="stepped")
def test_time_passes_as_far_as_the_test_says(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        track.write(silence(0.05))
        track.write_done()
        assert cabin.time_state()["ms"] == 0
        cabin.run(40)
        assert cabin.time_state()["ms"] == 40
        assert not track.finished.done()
        cabin.run(100)
        assert cabin.time_state()["ms"] == 140
        assert track.wait(60)
        cabin.until_finished("prompt")


def test_time_stands_goes_and_is_held(cabin):
    cabin.hold(1)
    cabin.stop_time(200)
    cabin.await_("prompt", 100)
    with cabinaudio.Track("prompt") as track:
        track.start()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            written = pool.submit(track.write, PROMPT)
            wait_until(lambda: cabin.time_state()["ms"] >= 200)
            cabin.settle()
            assert cabin.time_state()["ms"] == 200
            cabin.at(400, "stream remove prompt")
            cabin.go()
            with pytest.raises(cabinaudio.InvalidState):
                written.result(60)
    assert_starts(cabin, "prompt", 100)


def test_faults_at_a_time(cabin):
    with cabinaudio.Sink("music") as music:
        cabin.hold(1)
        cabin.withdraw("music", at=500)
        cabin.activate("music", at=1000)
        music.start()
        # How much of it is discarded is decided by the library's real half second.
        assert music.write(MUSIC) > 0
        # At 1000 ms the command may be yet to come; the stream must not end before it.
        wait_until(lambda: cabin.time_state()["ms"] >= 1000
                   and cabin.state()["streams"][0]["source"] == "active")
    changes = [(change["what"], change["ms"]) for change in cabin.stop().report["changes"]]
    assert ("withdrawn", 500) in changes, changes


def test_inputs(cabin_servers, tmp_path):
    voice = tone(300, 1, channels=1)
    cabin_servers(inputs={"input0": write_wav(tmp_path / "v.wav", voice, channels=1)})
    with cabinaudio.Record("note") as record:
        assert record.record(0.5) == voice[: len(voice) // 2]


def test_errors_of_time_have_a_text_and_a_status(tmp_path):
    server = Server(tmp_path, hold=2, patience=1000)
    with cabinaudio.Track("prompt") as track:
        track.play(silence(0.1))
    result = server.stop()
    assert result.status == 5
    assert "2 streams" in result.errors[0] and "(1 " in result.errors[0]
    with pytest.raises(TimeError, match="2 streams"):
        result.require_time()


def dead_server(directory):
    """A server that has ended by itself."""
    server = Server(directory)
    os.kill(server.pid, signal.SIGABRT)
    server._process.wait()
    return server


def memory_of(server):
    return [name for name in os.listdir("/dev/shm") if server.instance in name]


def test_the_end_of_a_with_statement_judges_the_end_of_the_server(tmp_path):
    with pytest.raises(ServerError, match="SIGABRT"):
        with dead_server(tmp_path / "first"):
            pass
    with pytest.raises(ServerError, match="SIGABRT"):
        with dead_server(tmp_path / "second") as server:
            server.restart()
    with pytest.raises(ServerError, match="2 streams"):
        with Server(tmp_path / "third", hold=2, patience=1000):
            with cabinaudio.Track("prompt") as track:
                track.play(silence(0.1))
    with pytest.raises(KeyError):  # is more important
        with dead_server(tmp_path / "fourth"):
            raise KeyError
    with Server(tmp_path / "fifth") as server:
        server.crash()
        server.restart()
    assert [result.status for result in server.results] == [-signal.SIGKILL, 0]


def test_nothing_of_a_dead_server_is_left(tmp_path):
    server = dead_server(tmp_path)
    assert memory_of(server)
    assert server.stop().status == -signal.SIGABRT
    assert memory_of(server) == []


@pytest.mark.parametrize("thread", [False, True])
def test_servers_end_with_the_interpreter(run_script, tmp_path, thread):
    ended = run_script(f"""
import threading
import cabinaudio
from cabinaudio.testing import Server

def start():
    global server
    server = Server({str(tmp_path / "cabin")!r})
    track = cabinaudio.Track("prompt")
    print(server.instance, server.pid)

if {thread}:
    started = threading.Thread(target=start)
    started.start()
    started.join()
else:
    start()
""")
    assert (ended.returncode, ended.stderr) == (0, "")
    instance, pid = ended.stdout.split()
    assert not [name for name in os.listdir("/dev/shm") if instance in name]
    with pytest.raises(ProcessLookupError):
        os.kill(int(pid), 0)
    assert (tmp_path / "cabin" / "report.json").exists()


def test_the_shared_settings_are_those_of_the_present_server(tmp_path):
    settings = cabinaudio.settings
    for level in (-3.0, -5.0):
        with Server(tmp_path / str(level)) as server:
            assert cabinaudio.settings["volume.master"] == 0.0
            cabinaudio.settings["volume.master"] = level
            assert server.settings["volume.master"] == level
            server.crash()
            with pytest.raises(cabinaudio.ServerGone):
                settings["volume.master"]
            server.restart()
            assert settings["volume.master"] == 0.0
            with Server(tmp_path / f"inner{level}"):
                settings["volume.master"] = level
            assert settings["volume.master"] == 0.0


def test_until_finished_waits_for_a_stream_that_has_played(cabin):
    with pytest.raises(ServerError, match='"nobody" .* in 0.05 s: it does not exist'):
        cabin.until_finished("nobody", 0.05)
    with cabinaudio.Track("prompt") as track:
        with pytest.raises(ServerError, match="it does not play"):
            cabin.until_finished("prompt", 0)
        track.start()
        with pytest.raises(ServerError, match="it plays"):
            cabin.until_finished("prompt", 0)
        track.write(PROMPT)
        track.write_done()
        cabin.until_finished("prompt")


@pytest.mark.cabin(time="stepped")
def test_until_finished_knows_a_stream_that_is_gone_meanwhile(cabin, monkeypatch):
    track = cabinaudio.Track("prompt")
    track.start()
    was_seen = threading.Event()
    state = cabin.state

    def seen():
        found = state()
        was_seen.set()
        return found

    monkeypatch.setattr(cabin, "state", seen)
    with concurrent.futures.ThreadPoolExecutor() as pool:
        waited = pool.submit(cabin.until_finished, "prompt")
        assert was_seen.wait(60)
        track.close()
        assert waited.result(60) is None


@pytest.mark.cabin(time="stepped", at=[(1000001, "stream remove nobody")])
def test_long_times_have_all_their_digits(cabin):
    cabin.run(123456.0)
    assert cabin.time_state()["ms"] == 123456
    cabin.run(876544)
    assert cabin.time_state()["ms"] == 1000000
    with pytest.raises(ServerError, match="number|time"):
        cabin.run(0.0000001)
    with pytest.raises(ValueError, match="nan"):
        cabin.run(float("nan"))


def test_crash_and_restart(cabin):
    cabin.crash()
    assert not cabin.is_running
    with pytest.raises(ServerError, match="no answer"):
        cabin.command("time")
    cabin.restart()
    with cabinaudio.Track("prompt") as track:
        track.play(PROMPT)
    result = cabin.stop()
    assert result.path.name == "heard-2.wav"
    assert_heard(result, "tone 1000 [0.1..0.9]")


def test_nothing_of_a_crashed_server_is_left(cabin):
    with cabinaudio.Track("prompt") as track:
        track.start()
        cabin.crash()
    cabin.stop()
    assert not [name for name in os.listdir("/dev/shm") if cabin.instance in name]


def test_commands(cabin):
    assert cabin.state()["streams"] == []
    with pytest.raises(ServerError, match="stream remove nobody"):
        cabin.remove("nobody")
    with pytest.raises(ValueError, match="one line"):
        cabin.command("state\nstate")


@pytest.mark.parametrize(
    "options, error, text",
    [
        ({"time": "slow"}, ValueError, "lockstep"),
        ({"time": "real", "hold": 1}, ValueError, "lockstep"),
        ({"args": ["--louder"]}, ServerError, "louder"),
        ({"inputs": {"input0": "/nowhere.wav"}}, ServerError, "nowhere"),
    ],
)
def test_refuses_other_options(tmp_path, options, error, text):
    before = os.environ.get("CABINAUDIO_INSTANCE")
    with pytest.raises(error, match=text):
        Server(tmp_path, **options)
    assert os.environ.get("CABINAUDIO_INSTANCE") == before


def test_the_diagnostics_settings_of_the_user_are_kept_away(cabin_servers, monkeypatch):
    monkeypatch.setenv("CABINAUDIO_CONFIG_DIR", "/nowhere/of/the/user")
    server = cabin_servers()
    assert os.environ["CABINAUDIO_CONFIG_DIR"] == str(server.directory / "config")
    server.stop()
    assert os.environ["CABINAUDIO_CONFIG_DIR"] == "/nowhere/of/the/user"


def test_damages_one_reply(cabin):
    cabin.settings["volume.master"] = -20.0
    cabin.damage_reply("short-reply", "getMasterVolume")
    assert cabin.settings["volume.master"] != -20.0
    assert cabin.settings["volume.master"] == -20.0
    cabin.damage_reply("wrong-magic", "any")
    for _ in range(2):  # the library leaves the connection
        with pytest.raises(cabinaudio.AudioError, match="request not sent"):
            cabin.settings["volume.master"] = -10.0
    with pytest.raises(ServerError, match="dance"):
        cabin.damage_reply("short-reply", "dance")


def test_the_instance_is_that_of_the_latest_server(cabin_servers):
    before = os.environ.get("CABINAUDIO_INSTANCE")
    first, second = cabin_servers(), cabin_servers()
    assert os.environ["CABINAUDIO_INSTANCE"] == second.instance
    assert Server.current() is second
    second.stop()
    assert os.environ["CABINAUDIO_INSTANCE"] == first.instance
    first.stop()
    assert os.environ.get("CABINAUDIO_INSTANCE") == before
    assert first.stop() is first.stop()


def test_a_program_under_the_launcher(cabin, cabin_app, tmp_path):
    cabin.hold(1)
    sound = write_wav(tmp_path / "prompt.wav", PROMPT)
    tool = os.environ["CABINAUDIO_TEST_TOOL"]
    player = cabin_app([tool, "play", "--name", "nav", sound])
    assert player.wait() == 0, player.output
    failing = launch([tool, "play", "/nowhere.wav"], cabin)
    assert failing.wait() != 0 and "nowhere" in failing.output
    assert_heard(cabin, f"played nav={sound}")


def test_a_program_that_does_not_end(cabin):
    with launch([sys.executable, "-S", "-c", "import time; time.sleep(600)"], cabin) as program:
        with pytest.raises(TimeoutError, match="has not ended"):
            program.wait(0.01)
    assert program.wait() < 0
