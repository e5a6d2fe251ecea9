// SPDX-License-Identifier: Apache-2.0
#include "bench/wake/Poster.h"

#include "bench/support/Clock.h"
#include "bench/support/Errors.h"
#include "bench/support/Machine.h"
#include "shm/Futex.h"

#include <semaphore.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <memory>

namespace cabinaudio::bench {

struct Poster::Shared {
    sem_t ordered;
    sem_t done;  // posted when an awaited order is complete
    // The order; the poster does not read it after it has begun.
    Action action;
    int ring;
    bool isAwaited;
    std::uint32_t address;
    std::uint32_t size;
    char name[64];

    std::uint64_t postedAt;
    alignas(64) std::uint32_t word;
    alignas(64) sem_t semaphore;
};

/// The code that runs in the other process.
class Poster::Process {
public:
    explicit Process(Shared& shared) : mShared(shared) {}

    [[noreturn]] void run() {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        prctl(PR_SET_TIMERSLACK, 1);
        becomeRealTime();  // the measuring program reports whether it is permitted
        for (;;) {
            while (sem_wait(&mShared.ordered) != 0) {
            }
            executeOrder();
        }
    }

private:
    struct Ring {
        std::unique_ptr<ShareMemoryEx> memory;
        std::uint32_t size = 0;
        unsigned char* data = nullptr;
    };

    void executeOrder() {
        const bool isAwaited = mShared.isAwaited;
        const Action action = mShared.action;
        const int ring = mShared.ring;
        if (action == Action::MapRing) {
            map(ring);
        } else {
            if (!isAwaited) letCallerSleep();
            handle(action, ring);
            mShared.postedAt = nowNs();
            post(action, ring);
        }
        if (isAwaited) sem_post(&mShared.done);
    }

    void map(int number) {
        const auto address = static_cast<std::uintptr_t>(mShared.address);
        const auto type = address != 0 ? SHM_TYPE_PHYS_MEM : SHM_TYPE_POSIX_SHM;
        Ring& ring = mRings.at(static_cast<std::size_t>(number));
        ring.size = mShared.size;
        ring.memory = std::make_unique<ShareMemoryEx>(
            type, mShared.name, reinterpret_cast<const unsigned char*>(address), mShared.size,
            SHM_MODE_CREATOR, nullptr);
        // A ring's view gives the address of its data only if there is data.
        ring.memory->write(mChunk.data(), CHUNK);
        audio_buffer_provider_t view{};
        ring.memory->getNextBuffer(view);
        ring.data = view.data;
        ring.memory->clear();
    }

    /// Touches the bytes first: a real server has just copied them, so they are in its cache.
    void handle(Action action, int number) {
        const Ring& ring = mRings[static_cast<std::size_t>(number)];
        if (action == Action::FillChunk)
            forEachByte(ring, ring.memory->getWriteOffset(),
                        [](unsigned char& byte, unsigned char& kept) { byte = kept; });
        else if (action == Action::TakeChunk)
            forEachByte(ring, ring.memory->getReadOffset(),
                        [](unsigned char& byte, unsigned char& kept) { kept = byte; });
    }

    template <typename Use>
    void forEachByte(const Ring& ring, std::uint32_t offset, Use use) {
        for (std::uint32_t i = 0; i < CHUNK; ++i)
            use(ring.data[(offset + i) % ring.size], mChunk[i]);
    }

    void post(Action action, int ring) {
        if (action == Action::WakeWord) {
            std::atomic_ref(mShared.word).fetch_add(1, std::memory_order_release);
            futexWake(&mShared.word, FUTEX_WAKE, 1);
            return;
        }
        if (action == Action::PostSem) {
            sem_post(&mShared.semaphore);
            return;
        }
        const Ring& target = mRings[static_cast<std::size_t>(ring)];
        ShareMemoryEx& memory = *target.memory;
        if (action == Action::FillChunk)
            memory.updateWriteOffset((memory.getWriteOffset() + CHUNK) % target.size);
        else
            memory.updateReadOffset((memory.getReadOffset() + CHUNK) % target.size);
    }

    static void letCallerSleep() {
        const timespec pause{0, 100'000};
        clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
    }

    Shared& mShared;
    std::array<Ring, MOST_RINGS> mRings;
    std::array<unsigned char, CHUNK> mChunk{};
};

Poster::Poster() {
    void* const page =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) raise(errno, "mmap");
    mShared = static_cast<Shared*>(page);
    sem_init(&mShared->ordered, 1, 0);
    sem_init(&mShared->done, 1, 0);
    sem_init(&mShared->semaphore, 1, 0);
    mProcess = checked(fork(), "fork");
    if (mProcess == 0) Process(*mShared).run();
}

Poster::~Poster() {
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
    munmap(mShared, sizeof(Shared));
}

void Poster::mapRing(int ring, const char* name, std::uint32_t address, std::uint32_t size) {
    mShared->address = address;
    mShared->size = size;
    std::snprintf(mShared->name, sizeof mShared->name, "%s", name);
    order(Action::MapRing, ring, true);
}

void Poster::execute(Action action, int ring) {
    order(action, ring, true);
}

void Poster::executeSoon(Action action, int ring) {
    order(action, ring, false);
}

void Poster::order(Action action, int ring, bool isAwaited) {
    mShared->action = action;
    mShared->ring = ring;
    mShared->isAwaited = isAwaited;
    sem_post(&mShared->ordered);
    if (!isAwaited) return;
    while (sem_wait(&mShared->done) != 0) {
    }
}

std::uint64_t Poster::postedAt() const {
    return mShared->postedAt;
}

std::uint32_t* Poster::word() {
    return &mShared->word;
}

sem_t* Poster::semaphore() {
    return &mShared->semaphore;
}

}  // namespace cabinaudio::bench
