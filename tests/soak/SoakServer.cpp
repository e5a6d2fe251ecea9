// SPDX-License-Identifier: Apache-2.0
// soak-server FD SEED: the server of a soak. It takes streams of every kind at once; of what is
// played it compares every byte with what should be there, and gives recorders bytes that tell
// where they stand. Sources of sinks come and go. FD is the memory in which it counts, see Tally.h.
// It says "ready" once it listens, and ends with its standard input, or killed.
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/soak/Pattern.h"
#include "tests/soak/Random.h"
#include "tests/soak/Tally.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/kinds/StreamKinds.h"

#include <android/log.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace {

using namespace cabinaudio::test;
using namespace std::chrono_literals;

constexpr unsigned SIZE = 16 * 1024;
constexpr unsigned PIECE = 4096;
/// Rings in physical memory lie this far apart.
constexpr unsigned DISTANCE = 64 * 1024;
constexpr unsigned PLACES = 64;

/// One client's stream: what is known of it, and the server's end of its ring.
struct Stream {
    std::size_t client = 0;
    std::string name;
    StreamTally* tally = nullptr;
    const StreamKind* kind = nullptr;
    bool isActive = false;  // a sink's source
    bool isStarted = false;
    bool isPlaced = false;  // the ring that is there has not been looked at
    std::unique_ptr<ShareMemoryEx> ring;
    std::uint64_t unseen = 0;  // bytes of rings that were gone before they told their place
    std::uint64_t at = 0;      // next byte of the stream
    std::chrono::steady_clock::time_point change{};  // of the source, when it is due

    /// Takes what is there. A new ring of a sink begins where the source came back.
    void take(Random& random) {
        unsigned char bytes[PIECE];
        // A look at the beginning needs a few whole words.
        if (isPlaced && kind->isSink()) {
            const unsigned used = ring->getUsedSize();
            if (used < 12) return;
            const auto seen = static_cast<std::size_t>(ring->read(bytes, std::min(used, PIECE)));
            const auto place = position_pattern::place(bytes, at);
            if (!place) return fail();
            tally->skipped += *place - at - std::min(*place - at, unseen);
            unseen = 0;
            at = *place;
            isPlaced = false;
            return compare(bytes, seen);
        }
        isPlaced = false;
        compare(bytes, static_cast<std::size_t>(ring->read(bytes, random() % PIECE + 1)));
    }

    void compare(const unsigned char* bytes, std::size_t count) {
        if (std::memcmp(bytes, mView.from(at), count) != 0) return fail();
        at += count;
        tally->verified += count;
    }

    void give(Random& random) {
        const unsigned room =
            std::min({ring->getFreeSize(), PIECE, unsigned(random() % PIECE + 4)});
        const unsigned count = room - room % 4;
        if (count == 0) return;
        at += static_cast<unsigned>(ring->write(mView.from(at), count));
    }

    void fail() {
        ++tally->mismatches;
        std::fprintf(stderr, "soak-server: %s: wrong bytes behind %llu\n", name.c_str(),
                     static_cast<unsigned long long>(at));
    }

private:
    position_pattern::View<PIECE> mView;
};

class Server {
public:
    Server(Tally& tally, unsigned seed) : mTally(tally), mRandom(seed) {
        mServer.onRegistration([this](const Request& request) {
            const std::lock_guard lock(mLock);
            enter(request);
            return Answer::handle(100 + static_cast<std::uint32_t>(request.client));
        });
        mServer.onOther([this](const Request& request) {
            const std::lock_guard lock(mLock);
            const auto found = mStreams.find(request.client);
            if (found == mStreams.end()) return Answer::status(0);  // settings
            return answer(*found->second, request.function());
        });
        if (write(STDOUT_FILENO, "ready\n", 6) != 6) std::abort();
    }

