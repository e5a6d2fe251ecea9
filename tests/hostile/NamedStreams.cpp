// SPDX-License-Identifier: Apache-2.0
#include "tests/hostile/NamedStreams.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

namespace cabinaudio::test {

namespace {

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr unsigned SLOWNESS = 4;
#elif __has_feature(address_sanitizer)
constexpr unsigned SLOWNESS = 2;
#else
constexpr unsigned SLOWNESS = 1;
#endif
#elif defined(__arm__)
constexpr unsigned SLOWNESS = 6;  // mostly in an emulator
#else
constexpr unsigned SLOWNESS = 1;
#endif

/// Of the default amount of work.
unsigned percent() {
    const char* const wanted = std::getenv("CABINAUDIO_TEST_SCALE");
    return wanted != nullptr ? static_cast<unsigned>(std::max(1, std::atoi(wanted))) : 100;
}

template <typename Stream, AudioTagType TAG>
std::unique_ptr<AnyStream> create(const std::string& name) {
    AudioFormatDesc format = {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
    return std::make_unique<StreamOf<Stream>>(name.c_str(), TAG, format, 0);
}

template <std::uint32_t CODEC>
std::unique_ptr<AnyStream> createUplink(const std::string& name) {
    AudioFormatDesc format = {CODEC, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    return std::make_unique<StreamOf<ClientRecordRt>>(name.c_str(), AUDIO_TAG_UPLINK, format);
}

}  // namespace

const std::vector<NamedKind>& namedKinds() {
    static const std::vector<NamedKind> kinds = {
        {"alternativeTrack", true, true, true, false, create<ClientTrack, AUDIO_TAG_ALTERNATIVE>},
        {"auxiliaryTrack", true, false, true, false, create<ClientTrack, AUDIO_TAG_AUXILIARY>},
        {"sink", true, false, false, false, create<ClientSink, AUDIO_TAG_MAIN>},
        {"record", false, true, true, false, create<ClientRecord, AUDIO_TAG_INPUT0>},
        {"uplink", false, false, true, false, createUplink<0>},
        {"uplinkLoas", false, false, true, true, createUplink<16>},
        {"uplinkOpus", false, false, true, true, createUplink<32>},
        {"uplinkMsbc", false, false, true, true, createUplink<65>},
    };
    return kinds;
}

void inParallel(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& body) {
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> running;
    for (unsigned i = 0; i < threads; ++i)
        running.emplace_back([&] {
            for (std::size_t at = next++; at < count; at = next++)
                body(at);
        });
    for (std::thread& thread : running)
        thread.join();
}

unsigned scaled(unsigned rounds) {
    return std::max(1U, rounds / SLOWNESS * percent() / 100);
}

std::size_t stride(std::size_t here) {
    return std::max<std::size_t>(1, here * SLOWNESS * 100 / percent());
}

}  // namespace cabinaudio::test
