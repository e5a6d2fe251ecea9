// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace cabinaudio::hear {

/// A check that cannot be made, or a text that is no check. One line, without a line end.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace cabinaudio::hear
