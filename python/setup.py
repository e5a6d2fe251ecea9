# SPDX-License-Identifier: Apache-2.0
"""Builds the wheel: CMake compiles and installs, setuptools packs.

Beside the package and its modules, the wheel has in the package's directory what they need of this
source tree: lib/ with the client library and the stand-in for a head unit's devices, bin/ with the
server, the launcher and the command-line tool. The system's libraries are not in it.

CABINAUDIO_BUILD_DIR names a build of this tree that is complete, to be packed; without it, this
file makes one in ../build/wheel.
"""

import os
import shutil
import subprocess
import sys
import sysconfig
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = Path(__file__).resolve().parent.parent
BUILT = os.environ.get("CABINAUDIO_BUILD_DIR")
# Everything that setuptools makes, too: nothing is left among the sources.
WORK = Path(BUILT).resolve() / "python" / "wheel" if BUILT else SOURCE / "build" / "wheel"

SUFFIX = sysconfig.get_config_var("EXT_SUFFIX")
PROGRAMS = ["cabinaudio", "cabinaudio-run", "cabinaudio-server"]
COMPONENTS = ["library", "devkit", "tools", "python"]
OPTIONS = {
    "CMAKE_BUILD_TYPE": "RelWithDebInfo",
    "CMAKE_INSTALL_LIBDIR": "lib",
    "CABINAUDIO_PYTHON": "ON",
    "CABINAUDIO_PYTHON_EXECUTABLE": sys.executable,
    "CABINAUDIO_BUILD_TESTS": "OFF",
    "CABINAUDIO_BUILD_PLUGINS": "OFF",
}


def cmake(*words):
    status = subprocess.run(["cmake", *map(str, words)]).returncode
    if status != 0:
        raise SystemExit(f"cmake {' '.join(map(str, words))}: status {status}")


def fresh_build():
    """Compiles this tree. Returns the build directory."""
    build = WORK / "cmake"
    options = [f"-D{name}={value}" for name, value in OPTIONS.items()]
    generator = ["-G", "Ninja"] if shutil.which("ninja") else []
    cmake("-S", SOURCE, "-B", build, *generator, *options)
    cmake("--build", build, "--parallel", os.cpu_count() or 1)
    return build


def installed(build):
    """Installs what the wheel needs of a build. Returns the directory."""
    prefix = WORK / "installed"
    shutil.rmtree(prefix, ignore_errors=True)
    for component in COMPONENTS:
        cmake("--install", build, "--prefix", prefix, "--component", component, "--strip")
    return prefix


def the_modules(prefix):
    modules = sorted(prefix.glob(f"lib/**/cabinaudio/_*{SUFFIX}"))
    if not modules or not (prefix / "lib" / "libcabinaudio.so.2").exists():
        raise SystemExit(
            f"{BUILT or WORK}: no modules *{SUFFIX} and no lib/libcabinaudio.so.2 were installed "
            f"from it; the wheel needs a build for {sys.executable} with CMAKE_INSTALL_LIBDIR=lib"
        )
    return modules


def the_libraries(prefix):
    """By the names that programs load them by: a wheel has no links, but would have copies."""
    found = {path for path in prefix.glob("lib/*.so*")} | set(prefix.glob("lib/cabinaudio/*.so*"))
    targets = {path.parent / os.readlink(path) for path in found if path.is_symlink()}
    return sorted(found - targets)


class BuildWithCMake(build_ext):
    """Puts files of an installed tree into the package instead of compiling extensions."""

    def run(self):
        if self.inplace:
            raise SystemExit(
                "an editable installation is not possible; the directory python/package "
                "of a build has links to the sources: add it to PYTHONPATH"
            )
        prefix = installed(Path(BUILT).resolve() if BUILT else fresh_build())
        package = Path(self.build_lib) / "cabinaudio"
        for module in the_modules(prefix):
            self._place(module, package / module.name)
        for library in the_libraries(prefix):
            self._place(library, package / library.relative_to(prefix))
        for program in PROGRAMS:
            self._place(prefix / "bin" / program, package / "bin" / program)

    def _place(self, file, destination):
        destination.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(file, destination)

    def get_outputs(self):
        return []

    def get_source_files(self):
        return []


WORK.mkdir(parents=True, exist_ok=True)
# A file that is gone from the sources is not in the wheel.
shutil.rmtree(WORK / "build", ignore_errors=True)
setup(
    # No extension that setuptools builds; it makes the wheel one of this machine and Python.
    ext_modules=[Extension("cabinaudio._cabinaudio", sources=[])],
    cmdclass={"build_ext": BuildWithCMake},
    options={
        "build": {"build_base": str(WORK / "build")},
        "egg_info": {"egg_base": str(WORK)},
    },
)
