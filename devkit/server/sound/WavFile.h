// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/SampleCodec.h"
#include "devkit/server/sound/StreamFormat.h"

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::server {

/// A growing WAV file. The header is updated every second of sound, so that the file can be opened
/// while it grows and after a crash. Only the first write error is logged.
class WavFile {
public:
    /// @throws std::runtime_error when the file cannot be created
    WavFile(const std::string& path, std::uint32_t rate, unsigned channels, SampleType type);
    /// In a stream's own format.
    WavFile(const std::string& path, const StreamFormat& format);

    /// Whole frames, in the file's format.
    void write(std::span<const std::uint8_t> frames);

    [[nodiscard]] const std::string& path() const { return mPath; }

private:
    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    WavFile(const std::string& path, std::uint32_t rate, unsigned channels, int subformat,
            std::size_t frameBytes);

    std::string mPath;
    std::unique_ptr<SNDFILE, Close> mFile;
    std::size_t mBytesPerSecond;
    std::size_t mBytesSinceUpdate = 0;
    bool mHasFailed = false;
};

}  // namespace cabinaudio::server
