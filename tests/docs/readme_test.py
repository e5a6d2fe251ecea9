# SPDX-License-Identifier: Apache-2.0
"""README.md: its install and use sections, done as a newcomer would do them."""

import os
import re
import subprocess
import unittest

from shell import run_session
from surroundings import BUILD, CMAKE, COMPILER, SOURCE, clean_environment, fresh_directory, run

_TEXT = (SOURCE / "README.md").read_text()
_INSTALL = "./cabin install"


def section(title):
    return re.search(rf"^## {title}$(.*?)(?=^## |\Z)", _TEXT, re.MULTILINE | re.DOTALL).group(1)


def blocks(text, kind):
    return re.findall(rf"^```{kind}\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)


def commands(block):
    """The lines of a block as a terminal has them, without those that only install."""
    lines = [line for line in block.splitlines() if line.strip()]
    return ["$ " + line for line in lines if not line.startswith(_INSTALL)]


class Readme(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        """Installs as the document says; a build elsewhere is installed without building it."""
        cls.home = fresh_directory("readme-home")
        cls.prefix = cls.home / ".local"
        if BUILD == SOURCE / "build" / "native":
            done = subprocess.run(
                [SOURCE / "cabin", "install"], env=clean_environment(HOME=cls.home), check=False,
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                text=True, timeout=500)
            assert done.returncode == 0, done.stdout
        else:
            run(CMAKE, "--install", BUILD, "--prefix", cls.prefix)
        cls.blocks = blocks(section("On a desktop"), "sh")

    def test_installs_with_one_command(self):
        self.assertTrue(self.blocks[0].startswith(_INSTALL))
        for program in ("cabinaudio", "cabinaudio-run", "cabinaudio-server"):
            self.assertTrue(os.access(self.prefix / "bin" / program, os.X_OK), program)

    def test_plays_and_records(self):
        lines = commands(self.blocks[0])
        self.assertTrue(lines[0].startswith("$ cabinaudio-server &"))
        run_session(self, "readme-use", lines, tree=self.prefix)

    def test_reads_and_changes_settings(self):
        lines = commands(self.blocks[1])
        inline = re.findall(r"`(cabinaudio get > settings|cabinaudio set --file settings)`",
                            section("On a desktop"))
        self.assertEqual(len(inline), 2)
        lines += ["$ " + command for command in inline]
        run_session(self, "readme-settings", ["$ cabinaudio-server &"] + lines, tree=self.prefix)

    def test_makes_the_server_do_things(self):
        lines = commands(self.blocks[2])
        lines[1:1] = [
            "$ cabinaudio play --tag main --name NAME music.wav &",
            "$ cabinaudio record long.opus --tag uplink --codec opus --name call --seconds 60 &",
        ]
        run_session(self, "readme-server", lines, tree=self.prefix)

    def test_builds_and_runs_a_program(self):
        text = section("In a program")
        source = fresh_directory("readme-program") / "my-app.cpp"
        source.write_text(blocks(text, "cpp")[0])
        settings = re.findall(r"`((?:PKG_CONFIG|LD_LIBRARY)_PATH=[^`]*)`", text)
        self.assertEqual(len(settings), 2)
        flags = re.search(r"`(pkg-config [^`]*)`", text).group(1)
        run_program = re.search(r"`(cabinaudio-run [^`]*)`", text).group(1)
        lines = [
            f"$ export {' '.join(settings)}",
            f"$ {COMPILER} -std=c++17 -Wall -Werror my-app.cpp -o my-app $({flags})",
            "$ cabinaudio-server &",
            f"$ {run_program}",
        ]
        run_session(self, "readme-program", lines, [source], tree=self.prefix, home=self.home)

    def test_shows_settings_that_compile(self):
        source = fresh_directory("readme-settings-program") / "settings.cpp"
        source.write_text(blocks(section("In a program"), "cpp")[1])
        run(COMPILER, "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
            "-I", self.prefix / "include", source)


if __name__ == "__main__":
    unittest.main()
