// SPDX-License-Identifier: Apache-2.0
// record: records an input into a WAV file.
//
//     record [-v] FILE.wav [SECONDS]        5 s
//
// Exit status: 0 recorded, 1 failed, 2 wrong usage, 3 no server, or it went away or does not
// reply, 4 timed out. After a failure the file contains the data recorded so far.
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "log.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t RATE = 48000;
constexpr std::uint16_t CHANNELS = 2;
constexpr std::uint16_t FRAME_BYTES = CHANNELS * sizeof(std::int16_t);

/// A WAV file of 16-bit PCM. Written without conversion, so it needs a little-endian machine.
class WavFile {
public:
    explicit WavFile(const char* path) : mFile(std::fopen(path, "wb")) { writeHead(); }
    ~WavFile() {
        if (mFile != nullptr) std::fclose(mFile);
    }
    WavFile(const WavFile&) = delete;
    WavFile& operator=(const WavFile&) = delete;

    bool isGood() const { return mFile != nullptr && std::ferror(mFile) == 0; }

    void write(const unsigned char* data, std::size_t bytes) {
        mBytes += static_cast<std::uint32_t>(std::fwrite(data, 1, bytes, mFile));
    }

    /// Rewrites the header with the final length. @return whether everything was written
    bool close() {
        std::rewind(mFile);
        writeHead();
        const bool isWritten = isGood();
        const bool isClosed = std::fclose(mFile) == 0;
        mFile = nullptr;
        return isWritten && isClosed;
    }

private:
    void writeHead() {
        if (mFile == nullptr) return;
        struct {
            char riff[4] = {'R', 'I', 'F', 'F'};
            std::uint32_t rest;
            char wave[8] = {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '};
            std::uint32_t formatBytes = 16;
            std::uint16_t pcm = 1, channels = CHANNELS;
            std::uint32_t rate = RATE, bytesPerSecond = RATE * FRAME_BYTES;
            std::uint16_t frameBytes = FRAME_BYTES, bits = 16;
            char data[4] = {'d', 'a', 't', 'a'};
            std::uint32_t bytes;
        } head;
        static_assert(sizeof head == 44, "no gaps");
        head.rest = static_cast<std::uint32_t>(sizeof head - 8 + mBytes);
        head.bytes = mBytes;
        std::fwrite(&head, sizeof head, 1, mFile);
    }

    std::FILE* mFile;
    std::uint32_t mBytes = 0;
};

int failed(const char* what, int status) {
    // 1: the request got no reply. AUDIO_INVALID_STATE: the stream has no server or has lost it.
    const bool isAway = status == 1 || status == AUDIO_INVALID_STATE;
    const bool isLate = status == AUDIO_TIMED_OUT;
    std::fprintf(stderr, "record: cannot %s: %s (status %d)\n", what,
                 isAway   ? "no server, or it does not answer, or has refused or removed the stream"
                 : isLate ? "the server sends no data"
                          : "refused",
                 status);
    return isAway ? 3 : isLate ? 4 : 1;
}

double peakOf(const std::vector<unsigned char>& data, std::size_t bytes) {
    int peak = 0;
    for (std::size_t i = 0; i + 1 < bytes; i += 2) {
        std::int16_t sample;
        std::memcpy(&sample, &data[i], sizeof sample);
        peak = std::max(peak, std::abs(int{sample}));
    }
    return peak / 32768.0;
}

/// Reads until `wanted` bytes are in the file. @return the exit status
int fill(WavFile& file, ClientRecord& record, std::uint64_t wanted) {
    std::uint64_t bytes = 0;
    double peak = 0;
    int patience = 5;
    std::vector<unsigned char> block(
        static_cast<std::size_t>(std::max<int>(record.getPerLoopSize(), FRAME_BYTES)));
    while (bytes < wanted) {
        const auto room = std::min<std::uint64_t>(block.size(), wanted - bytes);
        const int got = record.read(block.data(), static_cast<int>(room), true);
        if (got < 0) return failed("read", got);
        // Missing data is not an error: after a second without data a read returns 0.
        if (got == 0 && --patience == 0) return failed("read", AUDIO_TIMED_OUT);
        if (got > 0) patience = 5;
        file.write(block.data(), static_cast<std::size_t>(got));
        if (!file.isGood()) {
            std::perror("record: cannot write");
            return 1;
        }
        bytes += static_cast<std::uint64_t>(got);
        peak = std::max(peak, peakOf(block, static_cast<std::size_t>(got)));
    }
    std::printf("recorded %.2f s, peak %.1f dB\n", static_cast<double>(bytes) / FRAME_BYTES / RATE,
                20 * std::log10(std::max(peak, 1.0 / 32768)));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    hideLibraryLog(argc, argv);
    const double seconds = argc > 2 ? std::atof(argv[2]) : 5;
    if (argc < 2 || argc > 3 || !(seconds > 0 && seconds <= 3600)) {
        std::fprintf(stderr, "usage: record [-v] FILE.wav [SECONDS]\n");
        return 2;
    }
    // Limits every wait for a server that dies or hangs. Set before the first object is created.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    AudioFormatDesc format{};  // codec 0: linear PCM
    format.sampleRate = RATE;
    format.channelMap = AUDIO_CHANNEL_MAP_2;
    format.bitDepth = AUDIO_BIT_DEPTH_16;
    // The name must be unique among live streams.
    const std::string name = "record-" + std::to_string(getpid());
    ClientRecord record(name.c_str(), AUDIO_TAG_INPUT0, format, 0);
    if (const int status = record.initCheck(); status != AUDIO_NO_ERROR)
        return failed("create the stream", status);

    WavFile file(argv[1]);  // only now, so that a failure above leaves an old file unchanged
    if (!file.isGood()) {
        std::perror(argv[1]);
        return 1;
    }
    if (const int status = record.start(); status != AUDIO_NO_ERROR)
        return failed("start the stream", status);
    int status = fill(file, record, static_cast<std::uint64_t>(seconds * RATE) * FRAME_BYTES);
    record.stop();  // the result does not matter: no more data is needed
    if (!file.close()) {
        std::perror(argv[1]);
        status = 1;
    }
    return status;
}
