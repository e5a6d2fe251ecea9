// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Judge.h"
#include "devkit/hear/Recording.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Sounds that are computed, and what the checks say about them.
namespace cabinaudio::test {

using hear::Recording;
using hear::Sound;
using hear::Verdict;

inline constexpr unsigned RATE = 48000;

/// A sine with this RMS level.
[[nodiscard]] std::vector<float> tone(double hz, double db, std::size_t frames,
                                      unsigned rate = RATE);

/// White noise that does not repeat.
[[nodiscard]] std::vector<float> noise(std::size_t frames, float amplitude, std::uint32_t seed = 1);

/// The same in all channels.
[[nodiscard]] Sound soundOf(const std::vector<float>& mono, unsigned channels = 1,
                            unsigned rate = RATE);

[[nodiscard]] Recording recordingOf(Sound heard);
[[nodiscard]] Recording recordingOf(const std::vector<float>& mono, unsigned channels = 1);

/// Adds a stream that is heard from this frame on with a gain, and its entry in the report.
void addStream(Recording& recording, const std::string& name, const std::vector<float>& mono,
               std::size_t at);

/// The verdict of a single check.
[[nodiscard]] Verdict verdictOf(const Recording& recording, const std::string& check);
[[nodiscard]] bool isMet(const Recording& recording, const std::string& check);

/// The text of the error that a check throws; empty: it throws none.
[[nodiscard]] std::string errorOf(const Recording& recording, const std::string& check);

/// Writes a WAV file. `format` is a sub-format of libsndfile.
void writeWav(const std::string& path, const Sound& sound, int format);
void writeWav(const std::string& path, const Sound& sound);

}  // namespace cabinaudio::test
