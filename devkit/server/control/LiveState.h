// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/RequestLog.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/streams/CaptureRegistry.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/streams/StreamRegistry.h"
#include "devkit/server/time/TimeOptions.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <map>
#include <string>

namespace cabinaudio::server {

/// What changes while somebody watches: levels, streams, ducking, requests. Cheap enough to be
/// asked for ten times a second.
class LiveState {
public:
    struct Sources {
        const StreamRegistry& streams;
        const CaptureRegistry& captures;
        Mixer& mixer;
        const Settings& settings;
        const RequestLog& requests;
        TimeMode time;
    };

    explicit LiveState(const Sources& sources) : mSources(sources) {}

    /// @param argument  number of the last request that the asking program knows; empty for none
    /// @return one line of JSON, or "error: ..."
    [[nodiscard]] std::string answer(const std::string& argument);

private:
    [[nodiscard]] nlohmann::json describeLoudspeakers() const;
    [[nodiscard]] nlohmann::json describeSpectrum() const;
    [[nodiscard]] nlohmann::json describeStreams();
    [[nodiscard]] nlohmann::json describe(const PlaybackStream& stream) const;
    [[nodiscard]] nlohmann::json describeCaptures();
    [[nodiscard]] nlohmann::json describeRequests(std::uint64_t known) const;
    [[nodiscard]] nlohmann::json loudspeakersOf(const PlaybackStream& stream, float peak) const;
    [[nodiscard]] const std::string& programOf(std::int32_t process);

    Sources mSources;
    std::map<std::int32_t, std::string> mPrograms;  // by process: finding one reads files
};

}  // namespace cabinaudio::server
