# SPDX-License-Identifier: Apache-2.0
"""Types and documentation of the package."""

import inspect
import os
import pydoc
import shutil
import subprocess
import sys

import pytest

import cabinaudio
import cabinaudio.testing

PACKAGE = os.path.dirname(os.path.dirname(cabinaudio.__file__))


def run(*words):
    environment = {**os.environ, "MYPYPATH": PACKAGE}
    environment.pop("PYTHONPATH")
    return subprocess.run(words, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, timeout=300)


needs_mypy = pytest.mark.skipif(shutil.which("stubtest") is None, reason="mypy is not installed")


@needs_mypy
def test_the_types_are_sound(tmp_path):
    checked = run(sys.executable, "-m", "mypy", "--strict", "--cache-dir", str(tmp_path),
                  "-p", "cabinaudio")
    assert checked.returncode == 0, checked.stdout


@needs_mypy
def test_a_wrong_program_is_found(tmp_path):
    program = tmp_path / "program.py"
    program.write_text("import cabinaudio\ncabinaudio.Track('prompt').write(b'', block='yes')\n")
    checked = run(sys.executable, "-m", "mypy", "--cache-dir", str(tmp_path), str(program))
    assert checked.returncode == 1 and 'expected "bool"' in checked.stdout


@needs_mypy
def test_the_stubs_are_those_of_the_modules(tmp_path):
    # Classes of pybind11 have a metaclass and a constructor of its own.
    (tmp_path / "allowed").write_text(
        "cabinaudio\\._(cabinaudio|hear)\\.[A-Z][A-Za-z]+(\\.__init__|\\.__buffer__)?\n")
    environment = {**os.environ, "MYPYPATH": PACKAGE}
    checked = subprocess.run(
        ["stubtest", "--allowlist", str(tmp_path / "allowed"), "--ignore-unused-allowlist",
         "cabinaudio._cabinaudio", "cabinaudio._hear", "cabinaudio._board"],
        env=environment, cwd=tmp_path, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
        timeout=300)
    assert checked.returncode == 0, checked.stdout


@pytest.mark.parametrize("module", [cabinaudio, cabinaudio.testing])
def test_everything_public_is_documented(module):
    for name in module.__all__:
        if name == "settings":
            continue
        thing = getattr(module, name)
        assert inspect.getdoc(thing), name
        if not inspect.isclass(thing):
            continue
        for member, value in inspect.getmembers(thing):
            own = member in vars(thing) and not member.startswith("_")
            if own and (callable(value) or isinstance(value, property)):
                assert inspect.getdoc(value), f"{name}.{member}"


def test_help_tells_what_to_do():
    text = pydoc.plain(pydoc.render_doc(cabinaudio.Track))
    for word in ("rate", "channels", "ServerGone", "write_done", "on_finish"):
        assert word in text
