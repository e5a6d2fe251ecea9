// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/play/SoundReader.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// An audio file, read as PCM for a stream: interleaved, little-endian, 8 bits unsigned, or 16, 24
/// or 32 bits signed, whichever holds the file's samples without loss. Floating-point files are
/// read with 32 bits, lossy codecs with 16. A pipe is read as it comes.
class AudioFile {
public:
    /// @param path  "-" is standard input
    /// @param raw   of a file without a header
    /// @throws Failure, without the file's name, when it cannot be read or no stream supports its
    ///         format
    AudioFile(const std::string& path, const std::optional<RawFormat>& raw);

    [[nodiscard]] const AudioFormatDesc& format() const { return mFormat; }
    [[nodiscard]] int channels() const { return mShape.channels; }
    [[nodiscard]] std::size_t frameBytes() const { return mFrameBytes; }
    [[nodiscard]] std::size_t bytesPerSecond() const { return mFrameBytes * mFormat.sampleRate; }
    /// Empty when the file does not tell, for example from a pipe.
    [[nodiscard]] std::optional<std::int64_t> frames() const { return mShape.frames; }
    [[nodiscard]] double seconds(std::uint64_t bytes) const;

    /// Fills `buffer` with whole frames. @return bytes read; fewer than requested only at the end
    /// @throws Failure when the input cannot be read
    [[nodiscard]] std::size_t read(std::vector<unsigned char>& buffer);
    /// Once everything has been read. @return empty if the file is complete
    [[nodiscard]] std::optional<Cut> cut() const { return mReader->cut(); }

private:
    void check() const;

    std::unique_ptr<SoundReader> mReader;
    SoundReader::Shape mShape;
    AudioFormatDesc mFormat = {};
    std::size_t mFrameBytes;
    std::vector<std::uint8_t> mScratch;  // samples in the reader's format
};

}  // namespace cabinaudio::tool
