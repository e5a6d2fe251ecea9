// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/record/Level.h"
#include "tools/record/RecordFormat.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::tool {

/// What a recording is stored in. One thread at a time.
class Target {
public:
    using Bytes = std::span<const std::uint8_t>;

    virtual ~Target() = default;

    /// Stores whole frames of linear PCM, or one frame of a codec as the stream delivers it.
    /// @throws Failure when it cannot be stored
    virtual void write(Bytes frame) = 0;

    /// Makes the file complete; once, the last call.
    /// @throws Failure when it cannot be
    virtual void close() = 0;

    /// How loud it has been since the last call; none where nothing is decoded.
    [[nodiscard]] virtual Level takeLevel() { return {}; }
};

/// What the file's name stands for.
enum class TargetKind { Raw, Wav, Flac, OggOpus };

/// @return why nothing of this format goes into such a file; empty when it does
[[nodiscard]] std::string targetFault(const std::string& file, const RecordFormat& format,
                                      bool raw);

/// Opens the file anew. @param format  such that targetFault() has nothing to say
/// @throws Failure when it cannot be opened
[[nodiscard]] std::unique_ptr<Target> openTarget(const std::string& file,
                                                 const RecordFormat& format, bool raw);

// One of each. All throw Failure when the file cannot be opened.
[[nodiscard]] std::unique_ptr<Target> openRawTarget(const std::string& file,
                                                    const RecordFormat& format);
[[nodiscard]] std::unique_ptr<Target> openSoundTarget(const std::string& file, TargetKind kind,
                                                      const RecordFormat& format);
/// Decodes mSBC frames for another target, which takes 16-bit PCM.
[[nodiscard]] std::unique_ptr<Target> decodeMsbcFor(std::unique_ptr<Target> target);
[[nodiscard]] std::unique_ptr<Target> openOpusTarget(const std::string& file,
                                                     const RecordFormat& format);

}  // namespace cabinaudio::tool
