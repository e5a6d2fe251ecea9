# SPDX-License-Identifier: Apache-2.0
"""The examples do what they say, with the development server."""

import array
import json
import math
import os
import re
import select
import signal
import subprocess
import threading
import time
import unittest
import wave

from surroundings import BUILT, LAUNCHER, LIBDIR, MOVED, SERVER, TOOL, VERSION, \
    clean_environment, fresh_directory

# Nothing here takes as long on an idle machine.
BOUND = 180  # seconds

# Of one test program: servers and clients of other tests stay apart.
INSTANCE = f"consumer-{os.getpid()}"
ENVIRONMENT = clean_environment(CABINAUDIO_INSTANCE=INSTANCE)


class Child:
    """A process whose output is collected while it runs."""

    def __init__(self, *command, **more):
        self._process = subprocess.Popen(
            [str(word) for word in command], env=ENVIRONMENT, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **more)
        self._change = threading.Condition()
        self._text = {"out": "", "err": ""}
        self._readers = [
            threading.Thread(target=self._collect, args=(name, pipe), daemon=True)
            for name, pipe in (("out", self._process.stdout), ("err", self._process.stderr))]
        for reader in self._readers:
            reader.start()

    def _collect(self, name, pipe):
        for line in pipe:
            with self._change:
                self._text[name] += line
                self._change.notify_all()
        pipe.close()

    @property
    def out(self):
        with self._change:
            return self._text["out"]

    @property
    def err(self):
        with self._change:
            return self._text["err"]

    def wait_for(self, text, times=1, where="out"):
        """Waits until it has printed the text so many times."""
        with self._change:
            has_come = self._change.wait_for(lambda: self._text[where].count(text) >= times, BOUND)
        if not has_come:
            raise AssertionError(f"no {text!r}: {self.out}\n{self.err}")

    def send(self, number):
        self._process.send_signal(number)

    def end(self, bound=BOUND):
        """Waits for its end. Returns the exit status; -N for signal N."""
        try:
            status = self._process.wait(bound)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
            raise AssertionError(f"had to be killed: {self.out}\n{self.err}") from None
        finally:
            for reader in self._readers:
                reader.join(BOUND)
        return status

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self._process.poll() is None:
            self._process.kill()
        self._process.wait()
        for reader in self._readers:
            reader.join(BOUND)


class Server(Child):
    """The development server; serves when the constructor returns."""

    def __init__(self, *options):
        ready, signalled = os.pipe()
        super().__init__(SERVER, "--ready-fd", signalled, *options, pass_fds=[signalled])
        os.close(signalled)
        has_come = select.select([ready], [], [], BOUND)[0] and os.read(ready, 64)
        os.close(ready)
        if not has_come:
            self.send(signal.SIGKILL)
            raise AssertionError(f"no server: {self.err}")

    @staticmethod
    def command(*words):
        return subprocess.run([TOOL, "server", *words], env=ENVIRONMENT, check=True, timeout=BOUND,
                              stdout=subprocess.PIPE, text=True).stdout

    def wait_for_sound(self):
        """Waits until a stream has carried a fifth of a second."""
        end = time.monotonic() + BOUND
        while time.monotonic() < end:
            streams = json.loads(self.command("state", "--json"))["streams"]
            if any(stream["frames"] >= stream["rate_hz"] / 5 for stream in streams):
                return
            time.sleep(0.05)
        raise AssertionError(f"no sound: {streams}")

    def stop(self):
        self.send(signal.SIGTERM)
        return self.end()

    def die(self):
        self.send(signal.SIGKILL)
        self.end()


def example(name, *arguments):
    """Starts an example. Its config directory is this test program's own."""
    board = MOVED / LIBDIR / "cabinaudio" / "libcabinaudio-board.so"
    return Child(LAUNCHER, "--board-lib", board, "--config-dir", WORK / "config", "--timeout", BOUND,
                 "--", BUILT / name, *arguments)


class Result:
    """What an example that ran to its end has left."""

    def __init__(self, name, *arguments):
        with example(name, *arguments) as process:
            self.status = process.end()
        self.out = process.out
        self.err = process.err

    def __str__(self):
        return f"status {self.status}\n{self.out}{self.err}"


