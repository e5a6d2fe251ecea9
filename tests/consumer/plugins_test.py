# SPDX-License-Identifier: Apache-2.0
"""Programs that know nothing of the library play to it, record from it and set its volume through
the plug-ins of an installed tree which had been moved: without the launcher."""

import random
import shutil
import unittest
import wave

from examples_test import BOUND, Child, ExampleTest, Server, Sound
from surroundings import LIBDIR, MOVED, fresh_directory

RATE = 48000


class PlugIn(ExampleTest):
    """Base of the classes below."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.work = fresh_directory(f"plugin-{cls.__name__}")
        generator = random.Random(1)
        cls.samples = generator.randbytes(RATE * 2)  # half a second in stereo
        cls.file = cls.work / "sound.wav"
        with wave.open(str(cls.file), "wb") as file:
            file.setparams((2, 2, RATE, 0, "NONE", None))
            file.writeframes(cls.samples)

    def run_program(self, *command, **variables):
        variables["CABINAUDIO_CONFIG_DIR"] = self.work
        names = {name: str(value) for name, value in variables.items()}
        with Child("env", *(f"{name}={value}" for name, value in names.items()), *command) as child:
            status = child.end(BOUND)
        self.assertEqual(status, 0, f"{command}\n{child.out}{child.err}")
        return child.out

    def assert_heard(self, play):
        """All that play() plays comes out, byte by byte."""
        heard = self.work / "heard.wav"
        with Server("--output", f"wav:{heard}", "--fast") as server:
            play()
            self.assertEqual(server.stop(), 0, server.err)
        with wave.open(str(heard)) as file:
            self.assertEqual((file.getnchannels(), file.getsampwidth()), (2, 2))
            sound = file.readframes(file.getnframes())
        place = sound.find(self.samples)
        self.assertTrue(place >= 0 and place % 4 == 0, f"not heard as played: {place}")


ALSA_MODULES = MOVED / LIBDIR / "alsa-lib"
ALSA_DEFINITIONS = MOVED / "share" / "alsa" / "alsa.conf.d"


@unittest.skipUnless(shutil.which("aplay"), "aplay is not installed")
class Alsa(PlugIn):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # A file of its own: alsa-lib takes blanks in the variable for the ends of file names. Without
        # alsa.conf, which calls modules that are not in ALSA_PLUGIN_DIR.
        cls.configuration = cls.work / "asound.conf"
        cls.configuration.write_text(
            "".join(f"<{file}>\n" for file in sorted(ALSA_DEFINITIONS.iterdir())), encoding="utf-8")

    def run_program(self, *command):
        return super().run_program(*command, ALSA_CONFIG_PATH=self.configuration,
                                   ALSA_PLUGIN_DIR=ALSA_MODULES)

    def testPlaysToEveryTag(self):
        for device in ("cabinaudio", "cabinaudio:auxiliary", "cabinaudio:alternative"):
            with self.subTest(device=device):
                self.assert_heard(lambda: self.run_program("aplay", "-q", "-D", device, self.file))

    def testRecords(self):
        recorded = self.work / "recorded.wav"
        with Server("--output", "null", "--input", "input0=tone:440"):
            self.run_program("arecord", "-q", "-D", "cabinaudio", "-f", "dat", "-d", "1", recorded)
        self.assertGreater(Sound(recorded).level(440), 7000)

    def testSetsVolumes(self):
        with Server("--output", "null"):
            printed = self.run_program("amixer", "-D", "cabinaudio", "sset", "Master", "6dB-")
        self.assertIn("[-6.00dB]", printed)


@unittest.skipUnless(shutil.which("gst-launch-1.0"), "gst-launch-1.0 is not installed")
class GStreamer(PlugIn):
    def run_program(self, *command):
        return super().run_program(*command, GST_REGISTRY=self.work / "registry",
                                   GST_PLUGIN_PATH=MOVED / LIBDIR / "gstreamer-1.0")

    def testPlaysToEveryTag(self):
        for tag in ("default", "auxiliary", "alternative"):
            with self.subTest(tag=tag):
                self.assert_heard(lambda: self.run_program(
                    "gst-launch-1.0", "-q", "filesrc", f"location={self.file}", "!", "wavparse",
                    "!", "cabinaudiosink", f"tag={tag}"))


if __name__ == "__main__":
    unittest.main()
