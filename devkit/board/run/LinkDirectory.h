// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::run {

/// A directory that only this user can change, with a path that the loader takes literally:
/// $XDG_RUNTIME_DIR, or else "cabinaudio-run-<user>-" and six more characters below $TMPDIR or
/// /tmp, created if missing and kept for the next run.
/// @throws Refusal when there is no such directory
std::string linkDirectory();

/// The possible link directories that already exist.
std::vector<std::string> linkDirectories();

/// Creates a symbolic link in the directory, unless it already exists.
/// @return false when the directory has been removed meanwhile
/// @throws Refusal when that fails, or when something else has the name
bool makeLink(const std::string& directory, const std::string& name, const std::string& target);

/// Removes dangling links with this prefix from a directory, and the directory itself if
/// linkDirectory() created it and it is empty then. Other entries stay.
/// @return the removed paths
std::vector<std::string> removeDanglingLinks(const std::string& directory,
                                             const std::string& prefix);

/// Whether the loader, and the emulator's option, take a path literally: a blank, ':', ',' or '$'
/// in it would split or expand it.
bool isLoadable(const std::string& path);

}  // namespace cabinaudio::run
