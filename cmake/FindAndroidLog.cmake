# SPDX-License-Identifier: Apache-2.0
# The Android log library as target cabinaudio-log. Debian keeps it in a sub-directory of its
# library path, so its users need an rpath (CMake sets it for imported libraries in the build tree;
# INSTALL_RPATH sets it for installed ones). If it is missing, a stand-in with the same functions is
# built that writes to stderr.

find_library(AndroidLog_LIBRARY NAMES log PATH_SUFFIXES android)
find_path(AndroidLog_INCLUDE_DIR NAMES android/log.h PATH_SUFFIXES android)
mark_as_advanced(AndroidLog_LIBRARY AndroidLog_INCLUDE_DIR)

if(AndroidLog_LIBRARY AND AndroidLog_INCLUDE_DIR)
    add_library(cabinaudio-log UNKNOWN IMPORTED)
    set_target_properties(cabinaudio-log PROPERTIES
        IMPORTED_LOCATION "${AndroidLog_LIBRARY}"
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${AndroidLog_INCLUDE_DIR}"
        INTERFACE_INCLUDE_DIRECTORIES "${AndroidLog_INCLUDE_DIR}")
    get_filename_component(AndroidLog_RPATH "${AndroidLog_LIBRARY}" DIRECTORY)
    message(STATUS "Log library: ${AndroidLog_LIBRARY}")
else()
    add_subdirectory("${PROJECT_SOURCE_DIR}/devkit/log" "${PROJECT_BINARY_DIR}/devkit/log")
    set(AndroidLog_RPATH "$ORIGIN")  # installed in the same directory
    message(STATUS "Log library: not found (Debian: android-liblog-dev), using the stderr stand-in")
endif()
set(AndroidLog_FOUND TRUE)
