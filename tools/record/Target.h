// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/record/Level.h"
#include "tools/record/RecordFormat.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::tool {

/// Storage of a recording. One thread at a time.
class Target {
public:
    using Bytes = std::span<const std::uint8_t>;

    virtual ~Target() = default;

    /// Stores whole frames of linear PCM, or one frame of a codec as the stream delivers it.
    /// @throws Failure when it cannot be stored
    virtual void write(Bytes frame) = 0;

    /// Completes the file. Must be the last call, and made once.
    /// @throws Failure when it fails
    virtual void close() = 0;

    /// Peak level since the last call; empty when nothing is decoded.
    [[nodiscard]] virtual Level takeLevel() { return {}; }
};

/// Type of the file, from its name.
enum class TargetKind { Raw, Wav, Flac, OggOpus };

/// @return why such a file cannot hold this format; empty if it can
[[nodiscard]] std::string targetFault(const std::string& file, const RecordFormat& format,
                                      bool raw);

/// Creates or truncates the file. @param format  accepted by targetFault()
/// @throws Failure when it cannot be opened
[[nodiscard]] std::unique_ptr<Target> openTarget(const std::string& file,
                                                 const RecordFormat& format, bool raw);

// One function per type. All throw Failure when the file cannot be opened.
[[nodiscard]] std::unique_ptr<Target> openRawTarget(const std::string& file,
                                                    const RecordFormat& format);
[[nodiscard]] std::unique_ptr<Target> openSoundTarget(const std::string& file, TargetKind kind,
                                                      const RecordFormat& format);
/// Decodes mSBC frames for another target, which receives 16-bit PCM.
[[nodiscard]] std::unique_ptr<Target> decodeMsbcFor(std::unique_ptr<Target> target);
[[nodiscard]] std::unique_ptr<Target> openOpusTarget(const std::string& file,
                                                     const RecordFormat& format);

}  // namespace cabinaudio::tool
