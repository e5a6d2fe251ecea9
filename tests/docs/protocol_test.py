# SPDX-License-Identifier: Apache-2.0
"""What is generated from the catalogue: that it is that of the catalogue."""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from surroundings import SOURCE

MAKER = "devkit/protocol/generate.py"
READ = [MAKER, "docs/protocol.md", "wire/SettingRecords.h", "wire/Settings.h"]


def check(root):
    """Exit status of the comparison."""
    return subprocess.run([sys.executable, root / MAKER, "--check"], stderr=subprocess.DEVNULL,
                          check=False).returncode


class ProtocolTables(unittest.TestCase):
    def test_are_those_of_the_catalogue(self):
        self.assertEqual(check(SOURCE), 0, f"run {MAKER}")

    def changed(self, name, before, after):
        """The outcome with one change of one file."""
        with tempfile.TemporaryDirectory() as directory:
            root = Path(directory)
            for path in READ:
                (root / path).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(SOURCE / path, root / path)
            self.assertEqual(check(root), 0)
            text = (root / name).read_text(encoding="utf-8")
            self.assertIn(before, text)
            (root / name).write_text(text.replace(before, after, 1), encoding="utf-8")
            return check(root)

    def test_differ_when_a_function_changes(self):
        for name, before, after in [
                ("wire/Settings.h", "GetMasterRamp = 45", "GetMasterRamp = 46"),
                ("wire/SettingRecords.h", "float up;", "float rise;"),
                ("wire/Settings.h", '"ducking mode"}', '"ducking mode", NO_FLAG}'),
                ("wire/Settings.h", "SetSpeakerDelay, ChannelNumberRequest",
                 "SetSpeakerDelay, TwoNumbersRequest"),
                ("docs/protocol.md", "| `mute` | mutes paths |", "| `mute` | mutes a path |")]:
            with self.subTest(after):
                self.assertNotEqual(self.changed(name, before, after), 0)


if __name__ == "__main__":
    unittest.main()
