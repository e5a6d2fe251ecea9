// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/play/Samples.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace cabinaudio::tool {

class InputBytes;

/// A sound that ended before its end. What came before has been read.
struct Cut {
    std::optional<std::int64_t> missingFrames;  // empty: it is not known how much is missing
    std::string text;                           // what is wrong, for display
};

/// Decodes one kind of file, from front to back. One thread at a time.
class SoundReader {
public:
    struct Shape {
        int channels = 0;
        int rate = 0;  // Hz
        SamplePlan plan = {};
        std::optional<std::int64_t> frames;  // as announced by the file
    };

    virtual ~SoundReader() = default;

    [[nodiscard]] virtual Shape shape() const = 0;

    /// Decodes into samples of the plan's source type, interleaved. Waits for all of them.
    /// @param to  room for `frames` frames
    /// @return frames; fewer only at the end
    /// @throws Failure when the input cannot be read
    [[nodiscard]] virtual std::size_t read(void* to, std::size_t frames) = 0;

    /// Once read() has come to the end. @return empty if the sound is complete
    [[nodiscard]] virtual std::optional<Cut> cut() const = 0;
};

/// Samples without a header, little-endian.
struct RawFormat {
    enum class Samples { U8, S16, S24, S32, Float, Double };

    int rate = 48000;  // Hz
    int channels = 2;
    Samples samples = Samples::S16;

    [[nodiscard]] std::size_t frameBytes() const;
};

// One function per kind of file. All throw Failure when the input is not of that kind; the input
// stands at its first byte.

/// @param bytes  announced by a header; empty: all of the input
[[nodiscard]] std::unique_ptr<SoundReader> openRaw(std::unique_ptr<InputBytes> input,
                                                   const RawFormat& format,
                                                   std::optional<std::uint64_t> bytes);
[[nodiscard]] std::unique_ptr<SoundReader> openFlac(std::unique_ptr<InputBytes> input,
                                                    bool isInOgg);
/// Everything else that libsndfile reads.
[[nodiscard]] std::unique_ptr<SoundReader> openSndfile(std::unique_ptr<InputBytes> input);

/// Looks at the first bytes and selects one of the above.
[[nodiscard]] std::unique_ptr<SoundReader> openSound(std::unique_ptr<InputBytes> input);

}  // namespace cabinaudio::tool
