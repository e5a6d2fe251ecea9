# SPDX-License-Identifier: Apache-2.0
"""The wheel: packed from this build, installed in a virtual environment without network."""

import os
import subprocess
import sys
import zipfile
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
BUILD = os.environ.get("CABINAUDIO_TEST_BUILD", "")
VERSION = os.environ.get("CABINAUDIO_TEST_VERSION", "")

TEST = """
import cabinaudio
from cabinaudio.testing import assert_heard, run_scenario, tone, write_wav

def test_heard(cabin):
    with cabinaudio.Track("prompt") as track:
        track.play(tone(440, 1))
    assert_heard("tone 440", "lasts prompt 1")

def test_own_library(cabin):
    cabinaudio.Track("prompt").close()
    with open("/proc/self/maps") as maps:
        loaded = {line.split()[-1] for line in maps if "/libcabinaudio" in line}
    print(*sorted(loaded), sep="\\n")

def test_scenario(tmp_path):
    write_wav(tmp_path / "prompt.wav", tone(440, 1))
    (tmp_path / "prompt.scenario").write_text(
        "server --hold 1\\n"
        f"run nav cabinaudio play --name prompt {tmp_path}/prompt.wav\\n"
        "until finished prompt\\n"
        "expect check 'lasts prompt 1'\\n"
    )
    run_scenario(tmp_path / "prompt.scenario")
"""

def run(*command, status=0, **environment):
    """Runs a command with none of the variables that name this build. Returns its output."""
    inherited = {
        name: value
        for name, value in os.environ.items()
        if not name.startswith(("CABINAUDIO_", "PYTHON", "PIP_", "PYTEST_"))
    }
    done = subprocess.run(
        [str(word) for word in command],
        env={**inherited, **{name: str(value) for name, value in environment.items()}},
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        timeout=300,
    )
    assert done.returncode == status, done.stdout
    return done.stdout


@pytest.fixture(scope="module")
def wheel(tmp_path_factory):
    directory = tmp_path_factory.mktemp("wheel")
    run(sys.executable, "-m", "pip", "wheel", "--no-index", "--no-build-isolation", "--no-deps",
        "--wheel-dir", directory, SOURCE / "python", CABINAUDIO_BUILD_DIR=BUILD)
    (found,) = directory.iterdir()
    return found


@pytest.fixture(scope="module")
def environment(wheel, tmp_path_factory):
    """A virtual environment with the wheel. Returns its Python."""
    directory = tmp_path_factory.mktemp("environment")
    run(sys.executable, "-m", "venv", "--system-site-packages", "--without-pip", directory)
    python = directory / "bin" / "python3"
    run(sys.executable, "-m", "pip", "--python", python, "install", "--no-index", "--no-deps", wheel)
    return python


def test_contents(wheel):
    with zipfile.ZipFile(wheel) as archive:
        names = set(archive.namelist())
        info = f"cabinaudio-{VERSION}.dist-info"
        metadata = archive.read(f"{info}/METADATA").decode()
        points = archive.read(f"{info}/entry_points.txt").decode()
        licence = archive.read(f"{info}/LICENSE").decode()
    assert f"Version: {VERSION}\n" in metadata and "License: Apache-2.0\n" in metadata
    assert "cabinaudio = cabinaudio.pytest_plugin" in points
    assert licence == (SOURCE / "LICENSE").read_text()
    sources = SOURCE / "python" / "cabinaudio"
    for suffix in ("*.py", "*.pyi", "py.typed"):
        for path in sources.rglob(suffix):
            assert f"cabinaudio/{path.relative_to(sources)}" in names


def test_an_environment_needs_nothing_else(environment, tmp_path):
    (tmp_path / "test_it.py").write_text(TEST)
    printed = run(environment, "-m", "pytest", "-q", "-rP", "-p", "no:cacheprovider",
                  "--basetemp", tmp_path / "kept", "--rootdir", tmp_path, tmp_path / "test_it.py")
    assert "3 passed" in printed
    package = environment.parent.parent / "lib"
    loaded = [line for line in printed.splitlines() if line.endswith((".so", ".so.2"))]
    assert {Path(line).name for line in loaded} >= {"libcabinaudio.so.2", "libcabinaudio-board.so"}
    assert all(line.startswith(str(package)) for line in loaded), loaded


def test_a_tree_without_modules_is_refused(tmp_path):
    printed = run(sys.executable, SOURCE / "python" / "setup.py", "-q", "build_ext",
                  status=1, CABINAUDIO_BUILD_DIR=tmp_path)
    assert printed.splitlines()[-1].startswith(f"cmake --install {tmp_path} ")
