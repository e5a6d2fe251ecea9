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

/// An audio file, read as PCM for a stream: interleaved, little-endian, 8 bits unsigned, or 16, 24
/// or 32 bits signed, whichever holds the file's samples without loss. Floating-point files are
/// read with 32 bits, lossy codecs with 16.
class AudioFile {
public:
    /// @param path  "-" is standard input
    /// @throws Failure, without the file's name, when it cannot be read or no stream supports its
    ///         format
    explicit AudioFile(const std::string& path);

    [[nodiscard]] const AudioFormatDesc& format() const { return mFormat; }
    [[nodiscard]] int channels() const { return mInfo.channels; }
    [[nodiscard]] std::size_t frameBytes() const { return mFrameBytes; }
    [[nodiscard]] std::size_t bytesPerSecond() const { return mFrameBytes * mFormat.sampleRate; }
    /// Empty when the file does not tell, for example from a pipe.
    [[nodiscard]] std::optional<std::int64_t> frames() const;
    [[nodiscard]] double seconds(std::uint64_t bytes) const;

    /// Fills `buffer` with whole frames. @return bytes read; fewer than requested only at the end
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
    std::vector<std::uint8_t> mScratch;  // samples in libsndfile's format
};

}  // namespace cabinaudio::tool
