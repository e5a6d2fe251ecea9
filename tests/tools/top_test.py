# SPDX-License-Identifier: Apache-2.0
"""The screen of `cabinaudio top`, on a terminal that is only calculated."""

import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

try:
    from terminal import Server, Terminal, write_tone
    from top_picture import svg
except ImportError:
    Terminal = None

TOOL = os.environ["CABINAUDIO_TEST_TOOL"]
SERVER = os.environ["CABINAUDIO_TEST_SERVER"]


def tool(*words):
    return subprocess.run([TOOL, *words], check=True, stdout=subprocess.PIPE, text=True).stdout


def names(lines):
    """The first words of the table's rows."""
    start = next(i for i, line in enumerate(lines) if line.startswith("NAME"))
    rows = []
    for line in lines[start + 1:]:
        if not line:
            break
        rows.append(line.split()[0])
    return rows


@unittest.skipUnless(Terminal, "python3-pyte is not installed")
class TopScreen(unittest.TestCase):
    def setUp(self):
        os.environ["CABINAUDIO_INSTANCE"] = f"top-screen-{os.getpid()}"
        os.environ.pop("NO_COLOR", None)
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        os.environ["CABINAUDIO_CONFIG_DIR"] = directory.name
        self.sound = pathlib.Path(directory.name) / "tone.wav"
        write_tone(self.sound)
        self.server = None
        self.serve()
        self.addCleanup(lambda: self.server.stop())

    def serve(self):
        self.server = Server(SERVER)

    def play(self, name, tag="auxiliary"):
        player = subprocess.Popen([TOOL, "play", "--tag", tag, "--name", name, self.sound],
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(player.wait)
        self.addCleanup(player.kill)

    def top(self, *options, **surroundings):
        terminal = Terminal([TOOL, "top", "--interval", "20", *options], **surroundings)
        self.addCleanup(terminal.close)
        return terminal

    def expect_restored(self, terminal):
        self.assertEqual(terminal.modes(), terminal.modes_before)
        # Back from the other screen, with a cursor.
        self.assertGreater(terminal.received.rfind(b"\x1b[?1049l"),
                           terminal.received.rfind(b"\x1b[?1049h"))
        self.assertGreater(terminal.received.rfind(b"\x1b[?25h"),
                           terminal.received.rfind(b"\x1b[?25l"))

    def test_shows_streams_and_levels_in_80_columns(self):
        self.play("radio", "main")
        top = self.top()
        # The bottom line is the last one that is drawn.
        lines = top.wait_for(lambda lines: lines[-1] and any(
            re.match(r"radio +\d+ main +active +0\.0 +-12\.\d █+", line) for line in lines))
        self.assertRegex(lines[0], r"^cabinaudio top  \d\d:\d\d:\d\d  mix \d+\.\d % of 16\.0 ms")
        self.assertTrue(any(re.match(r"  LF    -1\d\.\d dB █+", line) for line in lines), lines)
        self.assertIn("q quit", lines[-1])

    def test_keys_change_the_selected_streams_volume(self):
        self.play("radio", "main")
        top = self.top()
        top.wait_for_text("radio")
        top.press("---")
        top.wait_for_text("track -3.0")
        self.assertEqual(tool("get", "volume.track.main.radio"), "volume.track.main.radio=-3dB\n")
        top.press("m")
        top.wait_for(lambda lines: any(
            re.match(r"radio .* silent +silent .*volume\.tr", line) for line in lines))
        top.press("m")
        top.wait_for_text("volume.track.main.radio=-3dB")
        top.wait_for_text("track -3.0")
        tool("set", "mute.main=on")
        top.wait_for_text("mute.main")
        top.press("m")
        top.wait_for_text("mute.main=off")
        self.assertEqual(tool("get", "mute.main"), "mute.main=off\n")

    def test_keys_sort_and_select(self):
        self.play("beta", "auxiliary")
        self.play("alpha", "alternative")
        top = self.top()
        top.wait_for(lambda lines: "NAME" in " ".join(lines) and names(lines) == ["alpha", "beta"])
        top.press("N")
        top.wait_for(lambda lines: names(lines) == ["beta", "alpha"])
        tool("set", "volume.track.auxiliary.beta=-20dB")
        top.press("L")
        top.wait_for(lambda lines: names(lines) == ["alpha", "beta"])
        top.press("\x1b[B")  # the cursor key
        top.wait_for_text("beta: track of process")
        top.press("h")
        top.wait_for_text("sort by")

    def test_keys_withdraw_and_activate_a_sink(self):
        self.play("radio", "main")
        top = self.top()
        top.wait_for_text("radio")
        top.press("w")
        top.wait_for_text("source withdraw radio: ok")
        top.wait_for_text("no source")
        top.press("a")
        top.wait_for_text("source activate radio: ok")

    def test_follows_the_terminals_size(self):
        self.play("radio")
        top = self.top()
        top.wait_for_text("radio")
        self.assertFalse(any("PROGRAM" in line for line in top.lines()))
        top.resize(150, 12)
        lines = top.wait_for(lambda lines: any("PROGRAM" in line for line in lines)
                             and "q quit" in lines[-1])
        self.assertEqual(len(lines), 12)
        top.resize(30, 4)
        top.wait_for(lambda lines: lines[0].startswith("cabinaudio top")
                     and lines[0].endswith("…"))

    def test_waits_for_a_server_that_goes(self):
        top = self.top()
        top.wait_for_text("no streams")
        self.server.stop()
        top.wait_for(lambda lines: re.search(
            r"waiting for the server since \d\d:\d\d:\d\d", lines[0]) is not None)
        self.serve()
        top.wait_for_text("no streams")
        top.press("q")
        self.assertEqual(top.end(), 0)

    def test_leaves_the_terminal_as_it_was(self):
        for how in ("q", "\x03", signal.SIGTERM, signal.SIGHUP):
            with self.subTest(how):
                top = self.top(TERM="screen-256color")  # has a second screen
                top.wait_for_text("no streams")
                self.assertNotEqual(top.modes(), top.modes_before)
                if isinstance(how, str):
                    top.press(how)
                else:
                    top.process.send_signal(how)
                self.assertEqual(top.end(), 0)
                self.expect_restored(top)

    def test_draws_with_ascii_where_the_locale_has_no_more(self):
        self.play("Навигация")
        top = self.top(LC_ALL="C")
        lines = top.wait_for(lambda lines: any(
            re.match(r"\?{9} .*-12\.\d =+\.", line) for line in lines))
        self.assertTrue(all(line.isascii() for line in lines))

    def test_obeys_no_foreign_name(self):
        self.play("\x1b]0;owned\x07")
        top = self.top()
        top.wait_for_text("\\x1b]0;")
        self.assertEqual(top.screen.title, "")

    def test_is_drawn_as_a_picture(self):
        self.play("radio", "main")
        top = self.top()
        top.wait_for_text("radio")
        drawn = svg(top.screen)
        words = "".join(xml.etree.ElementTree.fromstring(drawn).itertext())
        self.assertIn("cabinaudio\xa0top", words)
        self.assertIn("radio", words)

    def test_refuses_a_terminal_that_cannot_place_its_cursor(self):
        for kind in ("dumb", "no-such-terminal", ""):
            with self.subTest(kind):
                top = self.top(TERM=kind)
                self.assertEqual(top.end(), 1)
                self.assertRegex(" ".join(top.lines()), "cannot place its cursor; set TERM")
                self.assertEqual(top.modes(), top.modes_before)


if __name__ == "__main__":
    unittest.main()
