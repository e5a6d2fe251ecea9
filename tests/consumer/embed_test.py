# SPDX-License-Identifier: Apache-2.0
"""The source tree as a part of somebody else's project, which it must not change."""

import json
import re
import shlex
import unittest
from pathlib import Path

from surroundings import CMAKE, SOURCE, TOOLCHAIN, configure, fresh_directory, libraries_of, run

PROJECT = """
cmake_minimum_required(VERSION 3.22)
project(someone VERSION 1.5 LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

function(state variable)
    set(${variable} "")
    foreach(name COMPILE_OPTIONS COMPILE_DEFINITIONS COMPILE_FEATURES INCLUDE_DIRECTORIES
            LINK_OPTIONS LINK_DIRECTORIES LINK_LIBRARIES TESTS BUILDSYSTEM_TARGETS
            IMPORTED_TARGETS)
        get_property(value DIRECTORY PROPERTY ${name})
        string(APPEND ${variable} "${name}=${value}\\n")
    endforeach()
    foreach(name PROJECT_NAME PROJECT_VERSION CMAKE_PROJECT_NAME CMAKE_PROJECT_VERSION
            CMAKE_CXX_FLAGS CMAKE_CXX_STANDARD CMAKE_CXX_VISIBILITY_PRESET CMAKE_MODULE_PATH
            CMAKE_POSITION_INDEPENDENT_CODE CMAKE_SHARED_LINKER_FLAGS CMAKE_EXE_LINKER_FLAGS
            CMAKE_BUILD_TYPE CMAKE_INSTALL_RPATH BUILD_SHARED_LIBS BUILD_TESTING)
        string(APPEND ${variable} "${name}=${${name}}\\n")
    endforeach()
    set(${variable} "${${variable}}" PARENT_SCOPE)
endfunction()

include(CTest)
include(FetchContent)
state(before)
get_cmake_property(names_before VARIABLES)
if(HOW STREQUAL "fetch")
    FetchContent_Declare(cabinaudio SOURCE_DIR "${CABINAUDIO}")
    FetchContent_MakeAvailable(cabinaudio)
else()
    add_subdirectory("${CABINAUDIO}" cabinaudio)
endif()
get_cmake_property(names_after VARIABLES)
state(after)

if(NOT before STREQUAL after)
    message("changed: ${before}\\n---- to\\n${after}")
endif()
list(REMOVE_ITEM names_after ${names_before})
message("variables=${names_after}")

function(collect directory variable)
    get_property(names DIRECTORY "${directory}" PROPERTY BUILDSYSTEM_TARGETS)
    get_property(places DIRECTORY "${directory}" PROPERTY SUBDIRECTORIES)
    foreach(place IN LISTS places)
        collect("${place}" more)
        list(APPEND names ${more})
    endforeach()
    set(${variable} ${names} PARENT_SCOPE)
endfunction()
collect("${CMAKE_CURRENT_SOURCE_DIR}" targets)
message("targets=${targets}")

# Where CTest is used, the tests of the whole tree.
get_property(tests DIRECTORY "${CABINAUDIO}" PROPERTY TESTS)
message("tests=${tests}")

add_executable(app app.cpp)
target_link_libraries(app PRIVATE cabinaudio::cabinaudio)
install(TARGETS app)
"""

USER = """
cmake_minimum_required(VERSION 3.22)
project(user LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
find_package(cabinaudio 2 CONFIG REQUIRED)
add_executable(app app.cpp)
target_link_libraries(app PRIVATE cabinaudio::cabinaudio)
"""

PROGRAM = """
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cstdio>
static_assert(__cplusplus < 202002L, "the standard of this project");
int main() {
    int first[3], second[3];
    ClientVersionSetting().getClientVersions(first, second);
    std::printf("%d\\n", first[0]);
}
"""


def someones_project(name):
    source = fresh_directory(name)
    (source / "CMakeLists.txt").write_text(PROJECT, encoding="utf-8")
    (source / "app.cpp").write_text(PROGRAM, encoding="utf-8")
    return source


class AnEmbeddedTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.printed = {}
        for how in ("add", "fetch"):
            source = someones_project(f"embedded-{how}")
            cls.printed[how] = configure(source, source / "build", f"-DHOW={how}",
                                         f"-DCABINAUDIO={SOURCE}")
        cls.build = source / "build"

    def value(self, how, name):
        found = re.findall(f"^{name}=(.*)$", self.printed[how], re.MULTILINE)
        self.assertEqual(len(found), 1, self.printed[how])
        return [word for word in found[0].split(";") if word]

    def testChangesNoFlagAndNoPropertyOfTheProject(self):
        for how, printed in self.printed.items():
            self.assertNotIn("changed:", printed, how)

    def testAddsNoVariableButItsOwn(self):
        # The last ones are of modules that it uses: where things are found and installed.
        ours = re.compile(r"_?(cabinaudio|CABINAUDIO|AndroidLog)_\w+$|FETCHCONTENT_\w+$|"
                          r"(CMAKE_INSTALL_|CMAKE_HAVE_|_?THREADS_|Threads_|CMAKE_THREAD)\w*$|"
                          r"_?FIND_PACKAGE\w*$|_\w+$|names_before$")
        for how in self.printed:
            foreign = [name for name in self.value(how, "variables") if not ours.match(name)]
            self.assertEqual(foreign, [], how)

    def testAddsTargetsWithItsNameOnlyAndOnlyThoseOfTheLibrary(self):
        for how in self.printed:
            targets = set(self.value(how, "targets"))
            self.assertIn("cabinaudio", targets)
            of_ctest = {"Nightly", "Experimental", "Continuous", "NightlyMemoryCheck"}
            foreign = [name for name in targets - of_ctest
                       if not re.match(r"(cabinaudio|Nightly|Experimental|Continuous)", name)]
            self.assertEqual(foreign, [], how)
            self.assertFalse(targets & {"cabinaudio-server", "cabinaudio-tool", "cabinaudio-run",
                                        "cabinaudio-board", "cabinaudio-interposable",
                                        "abi-headers-alone"}, how)

    def testAddsNoTests(self):
        for how in self.printed:
            self.assertEqual(self.value(how, "tests"), [], how)

    def testGivesItsUserTheHeadersAndNothingElse(self):
        commands = json.loads((self.build / "compile_commands.json").read_text(encoding="utf-8"))
        (mine,) = [entry for entry in commands if entry["file"].endswith("/app.cpp")]
        words = shlex.split(mine["command"])
        self.assertEqual([word for word in words if word.startswith(("-W", "-D", "-f"))], [])
        places = [word[2:] for word in words if word.startswith("-I")]
        places += [words[i + 1] for i, word in enumerate(words) if word == "-isystem"]
        self.assertEqual([Path(place).resolve() for place in places],
                         [(SOURCE / "include").resolve()])
        self.assertFalse([word for word in words if re.match(r"-std=\S*(20|2a|23)", word)], words)


class AnEmbeddedTreeBuilds(unittest.TestCase):
    def testAndInstallsNothingThatItsUserDoesNotAskFor(self):
        source = someones_project("embedded-built")
        configure(source, source / "build", "-DHOW=add", f"-DCABINAUDIO={SOURCE}")
        run(CMAKE, "--build", source / "build")
        run(CMAKE, "--install", source / "build", "--prefix", source / "prefix")
        installed = [path.relative_to(source / "prefix").as_posix()
                     for path in (source / "prefix").rglob("*") if not path.is_dir()]
        self.assertEqual(installed, ["bin/app"])

    def testWithoutALogLibraryAndInstallsItsOwn(self):
        source = someones_project("embedded-log")
        configure(source, source / "build", "-DHOW=add", f"-DCABINAUDIO={SOURCE}",
                  "-DCABINAUDIO_INSTALL=ON", "-DCMAKE_INSTALL_LIBDIR=lib",
                  "-DAndroidLog_LIBRARY=OFF", "-DAndroidLog_INCLUDE_DIR=OFF")
        run(CMAKE, "--build", source / "build")
        prefix = source / "prefix"
        run(CMAKE, "--install", source / "build", "--prefix", prefix)
        self.assertIn("libcabinaudio-log.so.0", libraries_of(prefix / "lib/libcabinaudio.so.2")["NEEDED"])
        self.assertTrue((prefix / "lib/libcabinaudio-log.so.0").exists())

        # Another project needs to know of one library only.
        user = fresh_directory("embedded-log-user")
        (user / "CMakeLists.txt").write_text(USER, encoding="utf-8")
        (user / "app.cpp").write_text(PROGRAM, encoding="utf-8")
        configure(user, user / "build", f"-DCMAKE_PREFIX_PATH={prefix}")
        run(CMAKE, "--build", user / "build")
        emulator = ["qemu-arm", "-L", "/"] if TOOLCHAIN else []
        self.assertTrue(run(*emulator, user / "build" / "app").endswith("2\n"))


if __name__ == "__main__":
    unittest.main()
