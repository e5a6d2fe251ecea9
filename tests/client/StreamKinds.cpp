// SPDX-License-Identifier: Apache-2.0
#include "tests/client/StreamKinds.h"

#include <type_traits>

namespace cabinaudio::test {

namespace {

template <typename Stream, AudioTagType TAG>
std::unique_ptr<AnyStream> create(AudioFormatDesc format) {
    if constexpr (std::is_same_v<Stream, ClientRecordRt>)
        return std::make_unique<StreamOf<Stream>>("str", TAG, format);
    else
        return std::make_unique<StreamOf<Stream>>("str", TAG, format, 0);
}

}  // namespace

const std::vector<StreamKind>& streamKinds() {
    static const std::vector<StreamKind> kinds = {
        {"alternativeTrack", true, true, 0, "", create<ClientTrack, AUDIO_TAG_ALTERNATIVE>},
        {"auxiliaryTrack", true, false, 3, "\\[str\\]share memory ready.*\n",
         create<ClientTrack, AUDIO_TAG_AUXILIARY>},
        {"sink", true, false, 3, "\\[str\\]Source is actived.*\n",
         create<ClientSink, AUDIO_TAG_MAIN>},
        {"record", false, true, 0, "", create<ClientRecord, AUDIO_TAG_INPUT0>},
        {"uplink", false, false, 2, "\\[str\\] record initShareMem OK.*\n",
         create<ClientRecordRt, AUDIO_TAG_UPLINK>},
    };
    return kinds;
}

}  // namespace cabinaudio::test
