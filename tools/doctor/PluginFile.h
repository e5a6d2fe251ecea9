// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/doctor/Check.h"

#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// The plug-ins load it to bind the library behind the board's stand-in. It is installed there,
/// seen from the directory of a plug-in.
inline constexpr char KIT_LIBRARY[] = "../cabinaudio/libcabinaudio-with-board.so";
inline constexpr char KIT_PACKAGE[] = "libcabinaudio-board";

/// A file of a plug-in, for programs that would load it.
struct PluginFile {
    std::string path;
    bool isThere = false;
    std::string kind;   // "64-bit x86"; empty unless it is an ELF file
    bool fits = false;  // word size and machine are this program's
    /// Libraries that the dynamic loader does not find; empty where the loader cannot be asked.
    std::optional<std::vector<std::string>> missing;

    [[nodiscard]] Json toJson() const;
};

/// Looks at a file. The dynamic loader is asked for its libraries in a process of its own, which
/// runs no code of the file and has neither this program's libraries nor the stand-in. Call only
/// while this process has one thread.
[[nodiscard]] PluginFile lookAt(const std::string& path);

/// Names the first problem of the files in a check. @return whether there is one
[[nodiscard]] bool findProblem(const std::vector<PluginFile>& files, const std::string& package,
                               Check& check);

/// Word size and machine of this program: "64-bit x86".
[[nodiscard]] std::string ownKind();

/// Directory of a library that is loaded into this process, and found as programs find it.
/// @return "" when it is not there
[[nodiscard]] std::string directoryOfLibrary(void* handle);

[[nodiscard]] bool isThere(const std::string& path);

/// How the finding of a plug-in in order continues: the reach of programs without the launcher.
/// @param hasKit  the development kit is used
[[nodiscard]] std::string reachText(bool hasKit);

}  // namespace cabinaudio::tool
