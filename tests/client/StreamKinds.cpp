// SPDX-License-Identifier: Apache-2.0
#include "tests/client/StreamKinds.h"

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>

#include <type_traits>

namespace cabinaudio::test {

namespace {

template <typename Stream>
constexpr bool PLAYS = std::is_base_of_v<audio::QVAudioTrack, Stream>;

template <typename Stream>
class StreamOf : public AnyStream {
public:
    template <typename... Arguments>
    explicit StreamOf(Arguments&&... arguments) : mStream(arguments...) {}

    int initCheck() override { return mStream.initCheck(); }
    int start() override { return mStream.start(); }
    int stop() override { return mStream.stop(); }
    int getPerLoopSize() override { return mStream.getPerLoopSize(); }
    int getTotalBufferSize() override { return mStream.getTotalBufferSize(); }

    int move(unsigned char* bytes, int count, bool isBlock) override {
        if constexpr (PLAYS<Stream>)
            return mStream.write(bytes, count, isBlock);
        else
            return mStream.read(bytes, count, isBlock);
    }

    int operate(unsigned which, unsigned char* bytes) override {
        switch (which % 10) {
            case 0:
                return mStream.start();
            case 1:
                return mStream.stop();
            case 2:
                return mStream.clear();
            case 3:
                return mStream.getTotalBufferSize();
            case 4:
                return mStream.setVolume(static_cast<int>(which % 100));
            case 5:
                return mStream.getVolume();
            default:
                return more(which, bytes);
        }
    }

private:
    int more(unsigned which, unsigned char* bytes) {
        if constexpr (PLAYS<Stream>) {
            if (which % 10 == 6) return mStream.bytesFree();
            if (which % 10 == 7) return mStream.writeDone();
            if (which % 10 == 8) return mStream.setCallback(nullptr);
        } else {
            if (which % 10 <= 8) return mStream.bytesUsed();
        }
        return move(bytes, 1 + static_cast<int>(which % 64), false);
    }

    Stream mStream;
};

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
