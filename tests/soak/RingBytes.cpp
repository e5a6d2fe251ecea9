// SPDX-License-Identifier: Apache-2.0
// ring-bytes write|read BYTES [SEED]: one end of a ring between two processes, perhaps of two
// architectures. The reading end makes the ring and compares every byte; both wait for each other
// for two minutes at most. The reading end prints how many bytes were as they were sent.
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/soak/Pattern.h"
#include "tests/soak/Random.h"

#include <android/log.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <thread>

namespace {

using namespace cabinaudio::test;

constexpr unsigned RING = 256 * 1024 + 40;
constexpr unsigned LONGEST = 32 * 1024;
constexpr auto PATIENCE = std::chrono::minutes(2);

class Turn : public ShareMemoryUpdateNotificationCallback {
public:
    void notify() override {
        const std::lock_guard lock(mLock);
        ++mCount;
        mChanged.notify_all();
    }
    [[nodiscard]] unsigned count() {
        const std::lock_guard lock(mLock);
        return mCount;
    }
    [[nodiscard]] bool waitBehind(unsigned count) {
        std::unique_lock lock(mLock);
        return mChanged.wait_for(lock, PATIENCE, [&] { return mCount != count; });
    }

private:
    std::mutex mLock;
    std::condition_variable mChanged;
    unsigned mCount = 0;
};

class End {
public:
    End(bool writes, std::uint64_t bytes, unsigned seed)
        : mWrites(writes),
          mBytes(bytes),
          mRandom(seed),
          mRing(SHM_TYPE_POSIX_SHM, "ring-bytes", nullptr, RING,
                writes ? SHM_MODE_WRITER : SHM_MODE_CREATOR | SHM_MODE_READER, &mTurn) {}

    /// @return whether all bytes went through as they should
    bool run() {
        while (mDone < mBytes) {
            const unsigned heard = mTurn.count();
            const auto length = static_cast<unsigned>(
                std::min<std::uint64_t>(mBytes - mDone, mRandom() % LONGEST + 1));
            const int moved = mWrites ? write(length) : read(length);
            if (moved < 0) return false;
            mDone += static_cast<unsigned>(moved);
            if (moved == 0 && !await(heard)) return false;
        }
        return true;
    }

    /// The writing end waits for the header, which the other one makes.
    [[nodiscard]] bool isReady() {
        const auto end = std::chrono::steady_clock::now() + PATIENCE;
        while (mRing.isUsable() && mRing.getTotalSize() != RING) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return mRing.isUsable();
    }
    [[nodiscard]] std::uint64_t done() const { return mDone; }

private:
    int write(unsigned length) { return mRing.write(mView.from(mDone), length); }

    int read(unsigned length) {
        const int got = mRing.read(mBuffer, length);
        if (std::memcmp(mBuffer, mView.from(mDone), static_cast<std::size_t>(got)) == 0) return got;
        std::fprintf(stderr, "wrong bytes behind byte %" PRIu64 "\n", mDone);
        return -1;
    }

    bool await(unsigned heard) {
        if (!mWrites) return mRing.getUsedSize() != 0 || mTurn.waitBehind(heard) || timedOut();
        mRing.setWait(true);
        const bool isOn = mRing.getFreeSize() != 0 || mTurn.waitBehind(heard) || timedOut();
        mRing.setWait(false);
        return isOn;
    }

    bool timedOut() const {
        std::fprintf(stderr, "the other side is silent behind byte %" PRIu64 "\n", mDone);
        return false;
    }

    const bool mWrites;
    const std::uint64_t mBytes;
    Random mRandom;
    Turn mTurn;
    ShareMemoryEx mRing;
    std::uint64_t mDone = 0;
    position_pattern::View<LONGEST> mView;
    unsigned char mBuffer[LONGEST];
};

bool run(bool writes, std::uint64_t bytes, unsigned seed) {
    End side(writes, bytes, seed);
    if (!side.isReady()) return false;
    const auto begin = std::chrono::steady_clock::now();
    if (!side.run()) return false;
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    if (!writes)
        std::printf("%" PRIu64 " bytes as they were sent, in %.1f s\n", side.done(), took.count());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view direction = argc > 1 ? argv[1] : "";
    if (argc < 3 || argc > 4 || (direction != "read" && direction != "write")) {
        std::fputs("usage: ring-bytes write|read BYTES [SEED]\n", stderr);
        return 2;
    }
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    const unsigned seed = argc > 3 ? static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10)) : 1;
    const bool writes = direction == "write";
    // Pieces of other lengths on either side.
    return run(writes, std::strtoull(argv[2], nullptr, 10), 2 * seed + (writes ? 1 : 0)) ? 0 : 1;
}
