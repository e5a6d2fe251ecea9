// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace cabinaudio::testing {

/// What the kit throws: a program that is not installed, a server that does not start, a command
/// that is refused, a wait that is over, a file that cannot be read. The text is one line that says
/// what failed and where. In a GoogleTest test an exception is a failure of that test.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace cabinaudio::testing