class Sound:
    """The first channel of a WAV file of 16 bits."""

    def __init__(self, path):
        with wave.open(str(path)) as file:
            assert file.getsampwidth() == 2, file.getparams()
            self.rate = file.getframerate()
            self.channels = file.getnchannels()
            self.frames = file.getnframes()
            samples = array.array("h", file.readframes(self.frames))
        self.samples = samples[::self.channels]

    def level(self, hz):
        """Amplitude of one frequency, of 32768, in the twentieth of a second that has most of it:
        on a busy machine sound has gaps."""
        loud = self._loud()
        size = self.rate // 20
        step = 2 * math.pi * hz / self.rate
        most = 0.0
        for at in range(0, len(loud) - size + 1, size):
            piece = loud[at:at + size]
            real = sum(sample * math.cos(step * i) for i, sample in enumerate(piece))
            imaginary = sum(sample * math.sin(step * i) for i, sample in enumerate(piece))
            most = max(most, 2 * math.hypot(real, imaginary) / size)
        return most

    def loud_frames(self):
        return len(self._loud())

    def _loud(self):
        """From the first frame with sound to the last one."""
        places = [i for i, sample in enumerate(self.samples) if abs(sample) > 100]
        return self.samples[places[0]:places[-1] + 1] if places else []


class ExampleTest(unittest.TestCase):
    """Base of the classes below."""

    @classmethod
    def setUpClass(cls):
        global WORK
        WORK = fresh_directory(f"run-{cls.__name__}")

    @classmethod
    def tearDownClass(cls):
        subprocess.run([LAUNCHER, "--instance", INSTANCE, "--clean"], check=True)

    def assert_ended(self, result, status, said=""):
        self.assertEqual(result.status, status, str(result))
        self.assertIn(said, result.out if status == 0 else result.err, str(result))

    def assert_usage(self, name, *wrong):
        for arguments in wrong:
            self.assert_ended(Result(name, *arguments), 2, f"usage: {name}")


class Play(ExampleTest):
    def testPlaysToTheVeryEnd(self):
        heard = WORK / "heard.wav"
        # As fast as it is written: however busy this machine is, the sound has no gaps.
        with Server("--output", f"wav:{heard}", "--fast") as server:
            self.assert_ended(Result("play", 1000, 0.5), 0, "played 0.5 s of 1000 Hz")
            self.assertEqual(server.stop(), 0, server.err)
        sound = Sound(heard)
        self.assertAlmostEqual(sound.loud_frames(), sound.rate / 2, delta=60)
        self.assertGreater(sound.level(1000), 7000)

    def testShowsTheLibrarysLogOnlyIfAsked(self):
        with Server("--output", "null", "--fast"):
            quiet = Result("play", 440, 0.1)
            self.assert_ended(quiet, 0, "played 0.1 s of 440 Hz")
            self.assertEqual(quiet.err, "")
            shown = Result("play", "-v", 440, 0.1)
            self.assert_ended(shown, 0, "played 0.1 s of 440 Hz")
            self.assertRegex(shown.err, r"(?m)^AS +I ")

    def testSaysThatThereIsNoServer(self):
        result = Result("play")
        self.assert_ended(result, 3, "play: cannot create the stream: no server")
        self.assertEqual(result.err.count("\n"), 1, result.err)

    def testSaysThatTheServerHasGone(self):
        with Server("--output", "null") as server, example("play", 440, 3600) as player:
            server.wait_for_sound()
            server.die()
            self.assertEqual(player.end(), 3, player.err)
            self.assertIn("play: cannot", player.err)

    def testRefusesWhatItCannotPlay(self):
        self.assert_usage("play", ["-1"], ["440", "0"], ["x"], ["1", "2", "3"])


class Record(ExampleTest):
    def testRecordsTheInput(self):
        with Server("--output", "null", "--input", "input0=tone:440"):
            result = Result("record", WORK / "input.wav", 1)
        self.assert_ended(result, 0, "recorded 1.00 s, peak -")
        sound = Sound(WORK / "input.wav")
        self.assertEqual((sound.rate, sound.channels, sound.frames), (48000, 2, 48000))
        self.assertGreater(sound.level(440), 1000)
        self.assertLess(sound.level(660), 0.1 * sound.level(440))

    def testLeavesAnOldFileAloneWithoutAServer(self):
        old = WORK / "old.wav"
        old.write_text("precious", encoding="utf-8")
        self.assert_ended(Result("record", old), 3, "record: cannot create the stream: no server")
        self.assertEqual(old.read_text(encoding="utf-8"), "precious")

    def testKeepsWhatItHasWhenTheServerGoes(self):
        file = WORK / "cut.wav"
        with Server("--output", "null") as server, example("record", file, 3600) as recorder:
            end = time.monotonic() + BOUND
            while not (file.exists() and file.stat().st_size > 10000):
                self.assertLess(time.monotonic(), end, recorder.err)
                time.sleep(0.05)
            server.die()
            self.assertEqual(recorder.end(), 3, recorder.err)
        sound = Sound(file)
        self.assertEqual(44 + 4 * sound.frames, file.stat().st_size)
        self.assertGreater(sound.frames, 2000)

    def testSaysThatTheFileCannotBeWritten(self):
        with Server("--output", "null"):
            self.assert_ended(Result("record", WORK / "none" / "x.wav"), 1, "No such file")

    def testAsksForAFile(self):
        self.assert_usage("record", [], ["a.wav", "0"], ["a.wav", "1", "2"])


