# SPDX-License-Identifier: Apache-2.0
# One test program; each of its GoogleTest cases becomes a CTest test.
#   cabinaudio_add_test(<name> SOURCES <file>... [LIBS <target>...] [LABELS <label>...]
#                       [TIMEOUT <seconds>] [INTERPOSES_LIBRARY])
# INTERPOSES_LIBRARY: the program defines operations of the library itself. It runs with the link of
# the library whose own calls use such definitions.
# The board stand-in is the first library on the line, so that its functions precede the C
# library's. It stays behind the executable, which contains a sanitizer's own functions.

find_package(GTest REQUIRED)
include(GoogleTest)

function(cabinaudio_add_test name)
    cmake_parse_arguments(arg "INTERPOSES_LIBRARY" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    set(library cabinaudio)
    if(arg_INTERPOSES_LIBRARY)
        set(library cabinaudio-interposable)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE
        -Wl,--no-as-needed cabinaudio-board -Wl,--as-needed
        cabinaudio-build cabinaudio-test-support ${arg_LIBS} ${library} cabinaudio-log
        GTest::gmock GTest::gtest Threads::Threads ${CMAKE_DL_LIBS})
    if(arg_LABELS)
        set(labels PROPERTIES LABELS "${arg_LABELS}" TIMEOUT ${arg_TIMEOUT})
    else()
        set(labels PROPERTIES TIMEOUT ${arg_TIMEOUT})
    endif()
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
                         DISCOVERY_TIMEOUT 120 ${labels})
endfunction()
