# SPDX-License-Identifier: Apache-2.0
"""What a zsh completes of the tool's command lines: a real one, on a terminal of its own."""

import os
import pty
import re
import select
import shutil
import signal
import subprocess
import time
import unittest

from surroundings import BIN, PREFIX, clean_environment, fresh_directory

_FUNCTIONS = PREFIX / "share" / "zsh" / "site-functions"
_BOUND = 60  # seconds

# Writes what it would offer, each with the marks around it, instead of offering it.
_SETUP = r"""
PS1= PS2= RPS1=
unsetopt zle_bracketed_paste prompt_sp prompt_cr 2>/dev/null
zle_bracketed_paste=()
fpath=($FUNCTIONS $fpath)
autoload -Uz compinit && compinit -u -D
zstyle ':completion:*' list-prompt '' ; LISTMAX=10000
compadd() {
    local -a hits
    if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)* ]]; then
        builtin compadd "$@"
        return
    fi
    builtin compadd -A hits "$@"
    local suffix= i
    for (( i = 1; i < $#; i++ )); do
        [[ ${@[i]} == -S ]] && suffix=${@[i + 1]}
    done
    (( $#hits )) && print -rl -- "<<"${^hits}"$suffix>>" >>$FOUND
    return 1
}
finish() { print -r -- "<done>" >>$FOUND }
comppostfuncs=(finish)
bindkey '^I' complete-word
print -r -- "<ready>" >>$FOUND
"""


@unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
class Zsh(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.environment = clean_environment(
            CABINAUDIO_INSTANCE=f"zsh-{os.getpid()}", FUNCTIONS=_FUNCTIONS,
            PATH=f"{BIN}:{os.environ['PATH']}", TERM="dumb")

    def setUp(self):
        self.directory = fresh_directory("zsh")
        (self.directory / "sound.wav").touch()

    def complete(self, line):
        """The words that are offered at the end of the line."""
        found = self.directory / "found"
        found.write_text("")
        (self.directory / "setup").write_text(_SETUP)
        process, terminal = pty.fork()
        if process == 0:
            os.chdir(self.directory)
            os.execvpe("zsh", ["zsh", "-f", "-i"], {**self.environment, "FOUND": str(found)})
        try:
            self._type(terminal, "source ./setup\n")
            self._wait_for(terminal, found, "<ready>")
            self._type(terminal, line + "\t")
            text = self._wait_for(terminal, found, "<done>")
        finally:
            os.kill(process, signal.SIGKILL)
            os.waitpid(process, 0)
            os.close(terminal)
        return sorted(set(re.findall(r"<<(.*)>>", text)))

    @staticmethod
    def _type(terminal, text):
        os.write(terminal, text.encode())

    def _wait_for(self, terminal, found, mark):
        end = time.monotonic() + _BOUND
        shown = b""
        while time.monotonic() < end:
            if select.select([terminal], [], [], 0.05)[0]:
                try:
                    shown += os.read(terminal, 65536)
                except OSError:
                    break
            text = found.read_text()
            if mark in text:
                return text
        self.fail(f"zsh does not say {mark}:\n{shown.decode(errors='replace')}")

    def with_server(self):
        server = subprocess.Popen(
            [BIN / "cabinaudio-server", "--output", "null", "--quiet"], env=self.environment,
            stdin=subprocess.DEVNULL)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        end = time.monotonic() + _BOUND
        while subprocess.run([BIN / "cabinaudio", "version"], env=self.environment, check=False,
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode:
            self.assertLess(time.monotonic(), end)
            time.sleep(0.05)

    def test_loads_the_completion_by_itself(self):
        self.assertTrue((_FUNCTIONS / "_cabinaudio").is_file())
        self.assertEqual((_FUNCTIONS / "_cabinaudio").read_text().splitlines()[0],
                         "#compdef cabinaudio")

    def test_knows_sub_commands_and_options(self):
        self.assertEqual(self.complete("cabinaudio m"), ["monitor"])
        self.assertLessEqual({"play", "set", "doctor"}, set(self.complete("cabinaudio ")))
        self.assertEqual(self.complete("cabinaudio --v"), ["--version"])
        self.assertEqual(self.complete("cabinaudio get --st"), ["--steps"])
        self.assertEqual(self.complete("cabinaudio play --ta"), ["--tag"])
        self.assertEqual(self.complete("cabinaudio server so"), ["source"])
        self.assertEqual(self.complete("cabinaudio server source wi"), ["withdraw"])

    def test_knows_the_names_of_the_running_server(self):
        self.with_server()
        self.assertEqual(self.complete("cabinaudio get volume.type.n"), ["volume.type.navigation"])
        self.assertEqual(self.complete("cabinaudio set volume.type.m"), ["volume.type.media="])
        self.assertEqual(self.complete("cabinaudio describe mixer.nav"),
                         ["mixer.navigation", "mixer.navigation.mode"])

    def test_offers_what_the_command_can_use(self):
        self.with_server()
        self.assertEqual(self.complete("cabinaudio get mixer.nav"), [])
        self.assertEqual(self.complete("cabinaudio get --timeout v"), [])

    def test_knows_the_values_of_settings(self):
        self.assertEqual(self.complete("cabinaudio set mute.main=o"), ["off", "on"])
        self.assertEqual(self.complete("cabinaudio set volume.master="),
                         ["-6dB", "0dB", "10%+", "10%-", "100", "3dB+", "3dB-", "5+", "5-", "50%"])
        self.assertEqual(self.complete("cabinaudio set volume.master+="), ["10%", "3dB", "5"])

    def test_knows_the_values_of_options(self):
        self.assertEqual(self.complete("cabinaudio play --tag a"), ["alternative", "auxiliary"])
        self.assertEqual(self.complete("cabinaudio record --tag=u"), ["uplink"])
        self.assertEqual(self.complete("cabinaudio record --format "), ["s16", "s24", "s32", "u8"])
        self.assertEqual(self.complete("cabinaudio play --name s"), [])
        self.assertEqual(self.complete("cabinaudio play --block so"), ["sound.wav"])

    def test_knows_the_fixed_names_without_a_server(self):
        names = self.complete("cabinaudio get volume.")
        self.assertIn("volume.master", names)
        self.assertNotIn("volume.type.navigation", names)

    def test_offers_files_to_be_played(self):
        self.assertEqual(self.complete("cabinaudio play so"), ["sound.wav"])
        self.assertEqual(self.complete("cabinaudio check so"), ["sound", "sound.wav"])

    def test_knows_the_first_words_of_checks(self):
        self.assertEqual(self.complete("cabinaudio check sound.wav click"), ["click-free"])


if __name__ == "__main__":
    unittest.main()
