# SPDX-License-Identifier: Apache-2.0
# Writes the files of a directory into a C++ source, in the order of their names:
#     cmake -D DIRECTORY=... -D OUTPUT=... -P embed.cmake
file(GLOB files RELATIVE "${DIRECTORY}" "${DIRECTORY}/*")
list(SORT files)
set(arrays "")
set(rows "")
set(number 0)
foreach(name IN LISTS files)
    file(READ "${DIRECTORY}/${name}" bytes HEX)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
    # Never empty: a zero-length array is no C++.
    string(APPEND arrays "constexpr char FILE_${number}[] = {${bytes}'\\0'};\n")
    string(APPEND rows "    {\"${name}\", {FILE_${number}, sizeof FILE_${number} - 1}},\n")
    math(EXPR number "${number} + 1")
endforeach()
file(WRITE "${OUTPUT}" "// Made by embed.cmake from the files of the page.
#include \"tools/view/Assets.h\"

namespace cabinaudio::tool::view {
namespace {
${arrays}
constexpr Asset ASSETS[] = {
${rows}};
}  // namespace

std::span<const Asset> assets() {
    return ASSETS;
}

}  // namespace cabinaudio::tool::view
")
