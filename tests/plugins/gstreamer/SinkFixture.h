// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/plugins/gstreamer/Pipeline.h"
#include "tests/server/Playing.h"
#include "tests/support/SmallBuffers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A server that records, and sounds for it.
class SinkFixture : public testing::Test, private SmallBuffers {
protected:
    /// Stereo noise without a silent sample.
    static std::vector<std::int16_t> sound(std::size_t frames = 12000, std::uint32_t seed = 1) {
        return noise16(2 * frames, seed);
    }

    /// The beginning of a pipeline: a file with this sound.
    [[nodiscard]] std::string file(const std::vector<std::int16_t>& samples, unsigned rate = 48000,
                                   const std::string& name = "played.wav") const {
        const std::string path = mDirectory.file(name);
        writeWav(path, rate, 2, samples);
        return "filesrc location=" + path + " ! wavparse ";
    }
    /// A pipeline that plays a sound. The sink, and so the stream, is named "sink".
    [[nodiscard]] std::string playing(const std::vector<std::int16_t>& samples,
                                      const std::string& properties = {}) const {
        return file(samples) + "! cabinaudiosink name=sink " + properties;
    }

    /// What the server has taken of a stream, after its end.
    [[nodiscard]] Wav taken(const std::string& name = "sink",
                            const std::string& tag = "auxiliary") const {
        return readWav(mDirectory.file(tag + "-" + name + ".wav"));
    }
    /// Whether a sound ends with exactly this.
    static bool endsWith(const std::vector<std::int32_t>& sound,
                         const std::vector<std::int32_t>& end) {
        return sound.size() >= end.size() && std::equal(end.rbegin(), end.rend(), sound.rbegin());
    }
    /// Whether a sound is the beginning of one and then another, whole.
    static testing::AssertionResult isCutTo(const std::vector<std::int32_t>& sound,
                                            const std::vector<std::int32_t>& first,
                                            const std::vector<std::int32_t>& second) {
        if (!endsWith(sound, second)) return testing::AssertionFailure() << "another end";
        const std::size_t length = sound.size() - second.size();
        if (length > first.size() ||
            !std::equal(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length),
                        first.begin()))
            return testing::AssertionFailure() << "another beginning, of " << length << " samples";
        return testing::AssertionSuccess();
    }
    /// The rest of a stereo sound from a frame on.
    static std::vector<std::int32_t> from(std::size_t frame,
                                          const std::vector<std::int16_t>& sound) {
        return wide({sound.begin() + static_cast<std::ptrdiff_t>(2 * frame), sound.end()});
    }

    TemporaryDirectory mDirectory;
    RecordingServer mServer{{"--stems", mDirectory.path()}};
};

}  // namespace cabinaudio::test
