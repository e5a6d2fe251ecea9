// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/Worker.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/soak/Pattern.h"
#include "tests/soak/Random.h"
#include "tests/support/kinds/SettingKinds.h"
#include "tests/support/kinds/StreamKinds.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

namespace cabinaudio::test {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr unsigned PIECE = 4096;

/// All or nothing of so many bytes is lost when a source goes.
constexpr unsigned STEP = 2048;

/// A stream's place and time, and whether a failure is the server's.
class Life {
public:
    Life(std::size_t place, const ServerProcess& server, Counts& allCounts, Random& ownRandom,
         Clock::time_point end)
        : counts(allCounts),
          random(ownRandom),
          mPlace(place),
          mServer(server),
          mBegin(server.state()),
          mEnd(std::min(end, Clock::now() + std::chrono::milliseconds(ownRandom() % 1500 + 50))) {}

    [[nodiscard]] bool isRunning() const { return Clock::now() < mEnd; }
    [[nodiscard]] std::atomic<std::uint64_t>& thrownAway() { return counts.thrownAway[mPlace]; }

    /// A failure that only a killed server explains. @return false
    bool isLost(const char* what, int status) {
        if (mBegin.isThere && mServer.state() == mBegin) {
            ++counts.errors;
            std::fprintf(stderr, "cabinaudio-soak: place %zu: cannot %s: %d\n", mPlace, what,
                         status);
        }
        ++counts.reconnects;
        return false;
    }

    Counts& counts;
    Random& random;

private:
    const std::size_t mPlace;
    const ServerProcess& mServer;
    const ServerProcess::State mBegin;
    const Clock::time_point mEnd;
};

bool begin(AnyStream& stream, Life& life) {
    int status = stream.initCheck();
    if (status == AUDIO_NO_ERROR) status = stream.start();
    if (status == AUDIO_NO_ERROR) return true;
    std::this_thread::sleep_for(5ms);  // there may be none for a while
    return life.isLost("begin", status);
}

/// @return whether the stream still has its server
bool stopAndStart(AnyStream& stream, Life& life) {
    int status = stream.stop();
    if (status == AUDIO_NO_ERROR) status = stream.start();
    return status == AUDIO_NO_ERROR || life.isLost("stop and start", status);
}

class Player {
public:
    Player(AnyStream& stream, Life& life) : mStream(stream), mLife(life) {}

    void run() {
        while (mLife.isRunning() && write())
            if (mLife.random() % 200 == 0 && !(drain() && stopAndStart(mStream, mLife))) return;
        drain();
    }

private:
    bool write() {
        const unsigned count = (mLife.random() % (STEP / 4) + 1) * 4;
        const bool isBlock = mLife.random() % 4 != 0;
        int status = mStream.move(const_cast<unsigned char*>(mView.from(mAt)),
                                  static_cast<int>(count), isBlock);
        if (status == AUDIO_INVALID_STATE) return mLife.isLost("write", status);
        if (status == AUDIO_TIMED_OUT) {
            // It does not say how much was queued.
            ++mLife.counts.timeouts;
            mLife.thrownAway() += count;
            return false;
        }
        if (status < 0) return mLife.isLost("write", status);
        mAt += static_cast<unsigned>(status);
        if (isBlock) {
            // The rest was thrown away, its source being gone.
            mLife.thrownAway() += count - static_cast<unsigned>(status);
            mAt += count - static_cast<unsigned>(status);
        } else if (status == 0) {
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    /// The server plays the rest of the ring; stop() leaves nothing in it.
    bool drain() {
        const auto bound = Clock::now() + 5s;
        while (mStream.getTotalBufferSize() > 0 &&
               mStream.available() < mStream.getTotalBufferSize() - 1) {
            if (Clock::now() > bound) return true;
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    AnyStream& mStream;
    Life& mLife;
    std::uint64_t mAt = 0;
    position_pattern::View<STEP> mView;
};

class Recorder {
public:
    /// @param beginsSilent  silence comes until the ring has met a whole request
    Recorder(AnyStream& stream, Life& life, bool beginsSilent)
        : mStream(stream), mLife(life), mBeginsSilent(beginsSilent) {}

    void run() {
        while (mLife.isRunning() && read()) {
            if (mLife.random() % 200 != 0) continue;
            if (!stopAndStart(mStream, mLife)) return;
            mIsPlaced = false;
            mIsSilent = mBeginsSilent;
        }
    }

private:
    bool read() {
        const unsigned count = (mLife.random() % (PIECE / 4 - 3) + 3) * 4;
        const int got = mStream.move(mBytes, static_cast<int>(count), mLife.random() % 4 != 0);
        if (got == AUDIO_INVALID_STATE) {
            // Of an uplink: or nothing has come for a second.
            const int status = mStream.start();
            if (status != AUDIO_NO_ERROR) return mLife.isLost("read", status);
            ++mLife.counts.timeouts;
            return true;
        }
        if (got < 0) return mLife.isLost("read", got);
        if (got == 0) std::this_thread::sleep_for(1ms);
        compare(static_cast<std::size_t>(got));
        return true;
    }

    void compare(std::size_t count) {
        if (count == 0) return;
        if (mIsSilent) {
            // Silence has no position in the stream; a piece of data behind it has.
            if (count < 12 || !position_pattern::place(mBytes, 0)) return;
            mIsSilent = false;
        }
        if (!mIsPlaced) {
            if (count < 12) return;
            const auto place = position_pattern::place(mBytes, mAt);
            if (!place) return fail(count);
            mAt = *place;
            mIsPlaced = true;
        }
        if (std::memcmp(mBytes, mView.from(mAt), count) != 0) return fail(count);
        mAt += count;
        mLife.counts.recorded += count;
    }

    void fail(std::size_t count) {
        ++mLife.counts.mismatches;
        mIsPlaced = false;
        std::fprintf(stderr, "cabinaudio-soak: %zu wrong bytes recorded behind %llu\n", count,
                     static_cast<unsigned long long>(mAt));
    }

    AnyStream& mStream;
    Life& mLife;
    std::uint64_t mAt = 0;
    const bool mBeginsSilent;
    bool mIsSilent = mBeginsSilent;
    bool mIsPlaced = true;  // a stream begins at its beginning
    position_pattern::View<PIECE> mView;
    unsigned char mBytes[PIECE];
};

void ask(Life& life) {
    const auto volume = settingKinds().front().create();
    while (life.isRunning()) {
        const int status = volume->ask();
        if (status != AUDIO_NO_ERROR) {
            std::this_thread::sleep_for(5ms);
            life.isLost("set a volume", status);
            return;
        }
        ++life.counts.settings;
        std::this_thread::sleep_for(1ms);
    }
}

}  // namespace

void work(std::size_t place, const ServerProcess& server, Counts& counts, unsigned seed,
          Clock::time_point end) {
    Random random(seed);
    for (unsigned number = 0; Clock::now() < end; ++number) {
        Life life(place, server, counts, random, end);
        if (place == STREAMS) {
            ask(life);
            continue;
        }
        ++counts.streams;
        const StreamKind& kind = streamKinds()[place % streamKinds().size()];
        const std::string name = std::string(kind.name) + "-" + std::to_string(place) + "." +
                                 std::to_string(number % 1000);
        const auto stream = kind.create(name, MUSIC);
        if (!begin(*stream, life)) continue;
        if (kind.writes)
            Player(*stream, life).run();
        else
            Recorder(*stream, life, !kind.isPosix).run();
    }
}

}  // namespace cabinaudio::test