class Settings(ExampleTest):
    def show(self):
        result = Result("settings")
        self.assert_ended(result, 0)
        return result.out

    def testShowsWhatItHasSet(self):
        with Server("--output", "null"):
            self.assertIn("master +0.0 dB, step 100 of 148\n", self.show())
            self.assert_ended(Result("settings", "master", "-6"), 0)
            self.assertIn("master -6.0 dB, step 88 of 148\n", self.show())
            self.assertIn("type media +0.0 dB\n", self.show())
            self.assert_ended(Result("settings", "media", "-12.5"), 0)
            self.assertIn("type media -12.5 dB\n", self.show())

    def testMutesAPath(self):
        with Server("--output", "null"):
            self.assertNotIn("muted", self.show())
            self.assert_ended(Result("settings", "mute", "main"), 0)
            self.assertIn("path main muted\n", self.show())
            self.assertEqual(self.show().count("muted"), 1)
            self.assert_ended(Result("settings", "unmute", "main"), 0)
            self.assertNotIn("muted", self.show())

    def testSaysWhatIsOutOfRange(self):
        with Server("--output", "null"):
            self.assert_ended(Result("settings", "master", "24.5"), 1, "master: out of range")
            self.assert_ended(Result("settings", "mute", "roof"), 1, "mute: out of range")
            self.assert_ended(Result("settings", "media", "-110"), 1, "media: out of range")

    def testSaysThatThereIsNoServer(self):
        self.assert_ended(Result("settings"), 3, "settings: master: no server")
        self.assert_ended(Result("settings", "master", "-6"), 3, "settings: master: no server")

    def testAsksForANumber(self):
        self.assert_usage("settings", ["master"], ["master", "loud"], ["master", "-6dB"])


class Reconnect(ExampleTest):
    def testPlaysThroughOneServerAfterTheOther(self):
        with example("reconnect") as player:
            with Server("--output", "null") as server:
                player.wait_for("playing from 0.00 s\n")
                server.wait_for_sound()
                server.die()
            player.wait_for("server lost\n")
            heard = WORK / "heard.wav"
            with Server("--output", f"wav:{heard}") as server:
                player.wait_for("playing from", times=2)
                server.wait_for_sound()
                player.send(signal.SIGINT)
                self.assertEqual(player.end(), 0, player.err)
                server.stop()
        sound = Sound(heard)
        self.assertGreater(sound.level(440), 7000)
        lines = player.out.splitlines()
        self.assertEqual(len(lines), 4, player.out)
        places = [float(re.search(r"([0-9.]+) s$", line)[1]) for line in lines if " s" in line]
        self.assertEqual(places, sorted(places), player.out)
        self.assertGreater(places[-1], places[0], player.out)

    def testEndsByTheUserWithoutAServer(self):
        with example("reconnect", "-v") as player:
            player.wait_for("connect failed", where="err")  # from the library's log
            player.send(signal.SIGTERM)
            self.assertEqual(player.end(), 0, player.err)
            self.assertEqual(player.out, "interrupted at 0.00 s\n")

    def testTakesNoArguments(self):
        self.assert_usage("reconnect", ["10"])


class ReconnectWithoutEnd(ExampleTest):
    """What takes half a minute."""

    def testGivesUpWithoutAServer(self):
        self.assert_ended(Result("reconnect"), 3, "reconnect: no server")

    def testGivesUpWhenTheServerNeverAnswers(self):
        with Server("--output", "null") as server:
            server.send(signal.SIGSTOP)
            result = Result("reconnect")
            server.send(signal.SIGCONT)
        self.assert_ended(result, 3, "reconnect: no server")


