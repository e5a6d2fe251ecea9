# SPDX-License-Identifier: Apache-2.0
# libcabinaudio.so.2, made of the layers, and a second link of the same objects for tests.

set(cabinaudio_map "${PROJECT_SOURCE_DIR}/cmake/cabinaudio.map")
include(CheckLinkerFlag)
if(NOT CABINAUDIO_SANITIZE)
    # Relative relocations take one bit each instead of 24 bytes, if linker and C library support
    # that.
    check_linker_flag(CXX "LINKER:--fatal-warnings,-z,pack-relative-relocs"
                      CABINAUDIO_PACKS_RELOCATIONS)
endif()

# Links the layers' objects to a library with the public headers and the SONAME.
function(cabinaudio_link_layers target)
    foreach(layer foundation link shm diag client)
        target_link_libraries(${target} PRIVATE cabinaudio-${layer})
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:cabinaudio-${layer}>)
    endforeach()
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(${target} INTERFACE cxx_std_17)
    # Dependencies are not passed on to users. The log library is given by its file: if built here,
    # its target would have to be installed for users.
    target_link_libraries(${target} PRIVATE
        $<BUILD_INTERFACE:cabinaudio-build> $<TARGET_LINKER_FILE:cabinaudio-log> Threads::Threads)
    add_dependencies(${target} cabinaudio-log)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${cabinaudio_map}")
    if(NOT CABINAUDIO_SANITIZE)
        target_link_options(${target} PRIVATE
            "LINKER:-z,defs" "LINKER:-z,relro" "LINKER:--as-needed")
        if(CABINAUDIO_PACKS_RELOCATIONS)
            target_link_options(${target} PRIVATE "LINKER:-z,pack-relative-relocs")
        endif()
    endif()
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME cabinaudio
        LINKER_LANGUAGE CXX
        LINK_DEPENDS "${cabinaudio_map}"
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
endfunction()

add_library(cabinaudio SHARED)
add_library(cabinaudio::cabinaudio ALIAS cabinaudio)
cabinaudio_link_layers(cabinaudio)
# Calls between the library's own operations are bound directly: without entries in the procedure
# linkage table, and without a name look-up per vtable entry when the library is loaded.
target_link_options(cabinaudio PRIVATE "LINKER:-Bsymbolic-functions")
# With a list of exceptions the linker also binds data: vtables and type information. This built-in
# list has only names that the library does not define. -Bsymbolic would bind the same, but also mark
# the library, and the loader would look up all its symbols in the library first.
check_linker_flag(CXX "LINKER:--dynamic-list-cpp-new" CABINAUDIO_BINDS_DATA)
if(CABINAUDIO_BINDS_DATA)
    target_link_options(cabinaudio PRIVATE "LINKER:--dynamic-list-cpp-new")
endif()
set_target_properties(cabinaudio PROPERTIES INSTALL_RPATH "${AndroidLog_RPATH}")

# For test programs that put functions of their own in front of the library's: nothing is bound.
if(PROJECT_IS_TOP_LEVEL)
    add_library(cabinaudio-interposable SHARED EXCLUDE_FROM_ALL)
    cabinaudio_link_layers(cabinaudio-interposable)
    set_target_properties(cabinaudio-interposable PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/interposable")
endif()

if(CABINAUDIO_INSTALL)
    install(TARGETS cabinaudio EXPORT cabinaudio-targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library
        NAMELINK_COMPONENT development)
endif()
