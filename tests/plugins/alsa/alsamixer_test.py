# SPDX-License-Identifier: Apache-2.0
"""The screen of alsamixer, on a terminal that is only calculated."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

try:
    from terminal import Server, Terminal
except ImportError:
    Terminal = None

TOOL = os.environ["CABINAUDIO_TEST_TOOL"]
SERVER = os.environ["CABINAUDIO_TEST_SERVER"]
MODULE = os.environ["CABINAUDIO_TEST_MODULE"]
DEFINITIONS = os.environ["CABINAUDIO_TEST_DEFINITIONS"]
MUTED = "│MM│"


def tool(*words):
    return subprocess.run([TOOL, *words], check=True, stdout=subprocess.PIPE, text=True).stdout


@unittest.skipUnless(Terminal, "python3-pyte is not installed")
@unittest.skipUnless(shutil.which("alsamixer"), "alsamixer is not installed")
class Alsamixer(unittest.TestCase):
    def setUp(self):
        os.environ["CABINAUDIO_INSTANCE"] = f"alsamixer-{os.getpid()}"
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        os.environ["CABINAUDIO_CONFIG_DIR"] = directory.name
        self.configuration = pathlib.Path(directory.name) / "asound.conf"
        self.configuration.write_text(
            f"</usr/share/alsa/alsa.conf>\n<{DEFINITIONS}>\n"
            f'pcm_type.cabinaudio.lib "{MODULE}"\nctl_type.cabinaudio.lib "{MODULE}"\n')
        self.server = Server(SERVER)
        self.addCleanup(lambda: self.server.stop())
        self.mixer = Terminal(["alsamixer", "-D", "cabinaudio", "-V", "playback"],
                              ALSA_CONFIG_PATH=str(self.configuration))
        self.addCleanup(self.mixer.close)
        self.mixer.wait_for_text("Item: Master [dB gain: 0.00]")

    def processor_time(self):
        """Of the mixer so far, in seconds."""
        fields = pathlib.Path(f"/proc/{self.mixer.process.pid}/stat").read_text().split()
        return (int(fields[13]) + int(fields[14])) / os.sysconf("SC_CLK_TCK")

    def leave(self):
        self.mixer.press("\x1b")
        self.assertEqual(self.mixer.end(), 0)

    def test_shows_the_servers_controls(self):
        for text in ("Card: Cabin audio server", "< Master >", "Auxiliar", "Alternat"):
            self.mixer.wait_for_text(text)
        self.leave()

    def test_shows_a_change_by_another_client_within_a_second(self):
        tool("set", "volume.master=-6dB")
        begin = time.monotonic()
        self.mixer.wait_for_text("Item: Master [dB gain: -6.00]")
        self.assertLess(time.monotonic() - begin, 1)
        tool("set", "mute.main=on")
        begin = time.monotonic()
        self.mixer.wait_for_text(MUTED)
        self.assertLess(time.monotonic() - begin, 1)
        self.leave()

    def test_keys_change_the_servers_settings(self):
        self.mixer.press("-m")
        self.mixer.wait_for_text(MUTED)
        self.assertEqual(tool("get", "mute.main"), "mute.main=on\n")
        self.assertNotEqual(tool("get", "volume.master"), "volume.master=0dB\n")
        self.leave()

    def test_goes_on_with_the_next_server(self):
        self.server.process.send_signal(signal.SIGKILL)
        self.server.process.wait()
        before = self.processor_time()
        time.sleep(0.6)  # looks for a server meanwhile
        self.assertLess(self.processor_time() - before, 0.03)
        self.server = Server(SERVER)
        tool("set", "volume.master=-9dB")
        self.mixer.wait_for_text("Item: Master [dB gain: -9.00]")
        self.leave()


if __name__ == "__main__":
    unittest.main()
