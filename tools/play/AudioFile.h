// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// An audio file, read as the PCM that a stream is given: interleaved, little-endian, 8 bits
/// unsigned, or 16, 24 or 32 bits signed, whichever holds the file's samples without loss. Files of
/// floating-point numbers are read with 32 bits, lossy codecs with 16.
class AudioFile {
public:
    /// @param path  "-" is standard input
    /// @throws Failure when it cannot be read or no stream could carry it; without the file's name
    explicit AudioFile(const std::string& path);

    [[nodiscard]] const AudioFormatDesc& format() const { return mFormat; }
    [[nodiscard]] int channels() const { return mInfo.channels; }
    [[nodiscard]] std::size_t frameBytes() const { return mFrameBytes; }
    [[nodiscard]] std::size_t bytesPerSecond() const { return mFrameBytes * mFormat.sampleRate; }
    /// None when the file does not say, as in a pipe.
    [[nodiscard]] std::optional<std::int64_t> frames() const;
    [[nodiscard]] double seconds(std::uint64_t bytes) const;

    /// Fills `buffer` with whole frames. @return bytes read; fewer than asked only at the end
    /// @throws Failure when the file is damaged
    [[nodiscard]] std::size_t read(std::vector<unsigned char>& buffer);

private:
    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    void check() const;
    [[nodiscard]] sf_count_t readFrames(unsigned char* to, sf_count_t frames);

    SF_INFO mInfo;
    std::unique_ptr<SNDFILE, Close> mFile;
    AudioFormatDesc mFormat;
    std::size_t mFrameBytes;
    std::vector<std::uint8_t> mScratch;  // samples as libsndfile gives them
};

}  // namespace cabinaudio::tool
