# SPDX-License-Identifier: Apache-2.0
# Files for other projects: headers, the CMake package and cabinaudio.pc. Their paths are relative,
# so that the installed tree may be moved, packed, or unpacked below a sysroot.
#
# Components: `library` for running programs, `development` for building them; `tools` and `devkit`
# contain the programs, `documentation` the guides and the examples.
include(CMakePackageConfigHelpers)

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/cabinaudio"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

set(cabinaudio_package "${CMAKE_INSTALL_LIBDIR}/cmake/cabinaudio")
install(EXPORT cabinaudio-targets
    FILE cabinaudioTargets.cmake NAMESPACE cabinaudio::
    DESTINATION "${cabinaudio_package}" COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/cabinaudioConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/cabinaudioConfig.cmake"
    INSTALL_DESTINATION "${cabinaudio_package}" NO_SET_AND_CHECK_MACRO)
# The major version identifies the ABI.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/cabinaudioConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/cabinaudioConfig.cmake"
    "${PROJECT_BINARY_DIR}/cabinaudioConfigVersion.cmake"
    DESTINATION "${cabinaudio_package}" COMPONENT development)

# cabinaudio_pc_directory(<variable> <directory>): the directory in the form for the .pc file.
function(cabinaudio_pc_directory variable directory)
    if(NOT IS_ABSOLUTE "${directory}")
        string(PREPEND directory "\${prefix}/")
    endif()
    set(${variable} "${directory}" PARENT_SCOPE)
endfunction()

if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(cabinaudio_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH cabinaudio_pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(REGEX REPLACE "/$" "" cabinaudio_pc_prefix "\${pcfiledir}/${cabinaudio_pc_prefix}")
endif()
cabinaudio_pc_directory(cabinaudio_pc_libdir "${CMAKE_INSTALL_LIBDIR}")
cabinaudio_pc_directory(cabinaudio_pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/cabinaudio.pc.in" "${PROJECT_BINARY_DIR}/cabinaudio.pc"
    @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/cabinaudio.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# The links between these pages stay valid. Packages that install them in their own way leave the
# component out.
set(cabinaudio_pages "${CMAKE_INSTALL_DOCDIR}")
install(FILES README.md CHANGELOG.md LICENSE
    DESTINATION "${cabinaudio_pages}"
    COMPONENT documentation)
install(DIRECTORY docs DESTINATION "${cabinaudio_pages}" COMPONENT documentation
    PATTERN Doxyfile EXCLUDE)
install(FILES devkit/server/README.md DESTINATION "${cabinaudio_pages}/devkit/server"
    COMPONENT documentation)
# By name: users build in this directory.
install(DIRECTORY examples DESTINATION "${cabinaudio_pages}" COMPONENT documentation
    FILES_MATCHING PATTERN *.cpp PATTERN *.h PATTERN CMakeLists.txt PATTERN Makefile
    PATTERN README.md PATTERN *.sh PATTERN *.py PATTERN *.scenario PATTERN build EXCLUDE)
