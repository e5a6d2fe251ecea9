// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::run {

/// Removes the instance's physical memory, its shared-memory objects, and dangling links of
/// loadablePath(). The common instance ("") keeps its shared-memory objects, because their names
/// have no prefix. Programs that still use the removed objects keep them; programs started later
/// get new ones.
/// @return the removed paths
std::vector<std::string> removeLeftovers(const std::string& instance);

/// Removes the diagnostics file of an instance that is not used again.
void removeConfiguration(const std::string& instance);

}  // namespace cabinaudio::run
