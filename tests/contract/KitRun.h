// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/tools/ToolTest.h"

#include <string>
#include <vector>

namespace cabinaudio::test {

/// Names of the rules with this result, in their order.
[[nodiscard]] std::vector<std::string> rulesOf(const json& report, const std::string& result);

/// A server of its own instance that is broken in the rules of a pattern, and the tool's report on
/// it. Test time passes as fast as the tool lets it.
[[nodiscard]] json reportOnBroken(const std::string& pattern, const Words& options = {});

/// Names of all rules that the tool lists.
[[nodiscard]] std::vector<std::string> listedRules();

}  // namespace cabinaudio::test
