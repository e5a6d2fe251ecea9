# SPDX-License-Identifier: Apache-2.0
# One test program; each of its GoogleTest cases becomes a CTest test. With CABINAUDIO_TEST_SHARDS
# its cases are divided among that many tests instead: where a process takes long to start (an
# emulator, a sanitizer), starting one for each case takes longer than all cases.
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
    if(CABINAUDIO_TEST_SHARDS)
        math(EXPR arg_TIMEOUT "${arg_TIMEOUT} + 480")  # a case that takes long, and the others
    endif()
    set(properties TIMEOUT ${arg_TIMEOUT})
    if(arg_LABELS)
        list(APPEND properties LABELS "${arg_LABELS}")
    endif()
    list(FIND cabinaudio_long_tests ${name} place)
    if(place GREATER_EQUAL 0)
        math(EXPR place "${place} + 1")
        list(GET cabinaudio_long_tests ${place} seconds)
        list(APPEND properties COST ${seconds})
    endif()
    if(CABINAUDIO_TEST_SHARDS)
        cabinaudio_add_shards(${name} ${properties})
    else()
        gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
                             DISCOVERY_TIMEOUT 120 PROPERTIES ${properties})
    endif()
    set_property(GLOBAL APPEND PROPERTY cabinaudio_test_programs ${name})
endfunction()

# Of n shards, GoogleTest gives the first one the cases 1, n + 1, 2n + 1 and so on.
function(cabinaudio_add_shards program)
    set(count ${CABINAUDIO_TEST_SHARDS})
    if(program IN_LIST cabinaudio_slow_programs)
        math(EXPR count "4 * ${count}")
    endif()
    math(EXPR last "${count} - 1")
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    foreach(index RANGE ${last})
        math(EXPR number "${index} + 1")
        set(shard "${program}.${number}of${count}")
        set(variables GTEST_TOTAL_SHARDS=${count} GTEST_SHARD_INDEX=${index}
            "CABINAUDIO_TEST_EMULATOR=${emulator}")  # by which the program repeats failed cases
        add_test(NAME "${shard}" COMMAND ${program})
        set_tests_properties("${shard}" PROPERTIES ${ARGN} ENVIRONMENT "${variables}")
    endforeach()
endfunction()

# Programs whose cases together take more than ten seconds on an idle machine, most of them waits.
# They have four times as many shards, so that these run in parallel.
set(cabinaudio_slow_programs
    alsa-programs-test alsa-test call-test client-storm-test client-stream-test client-test
    gst-sink-test gst-source-test hear-test hearing-test kill-test server-half-open-test
    server-settings-test server-test server-time-test sound-test test-tool test-tool-bounds
    test-tool-doctor test-tool-replay test-tool-scenario)

# Seconds of a program's longest test, for programs with tests of two and more. CTest starts long
# tests first; without these figures, the first run in a new build tree ends with a few long tests
# alone.
set(cabinaudio_long_tests
    call-test 6 client-server-test 2 client-storm-test 9 client-stream-test 5
    client-test 2 coded-uplink-test 5 faults-test 20 kill-test 3 life-cycle-test 4 link-tests 4
    race-test 2 server-neighbours-test 5 server-parts-test 2 server-settings-test 10 server-test 2
    settings-replay-test 5 shm-test 2 sound-test 3 test-tool 5)

# cabinaudio_speed_up_tests(): to be called after the last test program, when all options,
# definitions and source properties are set. Most of the time of compiling a test goes into headers:
#  - GoogleTest and the standard headers that most tests include are precompiled.
#  - A source of several programs (fixtures, raw clients) is compiled once; each program still links
#    the objects of exactly the sources that it lists.
# Neither applies to a source with options or definitions of its own: such a source defines
# functions of the C library, or must not be instrumented.
function(cabinaudio_speed_up_tests)
    # clang's precompiled headers contain the paths of the clone: with them, ccache would find
    # nothing that was compiled in another clone.
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR NOT CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
        cabinaudio_precompile(cabinaudio-test-headers)
        cabinaudio_precompile(cabinaudio-test-headers-json <nlohmann/json.hpp>)
    endif()
    get_property(programs GLOBAL PROPERTY cabinaudio_test_programs)
    # users-<key>: the programs that compile one source in the same way.
    set(keys)
    foreach(program IN LISTS programs)
        cabinaudio_find_sources(${program})
        foreach(path IN LISTS ordinary)
            # The definitions of a program are for the sources in its own directory.
            get_filename_component(folder "${path}" DIRECTORY)
            file(RELATIVE_PATH name "${PROJECT_SOURCE_DIR}/tests" "${path}")
            if(definitions AND folder STREQUAL directory)
                string(MD5 key "${name};${options};${definitions}")
            else()
                string(MD5 key "${name};${options}")
            endif()
            list(APPEND keys ${key})
            list(APPEND users-${key} ${program})
            set(path-${key} "${path}")
        endforeach()
    endforeach()
    list(REMOVE_DUPLICATES keys)
    foreach(key IN LISTS keys)
        list(LENGTH users-${key} count)
        if(count GREATER 1)
            cabinaudio_compile_once(${key} "${path-${key}}" ${users-${key}})
        endif()
    endforeach()
    foreach(program IN LISTS programs)
        cabinaudio_reuse_headers(${program} ${program})
    endforeach()
