# SPDX-License-Identifier: Apache-2.0
"""The installed schema, with a validator of the draft that it names."""

import json
import subprocess
import unittest

from surroundings import BIN, PREFIX, clean_environment

try:
    import jsonschema
except ImportError:
    jsonschema = None

# Each ends well or badly on its own, without a server.
_COMMANDS = [
    ["doctor"],
    ["version"],
    ["list"],
    ["describe", "volume.master"],
    ["get"],
    ["set", "volume.master=0dB"],
    ["monitor"],
    ["play", "/dev/null"],
    ["play", "--raw", "/dev/zero"],
    ["record", "--raw", "/dev/null"],
    ["check", "/dev/null", "silence"],
    ["check", "--live", "silence [0..1]"],
    ["server", "state"],
    ["server", "crash"],
    ["nonsense"],
]


@unittest.skipIf(jsonschema is None, "python3-jsonschema is not installed")
class Schema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        path = PREFIX / "share" / "cabinaudio" / "cabinaudio.schema.json"
        cls.schema = json.loads(path.read_text(encoding="utf-8"))
        cls.validator = jsonschema.Draft202012Validator(cls.schema)

    def test_is_a_schema(self):
        jsonschema.Draft202012Validator.check_schema(self.schema)

    def test_refuses_what_it_does_not_know(self):
        end = {"ended": "failed", "error": "no", "exit": 1}
        self.validator.validate(end)
        self.assertFalse(self.validator.is_valid({**end, "reason": 1}))

    def test_fits_what_every_command_prints(self):
        environment = clean_environment(CABINAUDIO_INSTANCE="schema-nobody")
        for command in _COMMANDS:
            with self.subTest(" ".join(command)):
                done = subprocess.run(
                    [BIN / "cabinaudio", *command, "--json"], stdin=subprocess.DEVNULL,
                    capture_output=True, text=True, timeout=60, check=False, env=environment)
                lines = done.stdout.splitlines()
                self.assertTrue(lines, done.stderr)
                for line in lines:
                    self.validator.validate(json.loads(line))


if __name__ == "__main__":
    unittest.main()
