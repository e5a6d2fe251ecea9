// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::run {

/// The entries of LD_PRELOAD in the environment, without board libraries and recorders: of two, the
/// second would map names that the first has already mapped, or record messages twice.
std::vector<std::string> foreignPreloads();

/// A path that the loader (and the emulator's option) take literally. A blank, ':', ',' or '$'
/// would split or expand it, and the preload would be skipped with only a warning; such a path is
/// reached through a link in linkDirectory().
/// @throws Refusal when the link cannot be created
std::string loadablePath(const std::string& path);

/// Prefix of the names of links that loadablePath() creates for this user.
std::string loadableLinkPrefix();

std::string joinedPreloads(const std::vector<std::string>& entries);

}  // namespace cabinaudio::run
