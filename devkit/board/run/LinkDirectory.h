// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::run {

/// A directory in which nobody but this user can make, change or remove anything, and whose path
/// the loader takes as it stands: $XDG_RUNTIME_DIR, or else one below $TMPDIR or /tmp that is made
/// when there is none yet, "cabinaudio-run-<user>-" and six more characters. It stays for the next
/// run.
/// @throws Refusal when there is no such place
std::string linkDirectory();

/// Those of them that are there already.
std::vector<std::string> linkDirectories();

/// Makes a symbolic link in one of them, unless it is there already.
/// @return false when the directory has gone meanwhile
/// @throws Refusal when that is not possible, or when something else has the name
bool makeLink(const std::string& directory, const std::string& name, const std::string& target);

/// Removes links of these names' beginning that lead nowhere from a directory, and a directory that
/// linkDirectory() has made when nothing is left in it. Others are left alone.
/// @return the paths that were removed
std::vector<std::string> removeDanglingLinks(const std::string& directory,
                                             const std::string& beginning);

/// Whether the loader, and the emulator's option, take a path as it stands: a blank, ':', ',' or
/// '$' in it would cut or expand it.
bool isLoadable(const std::string& path);

}  // namespace cabinaudio::run
