// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool::top {

/// A level or a gain. Silence is the lowest value; an unknown level is empty where it can be.
inline constexpr double SILENCE_DB = -200;

/// One step of a stream's way to the loudspeakers.
struct Gain {
    std::string stage;
    std::string setting;  // empty: none
    double db = 0;
    bool isMuted = false;
    std::string by;  // the stream or the reason; empty: none
};

/// One stream. Texts are printable. Missing figures are empty.
struct Stream {
    std::string name;
    std::string rawName;  // as the server's commands take it
    std::int64_t pid = 0;
    std::string program;
    std::string kind;
    std::string tag;
    std::string type;  // of a capture stream its input
    std::string state;
    std::string format;
    std::string source;              // of a sink: "active" or "withdrawn"
    std::optional<double> peakDb;    // of its own samples
    std::optional<double> levelDb;   // as it is heard
    std::optional<double> volumeDb;  // its own volume, or that of the microphone
    std::optional<double> queuedMs;
    std::optional<double> latencyMs;
    std::optional<std::int64_t> lapses;  // underruns, of a capture stream overruns
    std::vector<Gain> gains;

    [[nodiscard]] bool isSink() const { return kind == "sink"; }
    /// Whether it is the same stream at another time.
    [[nodiscard]] bool is(const Stream& other) const {
        return rawName == other.rawName && pid == other.pid && kind == other.kind;
    }
};

struct Loudspeaker {
    std::string name;
    std::optional<double> peakDb;
    bool isMuted = false;
};

/// A sound card or a microphone that may be lost.
struct Device {
    std::string name;
    std::string format;
    bool isLost = false;
    std::string problem;
    std::string since;
    std::string warning;
    std::vector<std::string> counters;  // "late 0"
};

struct Figures {
    std::string version;
    std::optional<double> mixPercent;
    double longestMixMs = 0;
    double periodMs = 0;
    Device output;
    std::vector<Device> inputs;
    std::vector<Loudspeaker> loudspeakers;
    std::vector<Stream> streams;
};

/// From the server's state. Keys of older or newer servers may be missing.
[[nodiscard]] Figures figuresOf(const Json& state);

/// The cause that makes the stream quiet: "mute.main", "navi -20 dB"; empty if none does.
[[nodiscard]] std::string loweredBy(const Stream& stream);

/// "-12.3", "silent", or "-" if unknown.
[[nodiscard]] std::string decibelText(const std::optional<double>& db);

}  // namespace cabinaudio::tool::top
