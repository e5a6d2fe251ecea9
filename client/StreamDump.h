// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/diag/AudioDump.h>

#include <atomic>

namespace cabinaudio {

/// The diagnostic dump of a stream. Each initCheck() starts a new dump. Earlier dumps stay open
/// until the stream is destroyed, because a read or write on another thread may be using them.
class StreamDump final : public AudioDump {
public:
    /// Creates a dump for the usage "client" and stores it in `current`. Any thread.
    static void begin(std::atomic<AudioDump*>& current, AudioTagType tag, const char* name);

    /// Adds the bytes to the dump, if there is one.
    static void write(const std::atomic<AudioDump*>& current, const unsigned char* data,
                      unsigned length) {
        if (AudioDump* const dump = current.load(std::memory_order_acquire))
            dump->write(data, length);
    }

    /// Closes all dumps of a stream that no thread uses any more.
    static void endAll(AudioDump* current);

    StreamDump(AudioTagType tag, const char* name) : AudioDump(tag, name, "client", false) {}

private:
    StreamDump* mEarlier = nullptr;
};

}  // namespace cabinaudio
