// SPDX-License-Identifier: Apache-2.0
// reconnect: plays a tone until Ctrl-C, whatever happens to the server.
//
//     reconnect
//
// A stream does not outlive its server. When that goes away, the stream refuses everything from
// then on; it is thrown away, and a new one made as soon as there is a server again. What the old
// server had been given and has not played is played again.
//
// Exit status: 0 interrupted, 1 refused, 2 wrong usage, 3 no server for 30 s, or none
// that answers.
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/link/LinkPolicy.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRate = 48000;  // frames per second; a frame is one sample here
constexpr int kFrameBytes = sizeof(std::int16_t);
constexpr auto kPatience = std::chrono::seconds(30);
constexpr auto kSuspicion = std::chrono::milliseconds(500);

volatile std::sig_atomic_t gInterrupted = 0;
void interrupt(int) {
    gInterrupted = 1;
}

/// A signal ends it early.
void rest(int ms) {
    poll(nullptr, 0, ms);
}

/// The sound from the frame `at`. It can be had again, so what is lost can be played again.
void tone(long long at, std::vector<std::int16_t>& block) {
    for (std::int16_t& sample : block)
        sample = static_cast<std::int16_t>(8000 * std::sin(0.0575959 * static_cast<double>(at++)));
}

/// Frames that the server has been given and has not played.
long long queuedFrames(ClientTrack& track) {
    // One byte of a ring always stays free.
    return std::max(track.getTotalBufferSize() - 1 - track.bytesFree(), 0) / kFrameBytes;
}

enum class End { Interrupted, NoServer, Lost, Refused };

/// Writes for as long as the stream lives. @param at  the next frame, moved on
End feed(ClientTrack& track, long long& at) {
    std::vector<std::int16_t> period(
        static_cast<std::size_t>(std::max(track.getPerLoopSize() / kFrameBytes, 1)));
    const int bytes = static_cast<int>(period.size()) * kFrameBytes;
    for (auto written = Clock::now(); gInterrupted == 0;) {
        if (track.bytesFree() >= bytes) {
            // Takes all of it: it fits, and nobody else writes.
            tone(at, period);
            const int status =
                track.write(reinterpret_cast<unsigned char*>(period.data()), bytes, false);
            if (status == AUDIO_INVALID_STATE) return End::Lost;
            if (status < 0) return End::Refused;
            at += status / kFrameBytes;
            written = Clock::now();
            continue;
        }
        // No space, or no ring yet. Whether there will ever be: starting a started stream sends
        // nothing to the server, and is refused once the stream has lost it.
        const auto idle = Clock::now() - written;
        if (idle > kSuspicion && track.start() != AUDIO_NO_ERROR) return End::Lost;
        if (idle > kPatience) return End::Lost;  // it is there and does nothing: try another stream
        rest(idle > kSuspicion ? 100 : 5);
    }
    return End::Interrupted;
}

/// One stream, from its creation to its end.
End play(long long& at) {
    AudioFormatDesc format{};  // codec 0: linear PCM
    format.sampleRate = kRate;
    format.channelMap = AUDIO_CHANNEL_MAP_1;
    format.bitDepth = AUDIO_BIT_DEPTH_16;

    // Two streams of one name at a time disturb each other.
    const std::string name = "reconnect-" + std::to_string(getpid());
    ClientTrack track(name.c_str(), AUDIO_TAG_AUXILIARY, format, 0);
    if (track.initCheck() != AUDIO_NO_ERROR) return End::NoServer;
    if (const int status = track.start(); status != AUDIO_NO_ERROR) {
        const bool isAway = status == 1 || status == AUDIO_INVALID_STATE;
        return isAway ? End::NoServer : End::Refused;
    }
    std::printf("playing from %.2f s\n", static_cast<double>(at) / kRate);
    const End end = feed(track, at);
    if (end == End::Lost) at = std::max(at - queuedFrames(track), 0LL);
    if (end == End::Interrupted) track.stop();
    return end;
}

}  // namespace

int main(int argc, char**) {
    if (argc != 1) {
        std::fprintf(stderr, "usage: reconnect\n");
        return 2;
    }
    // A request fails when the server dies under it, or has not answered for five seconds; without
    // this it would wait for ever. Set before the first object is made.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    struct sigaction action {};
    action.sa_handler = interrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);  // its lines come at once, also into a pipe

    long long at = 0;
    for (auto lastSeen = Clock::now(); gInterrupted == 0; rest(500)) {
        switch (play(at)) {
            case End::Interrupted:
                break;
            case End::Lost:
                std::puts("server lost");
                lastSeen = Clock::now();
                break;
            case End::NoServer:
                if (Clock::now() - lastSeen < kPatience) break;
                std::fprintf(stderr, "reconnect: no server\n");
                return 3;
            case End::Refused:
                std::fprintf(stderr, "reconnect: the server refuses the stream\n");
                return 1;
        }
    }
    std::printf("interrupted at %.2f s\n", static_cast<double>(at) / kRate);
    return 0;
}
