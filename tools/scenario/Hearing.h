// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/PrivateServer.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::tool::scenario {

/// The sound of one part, and the checks of it. Without devkit/hear in this build, no check can be
/// made.
class Hearing {
public:
    /// Makes the checks. One that cannot be made is not met, and its text says why.
    Hearing(const PartFiles& files, const std::vector<std::string>& checks);
    ~Hearing();
    Hearing(Hearing&&) noexcept;
    Hearing& operator=(Hearing&&) noexcept;

    /// @param check  one of the constructor's
    /// @return whether the check is met, and the line for people
    [[nodiscard]] std::pair<bool, std::string> verdict(const std::string& check) const;

    /// Draws the picture of the part if there is a sound. A picture that cannot be drawn, or would
    /// need too much memory, is left out.
    void draw() const;

private:
    struct Inside;
    std::unique_ptr<Inside> mInside;
};

/// @return what is wrong with the text of a check; empty if it is one
[[nodiscard]] std::string checkFault(const std::string& check);

}  // namespace cabinaudio::tool::scenario
