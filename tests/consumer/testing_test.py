# SPDX-License-Identifier: Apache-2.0
"""The testing kit as other projects take it home, and the example of an application's tests in
GoogleTest, by shell, as a scenario and in Python: those that pass, and those that fail to show how."""

import os
import shutil
import subprocess
import unittest
import xml.etree.ElementTree

from surroundings import (
    CMAKE, LAUNCHER, LIBDIR, MOVED, PYTHON, PYTHON_DIR, SERVER, SOURCE, TESTING, TOOL, TOOLCHAIN,
    clean_environment, configure, fresh_directory, run)

EXAMPLE = SOURCE / "examples" / "testing"
BOARD = MOVED / LIBDIR / "cabinaudio" / "libcabinaudio-board.so"
BOUND = 300  # seconds; nothing takes nearly as long on an idle machine

PROBE = """
cmake_minimum_required(VERSION 3.22)
project(probe LANGUAGES CXX)
{before}
find_package(cabinaudio 2 CONFIG QUIET {components})
message("found=${{cabinaudio_FOUND}}")
message("testing=${{cabinaudio_testing_FOUND}}")
message("why=${{cabinaudio_NOT_FOUND_MESSAGE}}")
get_property(targets DIRECTORY PROPERTY IMPORTED_TARGETS)
message("targets=${{targets}}")
"""


def probe(components, *options, before=""):
    source = fresh_directory("testing-probe")
    (source / "CMakeLists.txt").write_text(PROBE.format(components=components, before=before), encoding="utf-8")
    printed = configure(source, source / "build", *options)
    return dict(line.split("=", 1) for line in printed.splitlines()
                if line.startswith(("found=", "testing=", "why=", "targets=")))


def perform(*command, cwd, **environment):
    """Runs a command that may fail, with the programs of the installed tree. Its output is one text."""
    path = f"{LAUNCHER.parent}:{SERVER.parent}:{TOOL.parent}:{os.environ['PATH']}"
    environment = {"PATH": path, "TMPDIR": cwd, "CABINAUDIO_SERVER": SERVER,
                   "CABINAUDIO_LAUNCHER": LAUNCHER, "CABINAUDIO_BOARD_LIB": BOARD, **environment}
    return subprocess.run(
        [str(word) for word in command], cwd=cwd, env=clean_environment(**environment),
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
        errors="replace", timeout=BOUND, check=False)


class Kit(unittest.TestCase):
    """Base of the classes below."""

    def assert_picture(self, path):
        """The file is a PNG, and not an empty one."""
        self.assertEqual(path.read_bytes()[:8], b"\x89PNG\r\n\x1a\n", path)
        self.assertGreater(path.stat().st_size, 2000, path)


class TheComponent(Kit):
    def testIsFound(self):
        found = probe("COMPONENTS testing", f"-DCMAKE_PREFIX_PATH={MOVED}")
        self.assertEqual((found["found"], found["testing"]), ("1", "TRUE"), found)
        self.assertIn("cabinaudio::testing", found["targets"])
        self.assertIn("GTest::gmock", found["targets"])

    def testIsNotLoadedUnasked(self):
        found = probe("", f"-DCMAKE_PREFIX_PATH={MOVED}",
                      "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON")
        self.assertEqual(found["found"], "1")
        self.assertEqual(found["targets"], "cabinaudio::cabinaudio")

    def testSaysThatGoogleTestIsMissing(self):
        found = probe("COMPONENTS testing", f"-DCMAKE_PREFIX_PATH={MOVED}",
                      "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON")
        self.assertNotEqual(found["found"], "1")
        self.assertEqual(found["why"], "its component testing needs GTest with gmock "
                         "(Debian: libgmock-dev)")

    def testSaysWhichLibraryIsMissing(self):
        found = probe("COMPONENTS testing", f"-DCMAKE_PREFIX_PATH={MOVED}",
                      before="set(CMAKE_FIND_LIBRARY_PREFIXES no)")
        self.assertNotEqual(found["found"], "1")
        self.assertIn("libfftw3f (Debian: libfftw3-dev)", found["why"])

    def testSaysThatItIsNotInstalled(self):
        work = fresh_directory("without-testing")
        package = shutil.copytree(MOVED / LIBDIR / "cmake", work / LIBDIR / "cmake") / "cabinaudio"
        for file in package.glob("cabinaudioTesting*"):
            file.unlink()
        for library in (MOVED / LIBDIR).glob("libcabinaudio.so*"):
            (work / LIBDIR / library.name).symlink_to(library)
        (work / "include").symlink_to(MOVED / "include")
        found = probe("COMPONENTS testing", f"-DCMAKE_PREFIX_PATH={work}")
        self.assertNotEqual(found["found"], "1")
        self.assertEqual(found["why"], "its component testing is not installed "
                         "(Debian: libcabinaudio-testing-dev)")
        self.assertEqual(probe("", f"-DCMAKE_PREFIX_PATH={work}")["found"], "1")

    def testMayBeAskedForWithoutNeed(self):
        found = probe("OPTIONAL_COMPONENTS testing", f"-DCMAKE_PREFIX_PATH={MOVED}",
                      "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON")
        self.assertEqual(found["found"], "1")
        self.assertEqual(found["testing"], "FALSE")