class Uplink(ExampleTest):
    def packets(self, file):
        """Lengths of the packets in the file; the framing has to come out even."""
        lengths, rest = self.complete_packets(file)
        self.assertEqual(rest, 0)
        return lengths

    @staticmethod
    def complete_packets(file):
        """Lengths of the packets in a file that may be written just now, and what is left."""
        data = file.read_bytes() if file.exists() else b""
        lengths = []
        at = 0
        while at + 8 <= len(data):
            length = int.from_bytes(data[at:at + 4], "big")
            if at + 8 + length > len(data):
                break
            at += 8 + length
            lengths.append(length)
        return lengths, len(data) - at

    def wait_for_packets(self, file, like):
        """Waits until the silent ones (-) and the others (#) are as the expression says."""
        end = time.monotonic() + BOUND
        while time.monotonic() < end:
            lengths, _ = self.complete_packets(file)
            heard = "".join("-" if length == 3 else "#" for length in lengths)
            if re.search(like, heard):
                return
            time.sleep(0.05)
        raise AssertionError(f"no {like}: {heard}")

    def testTakesSpeech(self):
        file = WORK / "call.packets"
        with Server("--output", "null", "--input", "uplink=tone:440"):
            result = Result("uplink", file, 4)
        self.assert_ended(result, 0, "took 200 packets, ")
        silent = int(re.search(r", (\d+) of them silent", result.out)[1])
        lengths = self.packets(file)
        self.assertEqual(len(lengths), 200)
        self.assertEqual(len([length for length in lengths if length == 3]), silent)
        self.assertLess(silent, 200)

    def testTakesSilenceInRealTimeWhileTheWayIsClosed(self):
        file = WORK / "silence.packets"
        with Server("--output", "null", "--uplink-delay", "never"):
            began = time.monotonic()
            self.assert_ended(Result("uplink", file, 1), 0, "took 50 packets, 50 of them silent")
            self.assertGreater(time.monotonic() - began, 0.9)
        self.assertEqual(self.packets(file), 50 * [3])

    def testGoesOnWhileTheWayIsClosedAndOpened(self):
        file = WORK / "on-and-off.packets"
        with Server("--output", "null", "--input", "uplink=tone:440") as server, \
                example("uplink", file, 3600):
            self.wait_for_packets(file, "#$")
            server.command("uplink", "ring", "off")
            self.wait_for_packets(file, "#-+$")
            server.command("uplink", "ring", "on")
            self.wait_for_packets(file, "#-+#")

    def testSaysThatTheServerHasGone(self):
        with Server("--output", "null") as server, \
                example("uplink", WORK / "cut.packets", 3600) as recorder:
            server.wait_for_sound()
            server.die()
            self.assertEqual(recorder.end(), 3, recorder.err)
            self.assertIn("uplink: cannot", recorder.err)

    def testSaysThatThereIsNoServer(self):
        self.assert_ended(Result("uplink", WORK / "none"), 3,
                          "uplink: cannot create the stream: no server")
        self.assertFalse((WORK / "none").exists())

    def testAsksForAFile(self):
        self.assert_usage("uplink", [], ["a", "0"], ["a", "1", "2"])


class Diagnostics(ExampleTest):
    def testHasACopyOfWhatIsPlayed(self):
        dumps = WORK / "dumps"
        with Server("--output", "null", "--fast"):
            self.assertNotIn("dump", Result("diagnostics").out)
            self.assert_ended(Result("diagnostics", "dump", "auxiliary", dumps), 0)
            self.assertIn(f"dump auxiliary {dumps}\n", Result("diagnostics").out)
            self.assert_ended(Result("play", 440, 0.25), 0)
            (file,) = dumps.glob("auxiliary_play-*_client_*.pcm")
            self.assertEqual(file.stat().st_size, 48000 * 2 // 4)
            samples = array.array("h", file.read_bytes())
            self.assertGreater(max(samples), 7900)

            self.assert_ended(Result("diagnostics", "off"), 0)
            self.assertNotIn("dump", Result("diagnostics").out)
            self.assert_ended(Result("play", 440, 0.25), 0)
            self.assertEqual(list(dumps.iterdir()), [file])

    def testTellsBothVersions(self):
        with Server("--output", "null"):
            result = Result("diagnostics")
        self.assert_ended(result, 0, f"library {VERSION}\n")
        self.assertRegex(result.out, rf"server {re.escape(VERSION)}, answered after \d+ us\n")

    def testTellsTheLibrarysWithoutAServer(self):
        result = Result("diagnostics")
        self.assert_ended(result, 3, "diagnostics: no server")
        self.assertEqual(result.out, f"library {VERSION}\n")

    def testRefusesWhatCannotBeDumped(self):
        self.assert_ended(Result("diagnostics", "dump", "roof", "/tmp"), 2, "no tag is called roof")
        self.assert_ended(Result("diagnostics", "dump", "main", "here"), 2, "no absolute path: here")
        self.assert_usage("diagnostics", ["dump"], ["on"], ["off", "now"])


if __name__ == "__main__":
    unittest.main()
