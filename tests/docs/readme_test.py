# SPDX-License-Identifier: Apache-2.0
"""README.md: its install and use sections, done as a newcomer would do them."""

import array
import json
import os
import re
import shutil
import subprocess
import tempfile
import time
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


def own_program(directory):
    """Writes the program and its CMake project as the document has them."""
    text = section("In a program")
    files = {"my-app.cpp": blocks(text, "cpp")[0], "CMakeLists.txt": blocks(text, "cmake")[0]}
    for name, content in files.items():
        (directory / name).write_text(content)
    return [directory / name for name in files]


class Installed(unittest.TestCase):
    """Base of the classes below."""

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


class Readme(Installed):

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
        sources = own_program(fresh_directory("readme-program"))
        by_hand, by_cmake = (commands(block) for block in blocks(text, "sh"))
        self.assertEqual([line.split()[1] for line in by_hand], ["export", "g++", "cabinaudio-run"])
        self.assertEqual([line.split()[1] for line in by_cmake], ["cmake", "cabinaudio-run"])
        by_hand[1] = by_hand[1].replace("g++", f"{COMPILER} -Wall -Werror")
        run_session(self, "readme-program", ["$ cabinaudio-server &", *by_hand, *by_cmake], sources,
                    tree=self.prefix, home=self.home)

    def test_shows_settings_that_compile(self):
        source = fresh_directory("readme-settings-program") / "settings.cpp"
        source.write_text(blocks(section("In a program"), "cpp")[1])
        run(COMPILER, "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
            "-I", self.prefix / "include", source)


class SoundServer:
    """A private sound server with a sink that nobody hears. It has just been started when the
    constructor returns, and nothing has played through it."""

    def __init__(self):
        self._directory = tempfile.TemporaryDirectory(prefix="cabinaudio-sound-")  # a short path
        place = self._directory.name
        self.address = f"unix:{place}/socket"
        environment = clean_environment(HOME=place, XDG_RUNTIME_DIR=place, PULSE_RUNTIME_PATH=place)
        self._process = subprocess.Popen(
            ["pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
             "--disable-shm=yes", "-L", "module-null-sink sink_name=heard", "-L",
             f"module-native-protocol-unix socket={place}/socket auth-anonymous=1"],
            env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        end = time.monotonic() + 60
        while not os.path.exists(f"{place}/socket"):
            assert self._process.poll() is None and time.monotonic() < end, "no sound server"
            time.sleep(0.01)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait(60)
        self._directory.cleanup()


@unittest.skipUnless(shutil.which("pulseaudio") and shutil.which("parec"),
                     "pulseaudio or parec (pulseaudio-utils) is not installed")
class HourOne(Installed):
    """A newcomer's path, word for word, with a sound server that has just been started."""

    def test_installs_serves_plays_and_builds_a_program(self):
        desktop = self.blocks[0].splitlines()
        self.assertTrue(desktop[0].startswith(_INSTALL))
        serve, play = [line for line in desktop if line][1:3]
        self.assertTrue(serve.startswith("cabinaudio-server &"), serve)
        self.assertTrue(play.startswith("cabinaudio play "), play)
        by_hand, by_cmake = blocks(section("In a program"), "sh")
        directory = fresh_directory("hour-one")
        own_program(directory)
        with SoundServer() as sound:
            script = "\n".join([
                "set -e", "trap 'kill $(jobs -p); wait' EXIT",
                "parec --device=heard.monitor --format=s16le --channels=1 --latency-msec=20 "
                ">heard.raw 2>parec.log &",
                serve.replace("#", ">server.log 2>&1 #"),
                "cabinaudio server state --wait 60 --json >state.json",
                play, by_hand, by_cmake])
            done = subprocess.run(
                ["bash", "-c", script], cwd=directory, stdin=subprocess.DEVNULL, check=False,
                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=240,
                env=clean_environment(
                    HOME=self.home, PATH=f"{self.prefix / 'bin'}:{os.environ['PATH']}",
                    PULSE_SERVER=sound.address,
                    CABINAUDIO_INSTANCE=f"hour-one-{os.getpid()}"))
        subprocess.run([self.prefix / "bin" / "cabinaudio-run", "--instance",
                        f"hour-one-{os.getpid()}", "--clean"], check=False)
        said = done.stdout + (directory / "server.log").read_text()
        self.assertEqual(done.returncode, 0, said)
        self.assertIn(": played to the end", said)
        state = json.loads((directory / "state.json").read_text())
        self.assertIn("pulse", state["output"]["name"])
        samples = array.array("h", (directory / "heard.raw").read_bytes())
        # Two beeps of a second each, at a quarter of full scale.
        self.assertGreater(len([sample for sample in samples if abs(sample) > 4000]), 40000, said)


if __name__ == "__main__":
    unittest.main()
