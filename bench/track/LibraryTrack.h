// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientTrack.h>

namespace cabinaudio::bench {

/// The library's track with the constructor of MinimalTrack.
class LibraryTrack : public ClientTrack {
public:
    explicit LibraryTrack(const char* name)
        : ClientTrack(name, AUDIO_TAG_ALTERNATIVE, format(), 0) {}

private:
    /// Nothing is played, so the answering server does not care.
    static AudioFormatDesc& format() {
        static AudioFormatDesc none{};
        return none;
    }
};

/// Both tracks name their ring so.
constexpr char TRACK_NAME[] = "bench";

}  // namespace cabinaudio::bench
