# SPDX-License-Identifier: Apache-2.0
# One test program; each of its GoogleTest cases becomes a CTest test.
#   cabinaudio_add_test(<name> SOURCES <file>... [LIBS <target>...] [LABELS <label>...]
#                       [TIMEOUT <seconds>] [INTERPOSES <family>...])
# INTERPOSES: families of functions that the program defines itself, see tests/interpose.
# The board stand-in is the first library on the line, so that its functions precede the C
# library's. It stays behind the executable, which contains a sanitizer's own functions.

find_package(GTest REQUIRED)
include(GoogleTest)

# Adds families of tests/interpose to a program. <library> becomes the link of the library to run it
# with: one whose own calls use the program's definitions, if the program has any.
function(cabinaudio_interpose name library)
    set(${library} cabinaudio PARENT_SCOPE)
    foreach(family IN LISTS ARGN)
        target_link_libraries(${name} PRIVATE cabinaudio-interpose-${family})
        if(family STREQUAL "operations")
            set(${library} cabinaudio-interposable PARENT_SCOPE)
        endif()
    endforeach()
endfunction()

function(cabinaudio_add_test name)
    cmake_parse_arguments(arg "" "TIMEOUT" "SOURCES;LIBS;LABELS;INTERPOSES" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_executable(${name} ${arg_SOURCES})
    cabinaudio_interpose(${name} library ${arg_INTERPOSES})
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
