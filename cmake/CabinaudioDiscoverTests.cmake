# SPDX-License-Identifier: Apache-2.0
# cabinaudio_discover_tests(<target> [<option of gtest_discover_tests>...])
#
# Each GoogleTest case of the target becomes a CTest test that runs through cabinaudio-run, which
# gives it the board's devices. 32-bit ARM programs run in qemu-arm. The tests find the programs of
# the development kit that belong to this package, or in PATH; failed tests leave their files in the
# directory CABINAUDIO_TEST_OUTPUT, by default cabinaudio-tests in the build directory.
include(GoogleTest)

# Sets <variable> to the path of a program: of this build, beside the package, or in PATH. Empty when
# there is none.
function(cabinaudio_find_program variable name target)
    if(TARGET ${target} AND NOT CMAKE_CROSSCOMPILING)
        set(${variable} "$<TARGET_FILE:${target}>" PARENT_SCOPE)
        return()
    endif()
    # What is beside the package of another architecture are that architecture's programs; the tests
    # start this machine's.
    set(hints)
    if(NOT CMAKE_CROSSCOMPILING)
        set(hints HINTS "${cabinaudio_PROGRAMS}")
    endif()
    find_program(CABINAUDIO_PROGRAM_${target} NAMES ${name} ${hints} NO_CMAKE_PATH
        NO_CMAKE_FIND_ROOT_PATH)
    mark_as_advanced(CABINAUDIO_PROGRAM_${target})
    set(${variable} "${CABINAUDIO_PROGRAM_${target}}" PARENT_SCOPE)
endfunction()

function(cabinaudio_discover_tests target)
    cabinaudio_find_program(launcher cabinaudio-run cabinaudio-run)
    cabinaudio_find_program(server cabinaudio-server cabinaudio-server)
    cabinaudio_find_program(tool cabinaudio cabinaudio-tool)
    if(NOT launcher OR NOT server)
        message(FATAL_ERROR "cabinaudio_discover_tests: cabinaudio-run or cabinaudio-server is not "
            "found: install the development kit (Debian: cabinaudio-devkit), or put it into PATH")
    endif()
    set(output "${CABINAUDIO_TEST_OUTPUT}")
    if(NOT output)
        set(output "${CMAKE_BINARY_DIR}/cabinaudio-tests")
    endif()
    set(variables "CABINAUDIO_SERVER=${server}" "CABINAUDIO_LAUNCHER=${launcher}"
        "CABINAUDIO_TEST_OUTPUT=${output}")
    if(tool)  # for scenarios only
        list(APPEND variables "CABINAUDIO_TOOL=${tool}")
    endif()
    if(CMAKE_CROSSCOMPILING AND EXISTS "${cabinaudio_BOARD}")
        # The launcher finds this machine's beside itself.
        list(APPEND variables "CABINAUDIO_BOARD_LIB=${cabinaudio_BOARD}")
    endif()
    # By a program in front, because gtest_discover_tests() takes no lists as values of properties.
    # From 3.29 on, the emulator may count in cross builds only.
    if(CMAKE_CROSSCOMPILING OR CMAKE_VERSION VERSION_LESS 3.29)
        set(front CROSSCOMPILING_EMULATOR)
    else()
        set(front TEST_LAUNCHER)
    endif()
    set_target_properties(${target} PROPERTIES ${front}
        "${CMAKE_COMMAND};-E;env;${variables};${launcher};--timeout;120;--")
    gtest_discover_tests(${target} ${ARGN})
endfunction()
