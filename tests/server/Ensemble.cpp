// SPDX-License-Identifier: Apache-2.0
#include "tests/server/Ensemble.h"

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/Sound.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string_view>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr std::chrono::minutes BOUND(1);

std::string hashOf(const std::vector<std::uint8_t>& bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return std::to_string(std::hash<std::string_view>()(text));
}

template <typename Stream>
bool hasRing(Stream& stream) {
    return eventually([&] { return stream.getTotalBufferSize() > 0; }, BOUND);
}

/// @return bytes taken, or the status of the write that failed
template <typename Stream>
int writeAll(Stream& stream, const Voice& voice) {
    auto samples = noise16(std::size_t{voice.frames} * voice.channels, voice.seed);
    for (auto& sample : samples)
        sample = static_cast<std::int16_t>(sample / 16);
    unsigned char* const bytes = bytesPointer(samples);
    const int count = byteCount(samples);
    const int chunk = static_cast<int>(voice.chunkFrames * voice.channels * 2);
    int written = 0;
    while (written < count) {
        const int taken = stream.write(bytes + written, std::min(chunk, count - written), true);
        if (taken < 0) return taken;
        written += taken;  // 0 while a sink's source is withdrawn
    }
    return written;
}

template <typename Stream>
std::string play(const Voice& voice, AudioFormatDesc format) {
    FinishWaiter finished;
    Stream stream(voice.name.c_str(), voice.tag, format, 0);
    stream.setCallback(&finished);
    if (stream.initCheck() != AUDIO_NO_ERROR || stream.start() != AUDIO_NO_ERROR) return "no start";
    if (!hasRing(stream)) return "no ring";
    const int written = writeAll(stream, voice);
    if (written < 0) return "write: " + std::to_string(written);
    if (voice.tag == AUDIO_TAG_ALTERNATIVE) {
        const auto isEmpty = [&] { return stream.bytesFree() == stream.getTotalBufferSize() - 1; };
        return eventually(isEmpty, BOUND) ? "played" : "never empty";
    }
    if (stream.writeDone() != AUDIO_NO_ERROR) return "no writeDone";
    return finished.wait() ? "played" : "never finished";
}

template <typename Stream, typename... More>
std::string record(const Voice& voice, AudioFormatDesc format, More... more) {
    Stream stream(voice.name.c_str(), voice.tag, format, more...);
    if (stream.initCheck() != AUDIO_NO_ERROR || stream.start() != AUDIO_NO_ERROR) return "no start";
    if (!hasRing(stream)) return "no ring";
    std::vector<std::uint8_t> sound(std::size_t{voice.frames} * voice.channels * 2);
    std::size_t done = 0;
    while (done < sound.size()) {
        const auto wanted =
            std::min<std::size_t>(voice.chunkFrames * voice.channels * 2, sound.size() - done);
        const int taken = stream.read(&sound[done], static_cast<int>(wanted), true);
        if (taken < 0) return "read: " + std::to_string(taken);
        done += static_cast<std::size_t>(taken);
    }
    return "recorded " + hashOf(sound);
}

std::string performOne(const Voice& voice) {
    std::this_thread::sleep_for(std::chrono::milliseconds(voice.waitMs));
    const AudioFormatDesc format = pcm(voice.rate, voice.channels, 16);
    if (voice.tag == AUDIO_TAG_MAIN) return play<ClientSink>(voice, format);
    if (voice.tag == AUDIO_TAG_UPLINK) return record<ClientRecordRt>(voice, format);
    if (voice.tag == AUDIO_TAG_INPUT0) return record<ClientRecord>(voice, format, 0);
    return play<ClientTrack>(voice, format);
}

bool isAwaited(unsigned index) {
    return index % 4 == 3;
}

}  // namespace

std::vector<std::string> perform(const std::vector<Voice>& voices) {
    std::vector<std::future<std::string>> futures;
    for (const Voice& voice : voices)
        futures.push_back(std::async(std::launch::async, performOne, voice));
    std::vector<std::string> results;
    for (std::size_t i = 0; i < voices.size(); ++i)
        results.push_back(voices[i].name + ": " + futures[i].get());
    return results;
}

std::vector<Voice> ensemble(unsigned count) {
    static const std::vector<Voice> kinds = {
        {"music", AUDIO_TAG_MAIN, 48000, 2, 1, 40000, 1777, 0},
        {"chime", AUDIO_TAG_ALTERNATIVE, 44100, 1, 1, 20011, 333, 0},
        {"voice", AUDIO_TAG_INPUT0, 16000, 1, 1, 8000, 200, 0},
        {"nav", AUDIO_TAG_AUXILIARY, 22050, 1, 1, 9999, 512, 0},
        {"call", AUDIO_TAG_UPLINK, 16000, 1, 1, 6400, 160, 0},
        {"news", AUDIO_TAG_AUXILIARY, 48000, 2, 1, 30001, 4096, 0},
        {"bell", AUDIO_TAG_ALTERNATIVE, 48000, 2, 1, 15000, 768, 0},
        {"invocation", AUDIO_TAG_OUTPUT_INVOCATION, 48000, 1, 1, 20000, 999, 0}};
    std::vector<Voice> voices;
    for (unsigned i = 0; i < count; ++i) {
        Voice voice = kinds[i % kinds.size()];
        // Two sinks would share the source, in the order of their creation.
        if (i > 0 && voice.tag == AUDIO_TAG_MAIN) voice.tag = AUDIO_TAG_AUXILIARY;
        voice.name += std::to_string(i);
        voice.seed = i + 1;
        voices.push_back(std::move(voice));
    }
    return voices;
}

std::vector<std::string> timeOf(const std::vector<Voice>& voices) {
    std::vector<std::string> arguments = {"--time",
                                          "lockstep",
                                          "--strict",
                                          "--patience",
                                          "60000",
                                          "--hold",
                                          std::to_string(voices.size())};
    const auto add = [&](const char* option, const std::string& text) {
        arguments.emplace_back(option);
        arguments.push_back(text);
    };
    for (unsigned i = 0; i < voices.size(); ++i)
        if (isAwaited(i)) add("--await", voices[i].name + "@" + std::to_string(37 * i));
    add("--at", "300:source withdraw " + voices[0].name);
    add("--at", "517:source activate " + voices[0].name);
    if (voices.size() > 5) add("--at", "404:stream remove " + voices[5].name);
    return arguments;
}

}  // namespace cabinaudio::test
