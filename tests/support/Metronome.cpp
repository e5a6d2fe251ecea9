// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Metronome.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <new>

namespace cabinaudio::test {
namespace {

constexpr std::int64_t BEAT_US = 10000;  // less than a second

/// What the test and its metronome share.
struct Beats {
    std::atomic<std::int64_t> longestUs{0};
    std::atomic<bool> isOver{false};
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);
static_assert(std::atomic<bool>::is_always_lock_free);

std::atomic<Beats*> gBeats{nullptr};
constexpr std::int64_t USUALLY_BRIDGED_MS = 100;
std::atomic<std::int64_t> gBridgedMs{USUALLY_BRIDGED_MS};

/// As the kernel's interface of this width has it, whatever the C library makes of times.
struct KernelTime {
    long seconds;
    long nanoseconds;
};

/// Not the C library's: some tests put functions of their own in front of those.
std::int64_t nowUs() {
    KernelTime now = {};
    syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return std::int64_t{now.seconds} * 1000000 + now.nanoseconds / 1000;
}

void pause(std::int64_t us) {
    const KernelTime time = {0, static_cast<long>(us * 1000)};
    syscall(SYS_clock_nanosleep, CLOCK_MONOTONIC, 0, &time, nullptr);
}

/// Held descriptors would keep the test's peers from seeing that they are closed.
void closeAll() {
#ifdef SYS_close_range
    if (syscall(SYS_close_range, 0U, ~0U, 0U) == 0) return;
#endif
    const int most = static_cast<int>(sysconf(_SC_OPEN_MAX));
    for (int fd = 0; fd < most && fd < 65536; ++fd)
        syscall(SYS_close, fd);
}

[[noreturn]] void beat(pid_t test, Beats& beats) {
    prctl(PR_SET_NAME, "metronome");
    closeAll();
    while (!beats.isOver.load(std::memory_order_relaxed) &&
           (syscall(SYS_kill, test, 0) == 0 || errno == EPERM)) {
        const std::int64_t begin = nowUs();
        pause(BEAT_US);
        const std::int64_t late = nowUs() - begin - BEAT_US;
        if (late > beats.longestUs.load(std::memory_order_relaxed))
            beats.longestUs.store(late, std::memory_order_relaxed);
    }
    _exit(0);
}

void startOnce() {
    void* const page =
        mmap(nullptr, sizeof(Beats), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) return;
    auto* const beats = new (page) Beats;
    const pid_t test = getpid();
    const pid_t child = fork();
    if (child == 0) {
        // Nobody's child, so that a test that waits for any child does not meet it.
        if (fork() == 0) beat(test, *beats);
        _exit(0);
    }
    while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    gBeats = beats;
}

}  // namespace

void Metronome::start() {
    static std::once_flag isStarted;
    std::call_once(isStarted, startOnce);
}

void Metronome::startCase() {
    gBridgedMs = USUALLY_BRIDGED_MS;
    if (Beats* const beats = gBeats) beats->longestUs.store(0, std::memory_order_relaxed);
}

void Metronome::end() {
    if (Beats* const beats = gBeats) beats->isOver.store(true, std::memory_order_relaxed);
}

std::chrono::milliseconds Metronome::longestPause() {
    const Beats* const beats = gBeats;
    return std::chrono::milliseconds(
        beats != nullptr ? beats->longestUs.load(std::memory_order_relaxed) / 1000 : 0);
}

void Metronome::setBridged(std::chrono::milliseconds pause) {
    gBridgedMs = pause.count();
}

std::chrono::milliseconds Metronome::bridged() {
    return std::chrono::milliseconds(gBridgedMs);
}

}  // namespace cabinaudio::test
