// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ExitCode.h"

#include <stdexcept>
#include <string>

namespace cabinaudio::tool {

/// Ends a sub-command. The text for the user is one line with a remedy, without a line end.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text, ExitCode code = ExitCode::Failed)
        : std::runtime_error(text), mCode(code) {}

    [[nodiscard]] ExitCode code() const { return mCode; }

private:
    ExitCode mCode;
};

}  // namespace cabinaudio::tool
