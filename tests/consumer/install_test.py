# SPDX-License-Identifier: Apache-2.0
"""Other projects find and build against an installed tree, wherever it lies."""

import re
import shutil
import subprocess
import unittest

from surroundings import (
    BUILT, CMAKE, COMPILER, EXAMPLES, LIBDIR, MOVED, SOURCE, VERSION, WORK,
    configure, fresh_directory, install, libraries_of, run)

# Tells what find_package() makes known, without a compiler.
PROBE = """
cmake_minimum_required(VERSION 3.22)
project(probe LANGUAGES NONE)
find_package(cabinaudio ${WANTED} CONFIG)
message("found=${cabinaudio_FOUND}")
message("version=${cabinaudio_VERSION}")
if(TARGET cabinaudio::cabinaudio)
    get_property(configurations TARGET cabinaudio::cabinaudio PROPERTY IMPORTED_CONFIGURATIONS)
    foreach(name TYPE INTERFACE_LINK_LIBRARIES INTERFACE_INCLUDE_DIRECTORIES
            INTERFACE_COMPILE_FEATURES INTERFACE_COMPILE_OPTIONS INTERFACE_COMPILE_DEFINITIONS
            INTERFACE_LINK_OPTIONS IMPORTED_LOCATION_${configurations}
            IMPORTED_SONAME_${configurations}
            IMPORTED_LINK_DEPENDENT_LIBRARIES_${configurations})
        get_property(value TARGET cabinaudio::cabinaudio PROPERTY ${name})
        string(REPLACE "_${configurations}" "" name "${name}")
        message("${name}=${value}")
    endforeach()
endif()
get_property(targets DIRECTORY PROPERTY IMPORTED_TARGETS)
message("targets=${targets}")
"""


class Installed(unittest.TestCase):
    """Base of the classes below."""

    def probe(self, wanted, *options):
        source = fresh_directory("probe")
        (source / "CMakeLists.txt").write_text(PROBE, encoding="utf-8")
        printed = run(CMAKE, "-S", source, "-B", source / "build", f"-DWANTED={wanted}", *options)
        return dict(line.split("=", 1) for line in printed.splitlines()
                    if re.match(r"\w+=", line))

    def assert_builds_against(self, program, library):
        """The program needs the library itself, and not what that needs."""
        needed = libraries_of(program)["NEEDED"]
        self.assertIn("libcabinaudio.so.2", needed)
        self.assertFalse([name for name in needed if "log" in name], needed)
        self.assertTrue(library.exists())


class AMovedTree(Installed):
    @classmethod
    def setUpClass(cls):
        first = fresh_directory("moved") / "place"
        install(first)
        first.rename(MOVED)

    def testNamesNoDirectoryOfTheBuild(self):
        for file in [*MOVED.glob(f"{LIBDIR}/cmake/**/*"), MOVED / LIBDIR / "pkgconfig/cabinaudio.pc"]:
            if file.is_file():
                text = file.read_text(encoding="utf-8")
                self.assertNotIn(str(WORK), text, file)
                self.assertNotIn(str(SOURCE), text, file)

    def testHasEveryPublicHeader(self):
        there = {path.relative_to(MOVED / "include") for path in (MOVED / "include").rglob("*.h")}
        ours = {path.relative_to(place) for place in (SOURCE / "include", SOURCE / "testing" / "include")
                for path in place.rglob("*.h")}
        self.assertEqual(there, ours)
        self.assertTrue(ours)

    def testHasTheLibraryUnderItsThreeNames(self):
        libdir = MOVED / LIBDIR
        file = libdir / f"libcabinaudio.so.{VERSION}"
        self.assertFalse(file.is_symlink())
        self.assertEqual((libdir / "libcabinaudio.so.2").resolve(), file.resolve())
        self.assertEqual((libdir / "libcabinaudio.so").resolve(), file.resolve())
        self.assertEqual(libraries_of(file)["SONAME"], ["libcabinaudio.so.2"])

    def testIsFoundByCMakeAndAsksNothingOfItsUser(self):
        found = self.probe("2", f"-DCMAKE_PREFIX_PATH={MOVED}")
        self.assertEqual(found["version"], VERSION)
        self.assertEqual(found["targets"], "cabinaudio::cabinaudio")
        self.assertEqual(found["TYPE"], "SHARED_LIBRARY")
        self.assertEqual(found["INTERFACE_INCLUDE_DIRECTORIES"], str(MOVED / "include"))
        self.assertEqual(found["INTERFACE_COMPILE_FEATURES"], "cxx_std_17")
        self.assertEqual(found["IMPORTED_SONAME"], "libcabinaudio.so.2")
        self.assertEqual(found["IMPORTED_LOCATION"],
                         str(MOVED / LIBDIR / f"libcabinaudio.so.{VERSION}"))
        for name in ("INTERFACE_LINK_LIBRARIES", "INTERFACE_LINK_OPTIONS",
                     "INTERFACE_COMPILE_OPTIONS", "INTERFACE_COMPILE_DEFINITIONS",
                     "IMPORTED_LINK_DEPENDENT_LIBRARIES"):
            self.assertEqual(found[name], "", name)

    def testStandsForItsMajorVersionOnly(self):
        major, minor, patch = (int(number) for number in VERSION.split("."))
        for wanted in ("", f"{major}", f"{major}.0", f"{major}.{minor}", f"{major}.{minor}.{patch}"):
            found = self.probe(wanted, f"-DCMAKE_PREFIX_PATH={MOVED}")
            self.assertEqual(found["found"], "1", wanted)
        for wanted in (f"{major - 1}", f"{major + 1}", f"{major}.{minor + 1}",
                       f"{major}.{minor}.{patch + 1}"):
            found = self.probe(wanted, f"-DCMAKE_PREFIX_PATH={MOVED}")
            self.assertNotEqual(found["found"], "1", wanted)

    def testBuildsTheExamplesThroughCMake(self):
        configure(SOURCE / "examples", BUILT, f"-DCMAKE_PREFIX_PATH={MOVED}",
                  "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Wshadow -Werror")
        run(CMAKE, "--build", BUILT)
        for example in EXAMPLES:
            self.assert_builds_against(BUILT / example, MOVED / LIBDIR / "libcabinaudio.so.2")
            self.assertIn(str(MOVED / LIBDIR), libraries_of(BUILT / example)["RUNPATH"])


