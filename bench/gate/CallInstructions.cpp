// SPDX-License-Identifier: Apache-2.0
// call-instructions track|record|request ROUNDS: repeats the same call. Run it under callgrind with
// collection limited to that call; see gate.py.
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/link/RemoteCall.h>

#include "bench/support/AnsweringServer.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string_view>
#include <vector>

using namespace cabinaudio::bench;

namespace {

constexpr char NAME[] = "gate";
constexpr int CHUNK = 960;

void require(bool isTrue, const char* what) {
    if (!isTrue) throw std::runtime_error(what);
}

AudioFormatDesc pcm() {
    AudioFormatDesc format{};
    format.sampleRate = 48000;
    return format;
}

template <typename Stream>
void open(Stream& stream) {
    require(stream.initCheck() == AUDIO_NO_ERROR && stream.start() == AUDIO_NO_ERROR, "no stream");
}

/// The other side of the stream's ring. It resets offsets and posts nothing: the stream's receiver
/// thread stays asleep, so that each run counts the same instructions.
class OtherSide {
public:
    OtherSide() : mRing(SHM_TYPE_POSIX_SHM, NAME, nullptr, RING_BYTES, SHM_MODE_CREATOR, nullptr) {}

    void fill() {
        const std::vector<unsigned char> silence(RING_BYTES / 2);
        mRing.write(silence.data(), RING_BYTES / 2);
    }
    void discardWritten() { mRing.updateWriteOffset(0); }
    void restoreRead() { mRing.updateReadOffset(0); }

private:
    ShareMemoryEx mRing;
};

void writeToTrack(long rounds) {
    AudioFormatDesc format = pcm();
    ClientTrack track(NAME, AUDIO_TAG_ALTERNATIVE, format, 0);
    open(track);
    OtherSide server;
    std::vector<unsigned char> chunk(CHUNK);
    for (long i = 0; i < rounds; ++i) {
        require(track.write(chunk.data(), CHUNK, true) == CHUNK, "nothing was written");
        server.discardWritten();
    }
}

void readFromRecord(long rounds) {
    AudioFormatDesc format = pcm();
    ClientRecord record(NAME, AUDIO_TAG_INPUT0, format, 0);
    open(record);
    OtherSide server;
    server.fill();
    std::vector<unsigned char> chunk(CHUNK);
    for (long i = 0; i < rounds; ++i) {
        require(record.read(chunk.data(), CHUNK, true) == CHUNK, "nothing was read");
        server.restoreRead();
    }
}

void request(long rounds) {
    RemoteCall link(AUDIO_CONNECT_VOLUME_SETTING, nullptr, nullptr, NAME);
    for (long i = 0; i < rounds; ++i)
        require(link.callFuncId(1, 2, true) == AUDIO_NO_ERROR, "a request failed");
}

void run(std::string_view what, long rounds) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    pinToCpu(-1);
    const AnsweringServer server(1);
    if (what == "track") return writeToTrack(rounds);
    if (what == "record") return readFromRecord(rounds);
    if (what == "request") return request(rounds);
    throw std::invalid_argument("usage: call-instructions track|record|request ROUNDS");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run(argc == 3 ? argv[1] : "", argc == 3 ? std::atol(argv[2]) : 0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "call-instructions: %s\n", error.what());
        return 1;
    }
    return 0;
}
