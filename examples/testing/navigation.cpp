// SPDX-License-Identifier: Apache-2.0
// A navigation program: plays music, and over it a prompt that lowers the music by 20 dB.
//
//     navigation [--without-ducking] [SECONDS [PROMPT]]
//
// SECONDS of music, 3 by default; the prompt, of one second, begins when PROMPT seconds of the
// music are written, 1 by default. --without-ducking is a mistake to be found by tests: it leaves
// the music as loud as it is. Exit status: 0 played, 1 a request failed, 2 wrong usage, 3 no
// server.
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "../log.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <string>
#include <vector>

namespace {

constexpr int RATE = 48000;
constexpr int MEDIA = 1;       // types of streams
constexpr int NAVIGATION = 2;  // the server lowers the main audio while such a stream plays
constexpr auto LIMIT = std::chrono::minutes(1);

/// Frames of a sine in stereo.
std::vector<std::int16_t> tone(double hz, double amplitude, int begin, int frames) {
    const double step = 2 * 3.14159265358979 * hz / RATE;
    std::vector<std::int16_t> samples;
    samples.reserve(2 * static_cast<std::size_t>(frames));
    for (int i = 0; i < frames; ++i)
        samples.insert(samples.end(), 2,
                       static_cast<std::int16_t>(amplitude * std::sin(step * (begin + i))));
    return samples;
}

struct End : audio::QVAudioTrackCallback {
    void finish(bool) override { played.set_value(); }
    std::promise<void> played;
};

AudioFormatDesc stereo() {
    AudioFormatDesc format{};  // codec 0: linear PCM
    format.sampleRate = RATE;
    format.channelMap = AUDIO_CHANNEL_MAP_2;
    format.bitDepth = AUDIO_BIT_DEPTH_16;
    return format;
}

int failed(const char* stream, const char* what, int status) {
    std::fprintf(stderr, "navigation: %s: cannot %s (status %d)\n", stream, what, status);
    return status == AUDIO_INVALID_STATE ? 3 : 1;
}

/// A stream from its creation to its last sample.
template <typename Stream>
class Playing {
public:
    Playing(const char* name, AudioTagType tag, int type)
        : mName(name), mFormat(stereo()), mStream(name, tag, mFormat, type) {}

    int start() {
        if (const int status = mStream.initCheck()) return failed(mName, "create", status);
        mStream.setCallback(&mEnd);
        const int status = mStream.start();
        return status == AUDIO_NO_ERROR ? 0 : failed(mName, "start", status);
    }
    int write(std::vector<std::int16_t> samples) {
        const int bytes = static_cast<int>(samples.size() * sizeof samples[0]);
        const int written =
            mStream.write(reinterpret_cast<unsigned char*>(samples.data()), bytes, true);
        return written == bytes ? 0 : failed(mName, "write", written);
    }
    int end() {
        if (const int status = mStream.writeDone()) return failed(mName, "end", status);
        if (mEnd.played.get_future().wait_for(LIMIT) != std::future_status::ready)
            return failed(mName, "hear the end", AUDIO_TIMED_OUT);
        mStream.stop();
        return 0;
    }

private:
    const char* mName;
    AudioFormatDesc mFormat;
    End mEnd;
    Stream mStream;
};

int playPrompt() {
    Playing<ClientTrack> prompt("prompt", AUDIO_TAG_AUXILIARY, NAVIGATION);
    if (const int status = prompt.start()) return status;
    if (const int status = prompt.write(tone(1000, 16384, 0, RATE))) return status;
    return prompt.end();
}

int playBoth(int frames, int promptAt) {
    Playing<ClientSink> music("music", AUDIO_TAG_MAIN, MEDIA);
    if (const int status = music.start()) return status;
    std::future<int> prompt;
    constexpr int BLOCK = 4800;
    for (int at = 0; at < frames; at += BLOCK) {
        if (!prompt.valid() && at >= promptAt) prompt = std::async(std::launch::async, playPrompt);
        const int status = music.write(tone(440, 8192, at, std::min(BLOCK, frames - at)));
        if (status != 0) return status;
    }
    const int status = music.end();
    const int ofPrompt = prompt.valid() ? prompt.get() : 0;
    return status != 0 ? status : ofPrompt;
}

int lowerMusicDuringPrompts() {
    ClientVolumeSetting volume;
    int status = volume.setMainAudioDunkingTargetGain(-20.0F);
    if (status == AUDIO_NO_ERROR) status = volume.setMainAudioDunkingMode(1);
    return status == AUDIO_NO_ERROR ? 0 : failed("settings", "duck", status);
}

}  // namespace

int main(int argc, char** argv) {
    hideLibraryLog(argc, argv);
    const bool isDucking = argc < 2 || std::strcmp(argv[1], "--without-ducking") != 0;
    if (!isDucking) {
        --argc;
        ++argv;
    }
    const double seconds = argc > 1 ? std::atof(argv[1]) : 3;
    const double prompt = argc > 2 ? std::atof(argv[2]) : 1;
    if (argc > 3 || !(seconds > 0 && seconds <= 3600) || !(prompt >= 0 && prompt <= 3600)) {
        std::fprintf(stderr, "usage: navigation [-v] [--without-ducking] [SECONDS [PROMPT]]\n");
        return 2;
    }
    cabinaudio::setLinkPolicy({std::chrono::seconds(60), true, true});
    if (isDucking)
        if (const int status = lowerMusicDuringPrompts()) return status;
    const int status = playBoth(static_cast<int>(seconds * RATE), static_cast<int>(prompt * RATE));
    if (status == 0) std::printf("played %g s of music\n", seconds);
    return status;
}
