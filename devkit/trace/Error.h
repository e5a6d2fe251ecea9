// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace cabinaudio::trace {

/// A capture cannot be read or written; one line that names the file and the place.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace cabinaudio::trace
