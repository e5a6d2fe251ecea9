// SPDX-License-Identifier: Apache-2.0
// reconnect: plays a tone until Ctrl-C, across restarts of the server.
//
//     reconnect [-v]
//
// A stream does not outlive its server: after the server goes away, the stream refuses every
// operation. The program then destroys it and creates a new one as soon as a server is available.
// Data that the old server had received but not played is played again.
//
// Exit status: 0 interrupted, 1 refused, 2 wrong usage, 3 no server, or none that replies, for
// 30 s.
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "log.h"

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

constexpr int RATE = 48000;  // frames per second; a frame is one sample here
constexpr int FRAME_BYTES = sizeof(std::int16_t);
constexpr auto PATIENCE = std::chrono::seconds(30);
constexpr auto SUSPICION = std::chrono::milliseconds(500);

volatile std::sig_atomic_t gInterrupted = 0;
void interrupt(int) {
    gInterrupted = 1;
}

/// Sleeps. A signal ends the sleep early.
void rest(int ms) {
    poll(nullptr, 0, ms);
}

/// The sound from frame `at` on. It can be generated again, so lost data can be replayed.
void tone(long long at, std::vector<std::int16_t>& block) {
    for (std::int16_t& sample : block)
        sample = static_cast<std::int16_t>(8000 * std::sin(0.0575959 * static_cast<double>(at++)));
}

/// Frames in the ring that the server has not taken yet.
long long queuedFrames(ClientTrack& track) {
    // One byte of a ring always stays free.
    return std::max(track.getTotalBufferSize() - 1 - track.bytesFree(), 0) / FRAME_BYTES;
}

enum class End { Interrupted, NoServer, Lost, Refused };

/// Writes until the stream ends. @param at  the next frame; advanced by the frames written
End feed(ClientTrack& track, long long& at) {
    std::vector<std::int16_t> period(
        static_cast<std::size_t>(std::max(track.getPerLoopSize() / FRAME_BYTES, 1)));
    const int bytes = static_cast<int>(period.size()) * FRAME_BYTES;
    for (auto written = Clock::now(); gInterrupted == 0;) {
        if (track.bytesFree() >= bytes) {
            // All of it fits, because no other thread writes.
            tone(at, period);
            const int status =
                track.write(reinterpret_cast<unsigned char*>(period.data()), bytes, false);
            if (status == AUDIO_INVALID_STATE) return End::Lost;
            if (status < 0) return End::Refused;
            at += status / FRAME_BYTES;
            written = Clock::now();
            continue;
        }
        // No space, or no ring yet. start() tests whether the stream is alive: on a started stream
        // it sends nothing, and it is refused once the server is lost.
        const auto idle = Clock::now() - written;
        if (idle > SUSPICION && track.start() != AUDIO_NO_ERROR) return End::Lost;
        if (idle > PATIENCE) return End::Lost;  // the server hangs: try another stream
        rest(idle > SUSPICION ? 100 : 5);
    }
    return End::Interrupted;
}

/// One stream, from its creation to its end.
End play(long long& at) {
    AudioFormatDesc format{};  // codec 0: linear PCM
    format.sampleRate = RATE;
    format.channelMap = AUDIO_CHANNEL_MAP_1;
    format.bitDepth = AUDIO_BIT_DEPTH_16;

    // The name must be unique among live streams.
    const std::string name = "reconnect-" + std::to_string(getpid());
    ClientTrack track(name.c_str(), AUDIO_TAG_AUXILIARY, format, 0);
    if (track.initCheck() != AUDIO_NO_ERROR) return End::NoServer;
    if (const int status = track.start(); status != AUDIO_NO_ERROR) {
        const bool isAway = status == 1 || status == AUDIO_INVALID_STATE;
        return isAway ? End::NoServer : End::Refused;
    }
    std::printf("playing from %.2f s\n", static_cast<double>(at) / RATE);
    const End end = feed(track, at);
    if (end == End::Lost) at = std::max(at - queuedFrames(track), 0LL);
    if (end == End::Interrupted) track.stop();
    return end;
}

}  // namespace

int main(int argc, char** argv) {
    hideLibraryLog(argc, argv);
    if (argc != 1) {
        std::fprintf(stderr, "usage: reconnect [-v]\n");
        return 2;
    }
    // Makes a request fail when the server dies or does not reply for five seconds; without this
    // the request would wait for ever. Set before the first object is created.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    struct sigaction action {};
    action.sa_handler = interrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);  // line-buffered, also into a pipe

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
                if (Clock::now() - lastSeen < PATIENCE) break;
                std::fprintf(stderr, "reconnect: no server\n");
                return 3;
            case End::Refused:
                std::fprintf(stderr, "reconnect: the server refuses the stream\n");
                return 1;
        }
    }
    std::printf("interrupted at %.2f s\n", static_cast<double>(at) / RATE);
    return 0;
}
