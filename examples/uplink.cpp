// SPDX-License-Identifier: Apache-2.0
// uplink: reads the microphone's side of a call as Opus packets, one every 20 ms.
//
//     uplink [-v] FILE [SECONDS]        5 s
//
// The server announces and withdraws the uplink's ring as calls come and go. Without a ring the
// library returns silent packets. FILE gets the packets as the library returns them, each with its
// header of 8 bytes: the length (big-endian) and four bytes that the server defines.
//
// Exit status: 0 done, 1 failed, 2 wrong usage, 3 no server, or it went away or does not reply,
// 4 timed out.
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "log.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t OPUS = 32;     // AudioFormatDesc::codecType
constexpr std::uint32_t RATE = 16000;  // silent packets exist for 8000, 16000, 24000 and 48000
constexpr auto PACKET_TIME = std::chrono::milliseconds(20);

constexpr int HEADER_BYTES = 8;
constexpr int SILENCE_BYTES = HEADER_BYTES + 3;  // at this rate
constexpr int LARGEST_BYTES = HEADER_BYTES + 1275;

int failed(const char* what, int status) {
    // 1: the request got no reply. AUDIO_INVALID_STATE: the stream has no server or has lost it.
    const bool isAway = status == 1 || status == AUDIO_INVALID_STATE;
    const bool isLate = status == AUDIO_TIMED_OUT;
    std::fprintf(stderr, "uplink: cannot %s: %s (status %d)\n", what,
                 isAway   ? "no server, or it does not answer, or has refused or removed the stream"
                 : isLate ? "the server sends no data"
                          : "refused",
                 status);
    return isAway ? 3 : isLate ? 4 : 1;
}

/// Reads packets until `wanted` of them are in the file. @return the exit status
int fill(std::FILE* file, ClientRecordRt& record, long wanted) {
    const auto begin = std::chrono::steady_clock::now();
    long packets = 0, silent = 0;
    int patience = 5;
    // A packet may be as long as the ring, regardless of the read's byte count, and the ring may
    // be announced while a read waits. So the buffer is larger than any ring.
    std::vector<unsigned char> packet(1 << 20);
    while (packets < wanted) {
        // Minimum fill level before a packet is read. One byte more than the largest packet
        // guarantees a whole packet. This adds latency, about 0.3 s at 32 kbit/s.
        const int ring = record.getTotalBufferSize();  // 0 without a ring
        const int enough = ring > 0 ? std::min(LARGEST_BYTES + 1, ring / 2) : LARGEST_BYTES + 1;
        const int got = record.read(packet.data(), enough, true);

        if (got == AUDIO_INVALID_STATE) {
            // No sound for a second, or the stream is gone. start() tells which: on a started
            // stream it sends nothing.
            if (const int status = record.start(); status != AUDIO_NO_ERROR)
                return failed("read", status);
            if (--patience == 0) return failed("read", AUDIO_TIMED_OUT);
            continue;
        }
        if (got <= 0) return failed("read", got);
        patience = 5;
        ++packets;
        if (got <= SILENCE_BYTES) ++silent;
        if (std::fwrite(packet.data(), 1, static_cast<std::size_t>(got), file) !=
            static_cast<std::size_t>(got)) {
            std::perror("uplink: cannot write");
            return 1;
        }
        // A read of live packets waits for them; silent packets need pacing.
        if (got <= SILENCE_BYTES) std::this_thread::sleep_until(begin + packets * PACKET_TIME);
    }
    std::printf("took %ld packets, %ld of them silent\n", packets, silent);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    hideLibraryLog(argc, argv);
    const double seconds = argc > 2 ? std::atof(argv[2]) : 5;
    if (argc < 2 || argc > 3 || !(seconds > 0 && seconds <= 3600)) {
        std::fprintf(stderr, "usage: uplink [-v] FILE [SECONDS]\n");
        return 2;
    }
    // Limits every wait for a server that dies or hangs. Set before the first object is created.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    AudioFormatDesc format{};
    format.codecType = OPUS;
    format.sampleRate = RATE;
    format.channelMap = AUDIO_CHANNEL_MAP_1;
    // The name must be unique among live streams.
    const std::string name = "uplink-" + std::to_string(getpid());
    ClientRecordRt record(name.c_str(), AUDIO_TAG_UPLINK, format);
    if (const int status = record.initCheck(); status != AUDIO_NO_ERROR)
        return failed("create the stream", status);

    std::FILE* const file = std::fopen(argv[1], "wb");
    if (file == nullptr) {
        std::perror(argv[1]);
        return 1;
    }
    std::setvbuf(file, nullptr, _IONBF,
                 0);  // unbuffered: a packet is written at once, also into a pipe
    int status = record.start();
    if (status != AUDIO_NO_ERROR)
        status = failed("start the stream", status);
    else
        status = fill(file, record, static_cast<long>(seconds * 1000 / PACKET_TIME.count()));
    record.stop();  // the result does not matter: no more data is needed
    if (std::fclose(file) != 0) {
        std::perror(argv[1]);
        status = 1;
    }
    return status;
}
