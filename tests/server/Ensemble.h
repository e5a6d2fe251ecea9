// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A stream that plays or records on a thread of its own.
struct Voice {
    std::string name;
    AudioTagType tag = AUDIO_TAG_AUXILIARY;
    unsigned rate = 48000;
    unsigned channels = 2;
    std::uint32_t seed = 1;
    unsigned frames = 24000;      // to play or to record
    unsigned chunkFrames = 1000;  // of a write or read
    unsigned waitMs = 0;          // before it is created
};

/// Plays and records all of them at once, to their ends.
/// @return for each voice what came of it: the bytes taken and, of a recording, their hash
std::vector<std::string> perform(const std::vector<Voice>& voices);

/// `count` voices of all kinds: a sink, tracks of all tags and several rates, recordings and an
/// uplink. From the fourth on, every fourth is to be awaited, see awaitsOf().
std::vector<Voice> ensemble(unsigned count);

/// Arguments of the server for an ensemble: awaited voices, a withdrawal and a removal.
std::vector<std::string> timeOf(const std::vector<Voice>& voices);

}  // namespace cabinaudio::test
