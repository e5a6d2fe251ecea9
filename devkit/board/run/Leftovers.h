// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::run {

/// Removes the instance's physical memory and its shared-memory objects ("": the common
/// instance, whose objects have names of their own and are left alone), and those links
/// of loadablePath() that lead nowhere. Programs that still use the removed objects keep
/// them; programs started later get new ones.
/// @return the paths that were removed
std::vector<std::string> removeLeftovers(const std::string& instance);

/// Removes the diagnostics file of an instance that never comes back.
void removeConfiguration(const std::string& instance);

}  // namespace cabinaudio::run
