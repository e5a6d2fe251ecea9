// SPDX-License-Identifier: Apache-2.0
#include "tests/testing/helpers/Playing.h"

#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>

#include <chrono>
#include <cmath>
#include <future>

namespace kit {
namespace {

struct End : audio::QVAudioTrackCallback {
    void finish(bool) override { played.set_value(); }
    std::promise<void> played;
};

template <typename Stream>
std::string playOn(Stream& stream, End& end, std::vector<std::int16_t>& samples) {
    if (const int status = stream.initCheck()) return "create " + std::to_string(status);
    stream.setCallback(&end);
    if (const int status = stream.start()) return "start " + std::to_string(status);
    const int bytes = static_cast<int>(samples.size() * sizeof samples[0]);
    const int written = stream.write(reinterpret_cast<unsigned char*>(samples.data()), bytes, true);
    if (written != bytes) return "write " + std::to_string(written);
    if (const int status = stream.writeDone()) return "end " + std::to_string(status);
    const auto bound = std::chrono::minutes(1);
    if (end.played.get_future().wait_for(bound) != std::future_status::ready) return "no end";
    stream.stop();
    return {};
}

}  // namespace

std::vector<std::int16_t> tone(double hz, double seconds, double amplitude) {
    const double step = 2 * 3.14159265358979 * hz / RATE;
    std::vector<std::int16_t> samples;
    const auto frames = static_cast<std::size_t>(std::lround(seconds * RATE));
    for (std::size_t i = 0; i < frames; ++i)
        samples.insert(samples.end(), 2,
                       static_cast<std::int16_t>(std::lround(
                           32767 * amplitude * std::sin(step * static_cast<double>(i)))));
    return samples;
}

std::string play(const char* name, std::vector<std::int16_t> samples, AudioTagType tag, int type) {
    AudioFormatDesc format{};
    format.sampleRate = RATE;
    format.channelMap = AUDIO_CHANNEL_MAP_2;
    format.bitDepth = AUDIO_BIT_DEPTH_16;
    End end;  // outlives the stream
    if (tag == AUDIO_TAG_MAIN) {
        ClientSink sink(name, tag, format, type);
        return playOn(sink, end, samples);
    }
    ClientTrack track(name, tag, format, type);
    return playOn(track, end, samples);
}

}  // namespace kit