class ATreeBelowASysroot(Installed):
    @classmethod
    def setUpClass(cls):
        cls.work = fresh_directory("sysroot")
        cls.sysroot = cls.work / "root"
        install("/usr", destdir=cls.sysroot)
        cls.libdir = cls.sysroot / "usr" / LIBDIR
        cls.surroundings = {
            "PKG_CONFIG_LIBDIR": cls.libdir / "pkgconfig",
            "PKG_CONFIG_SYSROOT_DIR": cls.sysroot,
        }

    def package(self, *options):
        return run("pkg-config", *options, "cabinaudio", **self.surroundings).strip()

    def testHasAValidPackageFile(self):
        self.assertEqual(self.package("--validate"), "")
        self.assertEqual(self.package("--modversion"), VERSION)
        self.assertEqual(self.package("--print-requires"), "")
        self.assertEqual(self.package("--print-requires-private"), "")

    def testIsNamedWithItsSysrootOnce(self):
        flags = self.package("--cflags", "--libs").split()
        places = {flag[:2]: flag[2:] for flag in flags}
        self.assertEqual(set(places), {"-I", "-L", "-l"}, flags)
        self.assertEqual(places["-l"], "cabinaudio")
        for option, place in (("-I", self.sysroot / "usr/include"), ("-L", self.libdir)):
            self.assertTrue(places[option].startswith(str(self.sysroot)), flags)
            self.assertEqual(places[option].count(str(self.sysroot)), 1, flags)
            # With the dots of the way from the file to the prefix.
            self.assertEqual(type(place)(places[option]).resolve(), place.resolve())

    def testIsNamedRelativeToItsFileWithoutASysroot(self):
        flags = run("pkg-config", "--cflags", "cabinaudio",
                    PKG_CONFIG_LIBDIR=self.libdir / "pkgconfig").strip()
        self.assertEqual(type(self.work)(flags[2:]).resolve(), (self.sysroot / "usr/include").resolve())

    def testIsFoundByCMakeThroughItsRoot(self):
        found = self.probe("2", f"-DCMAKE_FIND_ROOT_PATH={self.sysroot}",
                           "-DCMAKE_PREFIX_PATH=/usr")
        self.assertEqual(found["found"], "1")
        self.assertEqual(found["INTERFACE_INCLUDE_DIRECTORIES"], str(self.sysroot / "usr/include"))
        self.assertEqual(found["IMPORTED_LOCATION"],
                         str(self.libdir / f"libcabinaudio.so.{VERSION}"))

    def testBuildsTheExamplesThroughPkgConfig(self):
        examples = self.work / "examples"
        examples.mkdir()
        for file in (SOURCE / "examples").iterdir():
            if file.is_file():
                (examples / file.name).symlink_to(file)
        run("make", "-C", examples, f"CXX={COMPILER}", "CXXFLAGS=-Wall -Wextra -Wpedantic -Werror",
            "RPATH=", **self.surroundings)
        for example in EXAMPLES:
            self.assert_builds_against(examples / example, self.libdir / "libcabinaudio.so.2")
            self.assertEqual(libraries_of(examples / example)["RUNPATH"], [])


class TheExamplesReadme(Installed):
    """Its lines for this machine, as typed."""

    def testBuildsTheExamples(self):
        work = fresh_directory("examples-readme")
        (work / ".local").symlink_to(MOVED)
        examples = work / "examples"
        shutil.copytree(SOURCE / "examples", examples)
        text = (SOURCE / "examples" / "README.md").read_text(encoding="utf-8")
        lines = re.search(r"^## Build$.*?^```sh\n(.*?)^```$", text, re.M | re.S)[1].splitlines()
        self.assertEqual([line.split()[0] for line in lines], ["cmake", "make"])
        for line in lines:
            run("sh", "-c", line, cwd=examples, HOME=work, CXX=COMPILER, CXXFLAGS="-O0",
                MAKEFLAGS="-j2", CMAKE_BUILD_PARALLEL_LEVEL=2)
        for example in EXAMPLES:
            for program in (examples / example, examples / "build" / example):
                self.assert_builds_against(program, MOVED / LIBDIR / "libcabinaudio.so.2")
                # The log is hidden, so that the program's own words are all.
                self.assertIn("usage", self.said_by(program, "-v", "a", "b", "c", "d", "e"))

    @staticmethod
    def said_by(program, *words):
        done = subprocess.run([program, *words], stdin=subprocess.DEVNULL, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=100)
        return done.stdout


if __name__ == "__main__":
    unittest.main()
