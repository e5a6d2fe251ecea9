// SPDX-License-Identifier: Apache-2.0
#include "tests/server/HostileRing.h"

#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

using wire::CaptureFunction;
using wire::StreamFunction;

[[noreturn]] void fail(const char* text) {
    throw std::runtime_error(text);
}

template <typename T>
std::atomic_ref<T> shared(T& field) {
    return std::atomic_ref<T>(field);
}

}  // namespace

HostileRing::HostileRing(const RingUser& user, const std::string& name,
                         const AudioFormatDesc& format)
    : mUser(user), mClient(std::in_place, user.type, name) {
    const auto tag = static_cast<std::uint32_t>(user.tag);
    const wire::CreateReply reply =
        user.isCapture ? mClient->createCapture(tag, format) : mClient->create(tag, format);
    if (reply.status != 0) fail("create");
    std::string object = name;
    if (user.isPhysical) {
        if (user.isCapture) start();
        (void)mClient->notification();
        const auto place =
            user.isCapture ? mClient->ask<wire::ShareMemoryReply>(CaptureFunction::GetShareMemory)
                           : mClient->ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory);
        char suffix[16];
        std::snprintf(suffix, sizeof suffix, "_0x%x", place.address);
        object += suffix;
    }
    mObject = shm_open(object.c_str(), O_RDWR, 0);
    struct stat64 found = {};
    if (mObject < 0 || fstat64(mObject, &found) != 0) fail("no ring");
    mLength = static_cast<off_t>(found.st_size);
    void* const at =
        mmap(nullptr, sizeof(wire::RingHeader), PROT_READ | PROT_WRITE, MAP_SHARED, mObject, 0);
    if (at == MAP_FAILED) fail("mmap");
    mHeader = static_cast<wire::RingHeader*>(at);
}

HostileRing::~HostileRing() {
    munmap(mHeader, sizeof *mHeader);
    close(mObject);
}

void HostileRing::start() {
    const std::int32_t status = mUser.isCapture ? mClient->status(CaptureFunction::Start)
                                                : mClient->status(StreamFunction::Start);
    if (status != 0) fail("start");
}

wire::SemaphoreSlot& HostileRing::slot() const {
    return mUser.isCapture ? mHeader->writeSem : mHeader->readSem;
}

bool HostileRing::hasSleeper() const {
    return shared(slot().word[3]).load() != 0;
}

void HostileRing::post() const {
    constexpr std::uint32_t WAITERS = 1;
    constexpr std::uint32_t ONE = 2;
    const std::uint32_t before = shared(slot().word[0]).fetch_add(ONE);
    if ((before & WAITERS) != 0)
        syscall(SYS_futex, &slot().word[0], FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

void HostileRing::pretendToHaveWritten(std::uint32_t bytes) const {
    shared(mHeader->writeOffset).store(bytes);
    post();
}

void HostileRing::cut(off_t length) const {
    if (ftruncate(mObject, length) != 0) fail("ftruncate");
}

void HostileRing::restore() const {
    if (ftruncate(mObject, mLength) != 0) fail("ftruncate");
}

EndlessProcess::EndlessProcess(const std::function<void()>& action) {
    void* const at =
        mmap(nullptr, sizeof *mCount, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (at == MAP_FAILED) fail("mmap");
    mCount = static_cast<unsigned*>(at);
    mProcess = fork();
    if (mProcess < 0) fail("fork");
    if (mProcess > 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Its own access to what was cut off.
    std::signal(SIGBUS, [](int) { kill(getpid(), SIGKILL); });
    for (;;) {
        action();
        shared(*mCount).fetch_add(1);
    }
}

EndlessProcess::~EndlessProcess() {
    kill(mProcess, SIGKILL);
    while (waitpid(mProcess, nullptr, 0) < 0 && errno == EINTR) {
    }
    munmap(mCount, sizeof *mCount);
}

void EndlessProcess::waitFor(unsigned times) const {
    const unsigned begin = shared(*mCount).load();
    const auto isDone = [&] {
        siginfo_t info = {};
        waitid(P_PID, static_cast<id_t>(mProcess), &info, WEXITED | WNOHANG | WNOWAIT);
        return info.si_pid != 0 || shared(*mCount).load() - begin >= times;
    };
    if (!eventually(isDone, std::chrono::minutes(1))) fail("the other process does nothing");
}

}  // namespace cabinaudio::test