    void run() {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        while (poll(&input, 1, 1) == 0) {
            const std::lock_guard lock(mLock);
            for (auto& [client, stream] : mStreams)
                serve(*stream);
            forgetGone();
        }
    }

private:
    /// The name says what it is and which place of the tally is its own: "sink-3.17".
    void enter(const Request& request) {
        const std::string name(request.header.name, strnlen(request.header.name, 63));
        const auto dash = name.find('-');
        if (dash == std::string::npos) return;
        auto stream = std::make_unique<Stream>();
        stream->client = request.client;
        stream->name = name;
        stream->kind = findStreamKind(name.substr(0, dash));
        const auto place = static_cast<std::size_t>(std::atoi(name.c_str() + dash + 1));
        if (stream->kind == nullptr || place >= STREAMS) return;
        stream->tally = &mTally.streams[place];
        mStreams[request.client] = std::move(stream);
    }

    Answer answer(Stream& stream, std::uint32_t function) {
        switch (function) {
            case 2:
            case 21:
                if (stream.kind->isPosix) makeRing(stream);
                return Answer::words(0, 0, SIZE, 1024, 16, 256, 0);
            case 6: {
                stream.isStarted = true;
                Answer started = Answer::status(0);
                // A stream that is started again has its ring.
                if (!stream.kind->isPosix && !stream.ring) started.then(stream.kind->event, 1);
                return started;
            }
            case 18:
            case 20: {
                const unsigned address = makeRing(stream);
                stream.isActive = true;
                stream.change = std::chrono::steady_clock::now() + pause(300);
                return Answer::words(0, address, SIZE);
            }
            case 7:
                stream.isStarted = false;
                return Answer::status(0);
            case 19:
                // A sink has let go: what is left in its ring is all there is.
                while (stream.kind->writes && stream.ring && stream.ring->getUsedSize() != 0 &&
                       !isStuck(stream))
                    stream.take(mRandom);
                if (stream.kind->isSink() && stream.ring)
                    stream.unseen += stream.ring->getUsedSize();
                stream.ring.reset();
                stream.change = std::chrono::steady_clock::now() + pause(60);
                return Answer::status(0);
            default:
                return Answer::status(0);
        }
    }

    /// So few bytes in a new ring that nothing tells where they come from.
    static bool isStuck(const Stream& stream) {
        return stream.isPlaced && stream.kind->isSink() && stream.ring->getUsedSize() < 12;
    }

    unsigned makeRing(Stream& stream) {
        stream.ring.reset();  // removes the name
        const unsigned address =
            RING_ADDRESS + static_cast<unsigned>(stream.client % PLACES) * DISTANCE;
        stream.ring = stream.kind->isPosix ? posixRing(stream.name.c_str(), SIZE)
                                           : physicalRing(stream.name.c_str(), SIZE, address);
        stream.isPlaced = true;
        return address;
    }

    std::chrono::milliseconds pause(unsigned most) {
        return std::chrono::milliseconds(mRandom() % most + 1);
    }

    void serve(Stream& stream) {
        if (stream.ring && stream.kind->writes) stream.take(mRandom);
        if (stream.ring && !stream.kind->writes && stream.isStarted) stream.give(mRandom);
        if (!stream.kind->isSink() || !stream.isStarted) return;
        const auto now = std::chrono::steady_clock::now();
        if (now < stream.change || stream.change == std::chrono::steady_clock::time_point{}) return;
        stream.change = {};  // until the sink has followed
        mServer.notify(stream.isActive ? 4 : 3, 1, stream.client);
        stream.isActive = !stream.isActive;
        ++mTally.storms;
    }

    void forgetGone() {
        std::erase_if(mStreams,
                      [this](const auto& entry) { return mServer.waitForEndOf(entry.first, 0ms); });
    }

    Tally& mTally;
    Random mRandom;  // guarded, as all below
    std::mutex mLock;
    std::map<std::size_t, std::unique_ptr<Stream>> mStreams;
    ScriptedServer mServer;  // last: its thread uses all of the above
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    Tally* const tally = mapTally(std::atoi(argv[1]));
    if (tally == nullptr) return 1;
    Server(*tally, static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10))).run();
    return 0;
}
