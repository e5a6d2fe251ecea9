# SPDX-License-Identifier: Apache-2.0
"""What is generated from the catalogue: that it is that of the catalogue."""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from surroundings import SOURCE

MAKERS = SOURCE / "devkit" / "protocol"
MAKER = "devkit/protocol/generate.py"
sys.path.insert(0, str(MAKERS))
import generate  # noqa: E402  (of devkit/protocol)
import records  # noqa: E402

MADE = ["docs/protocol.md", "devkit/trace/WireFields.cpp", "devkit/wireshark/cabinaudio.lua"]
READ = [*MADE, *records.HEADERS.values()]


def check(root):
    """How the command in a tree ends."""
    return subprocess.run([sys.executable, root / MAKER, "--check"], stderr=subprocess.PIPE,
                          text=True, check=False)


def copy(root, paths):
    for path in paths:
        (root / path).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(SOURCE / path, root / path)


class GeneratedFiles(unittest.TestCase):
    def test_are_those_of_the_catalogue(self):
        self.assertEqual(check(SOURCE).returncode, 0, f"run {MAKER}")

    def changed(self, name, before, after):
        """The files that do not match after one change of one file."""
        with tempfile.TemporaryDirectory() as directory:
            root = Path(directory)
            copy(root, READ)
            text = (root / name).read_text(encoding="utf-8")
            self.assertIn(before, text)
            (root / name).write_text(text.replace(before, after, 1), encoding="utf-8")
            return list(generate.outdated(root))

    def test_are_compared_and_made_by_the_command(self):
        with tempfile.TemporaryDirectory() as directory:
            root = Path(directory)
            copy(root, [*READ, *(f"devkit/protocol/{path.name}" for path in MAKERS.glob("*.py"))])
            fields = root / "devkit/trace/WireFields.cpp"
            fields.write_text("other")
            done = check(root)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr, rf"^devkit/trace/WireFields.cpp is not .*{MAKER}\n$")
            subprocess.run([sys.executable, root / MAKER], check=True)
            self.assertEqual(check(root).returncode, 0)
            self.assertEqual(fields.read_bytes(),
                             (SOURCE / "devkit/trace/WireFields.cpp").read_bytes())

    def test_differ_when_a_function_changes(self):
        for name, before, after, stale in [
                ("wire/Settings.h", "GetMasterRamp = 45", "GetMasterRamp = 46", MADE),
                ("wire/SettingRecords.h", "float up;", "float rise;", MADE),
                ("wire/Settings.h", '"ducking mode"}', '"ducking mode", NO_FLAG}', MADE),
                ("wire/Settings.h", "SetSpeakerDelay, ChannelNumberRequest",
                 "SetSpeakerDelay, TwoNumbersRequest", MADE),
                ("wire/Stream.h", "SetKeyShift = 22", "SetKeyShift = 23", MADE[1:]),
                ("wire/StreamOperations.h", '"setKeyShift"', '"shiftKey"', MADE[1:]),
                ("wire/Stream.h", "RingReady = 3", "RingReady = 6", MADE[1:]),
                ("wire/Stream.h", "// 16  ms; capture", "// 16  us; capture", MADE[1:]),
                ("include/cabinaudio/foundation/AudioStatus.h", "AUDIO_TIMED_OUT = -2000",
                 "AUDIO_TIMED_OUT = -2001", MADE[1:]),
                ("docs/protocol.md", "| `mute` | mutes paths |", "| `mute` | mutes a path |",
                 MADE[:1]),
                ("devkit/trace/WireFields.cpp", '"dB"', '"dBm"', MADE[1:2]),
                ("devkit/wireshark/cabinaudio.lua", 'unit = "dB"', 'unit = "dBm"', MADE[2:])]:
            with self.subTest(after):
                self.assertEqual(self.changed(name, before, after), stale)

    def test_are_not_made_from_records_that_contradict_themselves(self):
        for name, before, after, complaint in [
                ("wire/SettingRecords.h", "float down;                  // 8",
                 "float down;                  // 12", "RampRequest::down is at 8, not at 12"),
                ("wire/SettingRecords.h", "sizeof(RampReply) == 12", "sizeof(RampReply) == 16",
                 "RampReply has 12 bytes, its assertion says 16"),
                ("wire/SettingRecords.h", "    std::uint8_t spare5[3] = {};  // 5\n", "",
                 "StepRequest has unnamed bytes at its end"),
                ("wire/Stream.h", "    float key;", "    double* key;",
                 "KeyShiftRequest has a field that is not understood")]:
            with self.subTest(complaint):
                with self.assertRaises(records.NotUnderstood) as raised:
                    self.changed(name, before, after)
                self.assertIn(complaint, str(raised.exception))


if __name__ == "__main__":
    unittest.main()
