// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <string>

namespace cabinaudio::test {

/// Base of the rows of parameterised tests: the name that a failure and CTest show.
struct Row {
    constexpr Row(const char* text) : name(text) {}  // implicit, so that a row begins with its name

    const char* name;
};

inline std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

/// For INSTANTIATE_TEST_SUITE_P.
inline constexpr auto ROW_NAME = [](const auto& info) { return std::string(info.param.name); };

}  // namespace cabinaudio::test
