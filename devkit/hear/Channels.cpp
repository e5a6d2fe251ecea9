// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Channels.h"

#include <array>

namespace cabinaudio::hear {
namespace {

constexpr std::array NAMES = {"LF", "RF", "LS", "RS", "CF", "L1"};

}  // namespace

std::optional<unsigned> channelOf(const std::string& text) {
    for (unsigned i = 0; i < NAMES.size(); ++i)
        if (text == NAMES[i]) return i;
    if (text.size() != 1 || text[0] < '0' || text[0] > '7') return {};
    return static_cast<unsigned>(text[0] - '0');
}

std::string channelName(unsigned channel) {
    return channel < NAMES.size() ? NAMES[channel] : "channel " + std::to_string(channel);
}

}  // namespace cabinaudio::hear
