// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::run {

/// The entries of LD_PRELOAD in the environment, without board libraries: of two, both
/// would map the names, the second what the first has mapped.
std::vector<std::string> foreignPreloads();

/// A path that the loader (and the emulator's option) takes as it stands. One with a
/// blank, ':', ',' or '$' in it would be cut or expanded, and the preload skipped with
/// no more than a warning; such a path is reached through a link in linkDirectory().
/// @throws Refusal when that link cannot be made
std::string loadablePath(const std::string& path);

/// What the names of the links begin with that loadablePath() makes for this user.
std::string loadableLinkBeginning();

std::string joinedPreloads(const std::vector<std::string>& entries);

}  // namespace cabinaudio::run
