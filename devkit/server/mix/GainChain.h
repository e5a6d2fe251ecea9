// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/StreamGains.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// The gain of one stage on a stream's way to the loudspeakers, for reports.
struct GainLink {
    const char* stage;    // name for programs
    float factor;         // see gainChainOf()
    bool isMuted;         // silent by a switch, not by a volume
    std::string setting;  // with this name it can be changed; empty when there is none
    std::string cause;    // name of the ducking stream, or the reason; empty when there is none
};

/// The stages that can act on a stream, in the order of GainStage, computed from the same factors
/// as its sound. A stage's factor is that of the loudest way through all stages up to it, divided
/// by that of the stages before it: the product of all factors is the gain of the loudest
/// loudspeaker. Behind a silent stage each factor is the stage's own.
/// @param outputs  channels of the output
/// @param prompt   name of the stream that is heard as a prompt; empty for none
[[nodiscard]] std::vector<GainLink> gainChainOf(const StreamRecord& stream,
                                                const SettingsData& settings, std::size_t outputs,
                                                const std::string& prompt);

}  // namespace cabinaudio::server