# Options for projects that are not built against an installed tree of this machine's programs.
PROGRAMS = [f"-DCABINAUDIO_PROGRAM_cabinaudio-run={LAUNCHER}",
            f"-DCABINAUDIO_PROGRAM_cabinaudio-server={SERVER}",
            f"-DCABINAUDIO_PROGRAM_cabinaudio-tool={TOOL}"]


class TheExample(Kit):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(TESTING, ignore_errors=True)
        configure(EXAMPLE, TESTING, f"-DCMAKE_PREFIX_PATH={MOVED}", *(PROGRAMS if TOOLCHAIN else []),
                  "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Wshadow -Werror")
        run(CMAKE, "--build", TESTING)

    def testPassesInGoogleTest(self):
        done = perform("ctest", "--output-on-failure", cwd=TESTING)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("100% tests passed, 0 tests failed out of 3", done.stdout)
        self.assertIn("Prompt.isNotDucked (Disabled)", done.stdout)
        self.assertFalse(list((TESTING / "cabinaudio-tests").glob("*")))

    def testFailingTwinInGoogleTestSaysWhatIsWrongAndWhere(self):
        kept = fresh_directory("kept")
        done = perform(LAUNCHER, "--", TESTING / "prompt-test", "--gtest_also_run_disabled_tests",
                       "--gtest_filter=*isNotDucked", f"--gtest_output=xml:{kept}/result.xml",
                       cwd=TESTING, CABINAUDIO_TEST_OUTPUT=kept)
        self.assertEqual(done.returncode, 1, done.stdout)
        directory = kept / "Prompt.DISABLED_isNotDucked"
        self.assertRegex(done.stdout,
                         r"Expected: meets 'ducked music by -20dB during prompt'\n"
                         r"  Actual: 3\.\d+ s, 48000 Hz, 2 channels, peak -\d+\.\d dBFS .*"
                         r"which has 0 dB.* instead of -20 dB \+-1 dB.* at 1\.\d+ s, "
                         rf"heard in {directory}/heard\.wav, picture ")
        self.assertTrue((directory / "navigation.log").exists())
        if TOOLCHAIN:  # the target's build has no Cairo
            self.assertIn("built without Cairo", done.stdout)
            return
        self.assertIn(f", picture {directory}/heard.png", done.stdout)
        self.assert_picture(directory / "heard.png")
        case = xml.etree.ElementTree.parse(kept / "result.xml").find(".//testcase")
        properties = {one.get("name"): one.get("value") for one in case.iter("property")}
        self.assertEqual(properties["picture"], str(directory / "heard.png"))

    def testPassesByShell(self):
        done = perform("sh", EXAMPLE / "prompt_test.sh", "./navigation", cwd=TESTING)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertEqual(done.stdout.count("ok "), 3, done.stdout)
        self.assertFalse((TESTING / "prompt-heard").exists())

    def testFailingTwinByShellLeavesThePicture(self):
        done = perform("sh", EXAMPLE / "prompt_test.sh", "./navigation", "--without-ducking",
                       cwd=TESTING)
        self.assertEqual(done.returncode, 5, done.stdout)
        self.assertRegex(done.stdout, r"(?m)^NOT MET +ducked music by -20dB during prompt: 0 dB")
        self.assert_picture(TESTING / "prompt-heard" / "picture.png")

    def testPassesAsAScenario(self):
        done = perform(TOOL, "scenario", EXAMPLE / "prompt.scenario", cwd=TESTING)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("ducked music by -20dB during prompt", done.stdout)

    def testFailingTwinAsAScenarioLeavesThePicture(self):
        kept = fresh_directory("scenario-kept")
        done = perform(TOOL, "scenario", EXAMPLE / "failing_prompt.scenario", "--keep", kept,
                       cwd=TESTING)
        self.assertEqual(done.returncode, 5, done.stdout)
        self.assertRegex(done.stdout, r"(?m)^NOT MET.*ducked music by -20dB during prompt'?: 0 dB")
        pictures = list(kept.rglob("*.png"))
        self.assertTrue(pictures, done.stdout)
        self.assertRegex(done.stdout, rf"kept in {kept}: .*{pictures[0].name}")
        self.assert_picture(pictures[0])


