// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/inputs/InputSource.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace cabinaudio::server {

/// What capture streams record: one text for all of them, others for some tags. A text is
/// "tone:HZ", "silence", "mic" or the name of a sound file.
class InputChoice {
public:
    /// Takes "WHAT" or "TAG=WHAT"; a later one replaces an earlier one. @return what is wrong with
    /// it, empty if nothing
    std::string add(const std::string& text);

    [[nodiscard]] const std::string& of(std::uint32_t tag) const;

    /// Opens everything that was chosen once, so that mistakes are found early.
    /// @throws std::runtime_error saying what does not work
    void check() const;

private:
    std::string mForAll = "tone:440";
    std::map<std::uint32_t, std::string> mByTag;
};

/// Opens a source of such a text, at its beginning, in this rate and number of channels.
/// @throws std::runtime_error saying what does not work
std::unique_ptr<InputSource> openInput(const std::string& text, std::uint32_t rate,
                                       unsigned channels);

}  // namespace cabinaudio::server
