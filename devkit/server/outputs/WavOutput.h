// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/outputs/Output.h"
#include "devkit/server/sound/WavFile.h"

#include <vector>

namespace cabinaudio::server {

/// Writes the mix to a WAV file. The file starts with the first stream's start, contains silence
/// while streams exist but none sounds, and leaves out the time without any stream.
class WavOutput : public Output {
public:
    /// @throws std::runtime_error when the file cannot be created
    WavOutput(const std::string& path, const OutputFormat& format)
        : mType(format.type), mFile(path, format.rate, format.channels, format.type) {}

    void write(std::span<const float> frames) override {
        encodeSamples(mType, frames, mBytes);
        mFile.write(mBytes);
    }
    [[nodiscard]] std::string name() const override { return "WAV file " + mFile.path(); }

private:
    SampleType mType;
    WavFile mFile;
    std::vector<std::uint8_t> mBytes;
};

}  // namespace cabinaudio::server
