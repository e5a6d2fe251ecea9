# SPDX-License-Identifier: Apache-2.0
# Compile options of all targets in this tree. A project that embeds this one is not affected.

add_library(cabinaudio-build INTERFACE)
target_compile_features(cabinaudio-build INTERFACE cxx_std_20)
target_include_directories(cabinaudio-build INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(cabinaudio-build INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    # clang includes sign conversions in -Wconversion, g++ does not; apply the same rules to both.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>
    # Checks the annotations of ThreadSafety.h.
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # Note of g++ about ABI changes on 32-bit ARM in version 7.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-psabi>)
if(CABINAUDIO_WERROR)
    target_compile_options(cabinaudio-build INTERFACE -Werror)
endif()
if(CABINAUDIO_UNITY)
    # g++ permits test fixtures in an anonymous namespace, but not in files that others include.
    target_compile_options(cabinaudio-build INTERFACE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>
        # Collecting garbage below 1 GB of memory takes a fifth of the time of large units.
        $<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1048576>)
endif()
if(CABINAUDIO_SANITIZE)
    target_compile_options(cabinaudio-build INTERFACE
        -fsanitize=${CABINAUDIO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        # Tests call the library's operations by symbol and by vtable slot, as foreign programs do.
        $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>
        # Tests also interpose operations: exported ones must not be inlined.
        $<$<CXX_COMPILER_ID:Clang>:-fsemantic-interposition>)
    target_link_options(cabinaudio-build INTERFACE -fsanitize=${CABINAUDIO_SANITIZE})
endif()
if(CABINAUDIO_BUILD_FUZZERS)
    target_compile_options(cabinaudio-build INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(cabinaudio-build INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(CABINAUDIO_COVERAGE)
    target_link_options(cabinaudio-build INTERFACE --coverage)
endif()

# Imports a library without a CMake package and without a usable .pc file.
#   cabinaudio_import(<target> [OPTIONAL] LIBRARY <name> HEADER <header> PACKAGE <Debian package>
#                     [RUNTIME <file>])
# RUNTIME: the library of programs. It is linked where the target's development package cannot be
# installed, with the header of this machine's.
function(cabinaudio_import target)
    cmake_parse_arguments(arg "OPTIONAL" "LIBRARY;HEADER;PACKAGE;RUNTIME" "" ${ARGN})
    find_library(${target}_LIBRARY NAMES ${arg_LIBRARY} ${arg_RUNTIME})
    find_path(${target}_INCLUDE_DIR NAMES ${arg_HEADER})
    mark_as_advanced(${target}_LIBRARY ${target}_INCLUDE_DIR)
    if(NOT ${target}_LIBRARY OR NOT ${target}_INCLUDE_DIR)
        if(arg_OPTIONAL)
            message(STATUS "${arg_LIBRARY}: not found (Debian: ${arg_PACKAGE}), built without it")
            return()
        endif()
        message(FATAL_ERROR "${arg_LIBRARY} not found: install ${arg_PACKAGE}")
    endif()
    add_library(${target} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES
        IMPORTED_LOCATION "${${target}_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${${target}_INCLUDE_DIR}")
endfunction()

# One layer of the library as an object library.
#   cabinaudio_add_layer(<layer> SOURCES <file>...)
function(cabinaudio_add_layer layer)
    cmake_parse_arguments(arg "" "" "SOURCES" ${ARGN})
    add_library(cabinaudio-${layer} OBJECT ${arg_SOURCES})
    target_include_directories(cabinaudio-${layer} PUBLIC "${PROJECT_SOURCE_DIR}/include")
    target_include_directories(cabinaudio-${layer} PRIVATE
        $<TARGET_PROPERTY:cabinaudio-log,INTERFACE_INCLUDE_DIRECTORIES>)
    target_link_libraries(cabinaudio-${layer} PRIVATE cabinaudio-build)
    if(CABINAUDIO_COVERAGE)
        target_compile_options(cabinaudio-${layer} PRIVATE
            --coverage -fprofile-update=atomic -O0)
    endif()
    set_target_properties(cabinaudio-${layer} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# To be called when all targets are there: a source of several targets is compiled by itself. A program
# that links two libraries with the same source takes one of its objects, and needs no part of the other.
function(cabinaudio_separate_shared_sources)
    cabinaudio_find_targets("${PROJECT_SOURCE_DIR}" targets)
    foreach(target IN LISTS targets)
        cabinaudio_source_paths(${target} sources)
        foreach(source IN LISTS sources)
            string(MD5 key "${source}")
            list(APPEND users-${key} ${target})
            list(APPEND paths "${source}")
        endforeach()
    endforeach()
    list(REMOVE_DUPLICATES paths)
    foreach(path IN LISTS paths)
        string(MD5 key "${path}")
        list(LENGTH users-${key} count)
        if(count GREATER 1)
            set_source_files_properties("${path}" TARGET_DIRECTORY ${users-${key}} PROPERTIES
                SKIP_UNITY_BUILD_INCLUSION ON)
        endif()
    endforeach()
endfunction()

# Sets result in the caller: the targets of a directory and those below it that compile sources.
function(cabinaudio_find_targets directory result)
    get_property(all DIRECTORY "${directory}" PROPERTY BUILDSYSTEM_TARGETS)
    set(found)
    foreach(target IN LISTS all)
        get_target_property(type ${target} TYPE)
        if(type MATCHES "EXECUTABLE|LIBRARY" AND NOT type STREQUAL "INTERFACE_LIBRARY")
            list(APPEND found ${target})
        endif()
    endforeach()
    get_property(below DIRECTORY "${directory}" PROPERTY SUBDIRECTORIES)
    foreach(subdirectory IN LISTS below)
        cabinaudio_find_targets("${subdirectory}" more)
        list(APPEND found ${more})
    endforeach()
    set(${result} "${found}" PARENT_SCOPE)
endfunction()

# Sets result in the caller: the sources of a target, without the objects of others.
function(cabinaudio_source_paths target result)
    get_target_property(sources ${target} SOURCES)
    get_target_property(directory ${target} SOURCE_DIR)
    list(FILTER sources EXCLUDE REGEX "^[$]<")
    set(paths)
    foreach(source IN LISTS sources)
        get_filename_component(path "${source}" ABSOLUTE BASE_DIR "${directory}")
        list(APPEND paths "${path}")
    endforeach()
    set(${result} "${paths}" PARENT_SCOPE)
endfunction()