class TheExampleInPython(Kit):
    @classmethod
    def setUpClass(cls):
        cls.work = fresh_directory("python-example")
        configure(EXAMPLE, cls.work / "build", f"-DCMAKE_PREFIX_PATH={MOVED}")
        run(CMAKE, "--build", cls.work / "build", "--target", "navigation")

    def pytest(self, *arguments):
        return perform(PYTHON, "-m", "pytest", "-q", "-p", "no:cacheprovider",
                       f"--basetemp={self.work}/tmp", *arguments, cwd=EXAMPLE,
                       TMPDIR=self.work, PYTHONPATH=MOVED / PYTHON_DIR, PYTHONDONTWRITEBYTECODE=1,
                       NAVIGATION=self.work / "build" / "navigation")

    def testPasses(self):
        done = self.pytest("test_prompt.py")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("2 passed", done.stdout)

    def testFailingTwinSaysWhatIsWrongAndWhere(self):
        done = self.pytest("failing_prompt.py")
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertRegex(done.stdout, r"NOT MET +ducked music by -20.*during prompt.*: 0 dB")
        (picture,) = self.work.glob("tmp/**/*.png")
        self.assertIn(str(picture), done.stdout)
        self.assert_picture(picture)


class AnEmbeddedKit(Kit):
    """The kit of a source tree that is a part of somebody else's project, with the programs of an
    installed one."""

    PROJECT = """
cmake_minimum_required(VERSION 3.22)
project(someone LANGUAGES CXX)
set(CABINAUDIO_BUILD_TESTING_KIT ON)
add_subdirectory("{source}" cabinaudio EXCLUDE_FROM_ALL)
find_package(GTest REQUIRED)
find_package(Threads REQUIRED)
enable_testing()
add_executable(navigation "{example}/navigation.cpp")
target_link_libraries(navigation PRIVATE cabinaudio::cabinaudio Threads::Threads ${{CMAKE_DL_LIBS}})
add_executable(prompt-test "{example}/prompt_test.cpp")
target_compile_definitions(prompt-test PRIVATE NAVIGATION_PROGRAM="$<TARGET_FILE:navigation>")
target_link_libraries(prompt-test PRIVATE cabinaudio::testing GTest::gtest_main)
cabinaudio_discover_tests(prompt-test)
"""

    def testRunsTheTestsOfItsUser(self):
        work = fresh_directory("embedded-kit")
        (work / "CMakeLists.txt").write_text(
            self.PROJECT.format(source=SOURCE, example=EXAMPLE), encoding="utf-8")
        configure(work, work / "build", *PROGRAMS)
        run(CMAKE, "--build", work / "build")
        done = perform("ctest", "--output-on-failure", cwd=work / "build")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("100% tests passed, 0 tests failed out of 3", done.stdout)


if __name__ == "__main__":
    unittest.main()