endfunction()

# An object library that only compiles these headers.
function(cabinaudio_precompile name)
    set(source "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "// Compiled for its precompiled header only.\n")
    add_library(${name} OBJECT "${source}")
    target_link_libraries(${name} PRIVATE
        cabinaudio-build cabinaudio-test-support GTest::gmock GTest::gtest Threads::Threads)
    target_precompile_headers(${name} PRIVATE
        <gmock/gmock.h> <gtest/gtest.h>
        <algorithm> <array> <atomic> <chrono> <filesystem> <fstream> <functional> <future> <map>
        <memory> <mutex> <optional> <string> <thread> <vector> ${ARGN})
endfunction()

# Sets in the caller the program's directory, options and definitions, and ordinary: the whole paths
# of its sources without properties of their own.
function(cabinaudio_find_sources program)
    get_target_property(sources ${program} SOURCES)
    get_target_property(directory ${program} SOURCE_DIR)
    set(ordinary)
    list(FILTER sources EXCLUDE REGEX "^[$]<")
    foreach(source IN LISTS sources)
        get_filename_component(path "${source}" ABSOLUTE BASE_DIR "${directory}")
        set(special)
        foreach(property COMPILE_OPTIONS COMPILE_DEFINITIONS COMPILE_FLAGS)
            get_source_file_property(value "${path}" TARGET_DIRECTORY ${program} ${property})
            if(value)
                set(special yes)
            endif()
        endforeach()
        if(special)
            set_source_files_properties("${path}" TARGET_DIRECTORY ${program} PROPERTIES
                SKIP_PRECOMPILE_HEADERS ON)
        else()
            list(APPEND ordinary "${path}")
        endif()
    endforeach()
    get_target_property(options ${program} COMPILE_OPTIONS)
    get_target_property(definitions ${program} COMPILE_DEFINITIONS)
    foreach(result directory options definitions ordinary)
        set(${result} "${${result}}" PARENT_SCOPE)
    endforeach()
endfunction()

# Compiles the source as the first of these programs does, for all of them.
function(cabinaudio_compile_once key path first)
    file(RELATIVE_PATH name "${PROJECT_SOURCE_DIR}/tests" "${path}")
    string(MAKE_C_IDENTIFIER "${name}" name)
    string(SUBSTRING ${key} 0 4 suffix)
    set(object shared-${name}-${suffix})
    add_library(${object} OBJECT "${path}")
    foreach(property COMPILE_OPTIONS COMPILE_DEFINITIONS INCLUDE_DIRECTORIES LINK_LIBRARIES)
        get_target_property(value ${first} ${property})
        if(value)
            set_target_properties(${object} PROPERTIES ${property} "${value}")
        endif()
    endforeach()
    cabinaudio_reuse_headers(${object} ${first})
    foreach(program ${first} ${ARGN})
        get_target_property(sources ${program} SOURCES)
        get_target_property(directory ${program} SOURCE_DIR)
        set(others)
        foreach(source IN LISTS sources)
            get_filename_component(absolute "${source}" ABSOLUTE BASE_DIR "${directory}")
            if(absolute STREQUAL path)
                list(APPEND others $<TARGET_OBJECTS:${object}>)
            else()
                list(APPEND others "${source}")
            endif()
        endforeach()
        set_target_properties(${program} PROPERTIES SOURCES "${others}")
    endforeach()
endfunction()

# A precompiled header fits only the options that it was compiled with.
function(cabinaudio_reuse_headers target program)
    get_target_property(options ${target} COMPILE_OPTIONS)
    get_directory_property(usual COMPILE_OPTIONS)
    if(NOT options STREQUAL usual OR NOT TARGET cabinaudio-test-headers)
        return()
    endif()
    get_target_property(libs ${program} LINK_LIBRARIES)
    if("nlohmann_json::nlohmann_json" IN_LIST libs OR "cabinaudio-server-parts" IN_LIST libs)
        target_precompile_headers(${target} REUSE_FROM cabinaudio-test-headers-json)
    else()
        target_precompile_headers(${target} REUSE_FROM cabinaudio-test-headers)
    endif()
endfunction()
