// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace cabinaudio::hear {

/// Channel of a mix: LF, RF, LS, RS, CF and L1 are 0 to 5, or a number of one digit up to 7.
[[nodiscard]] std::optional<unsigned> channelOf(const std::string& text);

/// The loudspeaker's name; "channel 6" behind the last one.
[[nodiscard]] std::string channelName(unsigned channel);

}  // namespace cabinaudio::hear
