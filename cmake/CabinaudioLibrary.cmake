# SPDX-License-Identifier: Apache-2.0
# libcabinaudio.so.2, made of the layers.

add_library(cabinaudio SHARED)
add_library(cabinaudio::cabinaudio ALIAS cabinaudio)
foreach(layer foundation link shm diag client)
    target_link_libraries(cabinaudio PRIVATE cabinaudio-${layer})
    target_sources(cabinaudio PRIVATE $<TARGET_OBJECTS:cabinaudio-${layer}>)
endforeach()
target_include_directories(cabinaudio PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(cabinaudio INTERFACE cxx_std_17)
# Dependencies are not passed on to users. The log library is given by its file: if built here, its
# target would have to be installed for users.
target_link_libraries(cabinaudio PRIVATE
    $<BUILD_INTERFACE:cabinaudio-build> $<TARGET_LINKER_FILE:cabinaudio-log> Threads::Threads)
add_dependencies(cabinaudio cabinaudio-log)
set(cabinaudio_map "${PROJECT_SOURCE_DIR}/cmake/cabinaudio.map")
# Calls between the library's own operations are bound directly: without entries in the procedure
# linkage table, and without a name look-up per vtable entry when the library is loaded.
set(cabinaudio_replaceable "${PROJECT_SOURCE_DIR}/cmake/replaceable.list")
target_link_options(cabinaudio PRIVATE
    "LINKER:--version-script=${cabinaudio_map}"
    "LINKER:-Bsymbolic-functions" "LINKER:--dynamic-list=${cabinaudio_replaceable}")
if(NOT CABINAUDIO_SANITIZE)
    target_link_options(cabinaudio PRIVATE "LINKER:-z,defs" "LINKER:-z,relro" "LINKER:--as-needed")
    # Relative relocations take one bit each instead of 24 bytes, if linker and C library support
    # that.
    include(CheckLinkerFlag)
    check_linker_flag(CXX "LINKER:--fatal-warnings,-z,pack-relative-relocs"
                      CABINAUDIO_PACKS_RELOCATIONS)
    if(CABINAUDIO_PACKS_RELOCATIONS)
        target_link_options(cabinaudio PRIVATE "LINKER:-z,pack-relative-relocs")
    endif()
endif()
set_target_properties(cabinaudio PROPERTIES
    LINKER_LANGUAGE CXX
    LINK_DEPENDS "${cabinaudio_map};${cabinaudio_replaceable}"
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH "${AndroidLog_RPATH}")

if(CABINAUDIO_INSTALL)
    install(TARGETS cabinaudio EXPORT cabinaudio-targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library
        NAMELINK_COMPONENT development)
endif()
