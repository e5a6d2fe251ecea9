// SPDX-License-Identifier: Apache-2.0
#include "tests/support/kinds/StreamKinds.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>

namespace cabinaudio::test {

namespace {

template <typename Stream>
std::unique_ptr<AnyStream> make(const char* name, AudioTagType tag, AudioFormatDesc format) {
    if constexpr (std::is_same_v<Stream, ClientRecordRt>)
        return std::make_unique<StreamOf<Stream>>(name, tag, format);
    else
        return std::make_unique<StreamOf<Stream>>(name, tag, format, 0);
}

StreamKind uplink(const char* name, std::uint32_t codec) {
    AudioFormatDesc format = SPEECH;
    format.codecType = codec;
    return {name,
            AUDIO_TAG_UPLINK,
            format,
            false,
            false,
            2,
            "\\[str\\] record initShareMem OK.*\n",
            make<ClientRecordRt>};
}

}  // namespace

std::unique_ptr<ShareMemoryEx> StreamKind::ring(const std::string& streamName) const {
    return isPosix ? posixRing(streamName.c_str(), RING_SIZE)
                   : physicalRing(streamName.c_str(), RING_SIZE);
}

const std::vector<StreamKind>& streamKinds() {
    static const std::vector<StreamKind> kinds = {
        {"alternativeTrack", AUDIO_TAG_ALTERNATIVE, MUSIC, true, true, 0, "", make<ClientTrack>},
        {"auxiliaryTrack", AUDIO_TAG_AUXILIARY, MUSIC, true, false, 3,
         "\\[str\\]share memory ready.*\n", make<ClientTrack>},
        {"sink", AUDIO_TAG_MAIN, MUSIC, true, false, 3, "\\[str\\]Source is actived.*\n",
         make<ClientSink>},
        {"record", AUDIO_TAG_INPUT0, SPEECH, false, true, 0, "", make<ClientRecord>},
        uplink("uplink", 0),
    };
    return kinds;
}

std::vector<StreamKind> physicalKinds() {
    return kindsNamed({"auxiliaryTrack", "sink", "uplink"});
}

std::vector<StreamKind> codedKinds() {
    std::vector<StreamKind> all = streamKinds();
    all.push_back(uplink("uplinkLoas", 16));
    all.push_back(uplink("uplinkOpus", 32));
    return all;
}

const StreamKind* findStreamKind(std::string_view name) {
    const auto found = std::find_if(streamKinds().begin(), streamKinds().end(),
                                    [name](const StreamKind& kind) { return kind.name == name; });
    return found != streamKinds().end() ? &*found : nullptr;
}

const StreamKind& streamKind(std::string_view name) {
    const StreamKind* const kind = findStreamKind(name);
    if (kind == nullptr) throw std::invalid_argument("no such kind of stream");
    return *kind;
}

std::vector<StreamKind> kindsNamed(std::initializer_list<std::string_view> names) {
    std::vector<StreamKind> kinds;
    for (const std::string_view name : names)
        kinds.push_back(streamKind(name));
    return kinds;
}

Answer created(int perLoopSize, unsigned size) {
    return Answer::words(0, 0, size, perLoopSize, 16, 256, 0);
}

Answer placed() {
    return Answer::words(0, RING_ADDRESS, RING_SIZE);
}

void ServedRing::serve(ScriptedServer& server) {
    onCreate(server, created());
    onPlace(server, [this](const Request&) { return place(); });
}

Answer ServedRing::place() {
    const std::lock_guard lock(mLock);
    if (mIsOver) return Answer::words(AUDIO_INVALID_STATE, 0, 0);
    make();
    return placed();
}

void ServedRing::begin() {
    const std::lock_guard lock(mLock);
    if (mKind.isPosix) make();
}

void ServedRing::drop() {
    const std::lock_guard lock(mLock);
    mRing.reset();
}

void ServedRing::end() {
    const std::lock_guard lock(mLock);
    mRing.reset();
    mIsOver = true;
}

void ServedRing::move(unsigned count) {
    const std::lock_guard lock(mLock);
    if (!mRing) return;
    Bytes bytes(count);
    if (mKind.writes)
        mRing->read(bytes.data(), count);
    else
        mRing->write(bytes.data(), count);
}

/// Under the lock.
void ServedRing::make() {
    mRing.reset();  // removes the name
    mRing = mKind.ring();
}

}  // namespace cabinaudio::test
