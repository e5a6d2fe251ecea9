// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Admission.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/sound/OutputFormat.h"
#include "devkit/server/streams/StreamRegistry.h"
#include "devkit/server/taps/Tap.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace cabinaudio::server {

/// The listeners of the running mix. All of them get as many frames as the output does, at the same
/// time: a stream's share is silent while the stream is, so that recordings lie in step. Of the
/// event loop's thread.
class Taps {
public:
    static constexpr std::size_t MAXIMUM = 16;
    /// Bytes that may wait for one listener: ten seconds of six float channels; without a clock,
    /// where the mix is faster than any listener, more.
    static constexpr std::size_t STEADY_BOUND = 12 << 20;
    static constexpr std::size_t FAST_BOUND = 64 << 20;

    /// @param onClosed  called when a descriptor has become free
    Taps(EventLoop& loop, const StreamRegistry& streams, const OutputFormat& format,
         std::size_t bound, std::function<void()> onClosed);

    /// Adds a listener. The argument is "FORMAT LOUDSPEAKER [STREAM]": a sample type and the number
    /// of a loudspeaker, or "-" for the output's own type (s32 for floats) and for all
    /// loudspeakers. A stream need not exist yet.
    /// @return whether the connection was taken
    bool add(const std::string& argument, UniqueFd& socket, Admitted& admitted);
    /// Why add() takes no listener with this argument; empty if it does.
    [[nodiscard]] std::string faultOf(const std::string& argument) const;

    /// For the server's state.
    [[nodiscard]] nlohmann::json describe() const;

    /// The output has got these frames.
    void mixed(std::span<const float> mix);
    /// Call after streams were started or removed.
    void streamsChanged();
    /// The server ends: sends what is left, within a bound for listeners that do not read.
    void end();

private:
    [[nodiscard]] std::variant<Tap::Wanted, std::string> parse(const std::string& argument) const;
    [[nodiscard]] std::string answerTo(const Tap::Wanted& wanted) const;
    void followStream(Tap& tap);
    void addShare(Tap& tap, std::size_t samples);
    void removeGone();

    EventLoop& mLoop;
    const StreamRegistry& mStreams;
    const OutputFormat mFormat;
    const std::size_t mBound;
    std::function<void()> mOnClosed;
    std::vector<std::unique_ptr<Tap>> mTaps;
    std::vector<float> mShare;
};

}  // namespace cabinaudio::server
