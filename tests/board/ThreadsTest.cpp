// SPDX-License-Identifier: Apache-2.0
#include "tests/board/InProcess.h"
#include "tests/support/RealTimeRight.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <limits>
#include <string>

namespace cabinaudio::test {
namespace {

constexpr std::size_t STACK = 1 << 20;
constexpr std::size_t GUARD = 64 << 10;

class RealTime {
public:
    RealTime() {
        pthread_attr_init(&mAttributes);
        pthread_attr_setinheritsched(&mAttributes, PTHREAD_EXPLICIT_SCHED);
        pthread_attr_setschedpolicy(&mAttributes, SCHED_RR);
        const sched_param priority{1};
        pthread_attr_setschedparam(&mAttributes, &priority);
    }
    ~RealTime() { pthread_attr_destroy(&mAttributes); }
    RealTime(const RealTime&) = delete;
    RealTime& operator=(const RealTime&) = delete;

    pthread_attr_t* get() { return &mAttributes; }

private:
    pthread_attr_t mAttributes;
};

/// The C library's own function, without ours in front.
int createByTheCLibrary(pthread_t* thread, const pthread_attr_t* attributes) {
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    void* libc = dlopen("libc.so.6", RTLD_NOLOAD | RTLD_LAZY);
    auto* create = reinterpret_cast<Create*>(dlsym(libc, "pthread_create"));
    return create(
        thread, attributes, [](void*) -> void* { return nullptr; }, nullptr);
}

struct Seen {
    int policy = -1;
    std::size_t stack = 0;
    std::size_t guard = 0;
    int detached = -1;
    bool blocksUsr1 = false;
};

void* lookAtThisThread(void* opaque) {
    Seen& seen = *static_cast<Seen*>(opaque);
    seen.policy = sched_getscheduler(0);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &seen.stack);
    pthread_attr_getguardsize(&attributes, &seen.guard);
    pthread_attr_getdetachstate(&attributes, &seen.detached);
    pthread_attr_destroy(&attributes);
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    seen.blocksUsr1 = sigismember(&blocked, SIGUSR1) == 1;
    return nullptr;
}

std::string describe(const Seen& seen) {
    return "policy " + std::to_string(seen.policy) + " stack " + std::to_string(seen.stack >> 10) +
           "K guard " + std::to_string(seen.guard >> 10) + "K detached " +
           std::to_string(seen.detached) + (seen.blocksUsr1 ? " blocks" : " open");
}

TEST(RealTimeThread, IsRefusedByTheCLibraryWithoutThePermission) {
    const std::string status = inForkedChild([] {
        giveUpRealTime();
        pthread_t thread;
        return std::to_string(createByTheCLibrary(&thread, RealTime().get()));
    });
    EXPECT_EQ(status, std::to_string(EPERM));
}

TEST(RealTimeThread, StartsWithOrdinarySchedulingWhereItIsRefused) {
    const std::string seen = inForkedChild([] {
        giveUpRealTime();
        Seen looked;
        pthread_t thread;
        const int status = pthread_create(&thread, RealTime().get(), lookAtThisThread, &looked);
        if (status != 0) return "status " + std::to_string(status);
        pthread_join(thread, nullptr);
        return "policy " + std::to_string(looked.policy);
    });
    EXPECT_EQ(seen, "policy " + std::to_string(SCHED_OTHER));
}

// The stack is compared as "at least": sanitizers enlarge it for themselves.
TEST(RealTimeThread, KeepsItsOtherAttributesWhereItIsRefused) {
    const std::string seen = inForkedChild([] {
        giveUpRealTime();
        RealTime attributes;
        pthread_attr_setstacksize(attributes.get(), STACK);
        pthread_attr_setguardsize(attributes.get(), GUARD);
        sigset_t usr1;
        sigemptyset(&usr1);
        sigaddset(&usr1, SIGUSR1);
        pthread_attr_setsigmask_np(attributes.get(), &usr1);
        Seen looked;
        pthread_t thread;
        pthread_create(&thread, attributes.get(), lookAtThisThread, &looked);
        pthread_join(thread, nullptr);
        looked.stack = looked.stack >= STACK && looked.stack < 4 * STACK ? STACK : looked.stack;
        return describe(looked);
    });
    EXPECT_EQ(seen, "policy 0 stack 1024K guard 64K detached 0 blocks");
}

TEST(RealTimeThread, MayBeDetachedWhereItIsRefused) {
    const std::string result = inForkedChild([] {
        giveUpRealTime();
        RealTime attributes;
        pthread_attr_setdetachstate(attributes.get(), PTHREAD_CREATE_DETACHED);
        int ends[2];
        if (pipe(ends) != 0) return std::string("no pipe");
        const auto say = [](void* end) -> void* {
            pthread_attr_t own;
            int detached = -1;
            pthread_getattr_np(pthread_self(), &own);
            pthread_attr_getdetachstate(&own, &detached);
            pthread_attr_destroy(&own);
            const char told = detached == PTHREAD_CREATE_DETACHED ? 'd' : 'j';
            return write(*static_cast<int*>(end), &told, 1) == 1 ? nullptr : end;
        };
        pthread_t thread;
        const int status = pthread_create(&thread, attributes.get(), say, &ends[1]);
        char told = '?';
        const bool heard = status == 0 && read(ends[0], &told, 1) == 1;
        return heard ? std::string(1, told) : "status " + std::to_string(status);
    });
    EXPECT_EQ(result, "d");
}

TEST(Thread, StartsUnchangedWithoutAttributes) {
    Seen looked;
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, lookAtThisThread, &looked), 0);
    pthread_join(thread, nullptr);
    EXPECT_EQ(looked.policy, sched_getscheduler(0));
}

TEST(Thread, ReportsErrorsUnrelatedToRealTime) {
    constexpr std::size_t TOO_MUCH = std::numeric_limits<std::size_t>::max() / 8 * 7;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, TOO_MUCH), 0);
    pthread_t thread;
    const int status = createByTheCLibrary(&thread, &attributes);
    ASSERT_NE(status, 0);
    const auto nothing = [](void*) -> void* { return nullptr; };
    EXPECT_EQ(pthread_create(&thread, &attributes, nothing, nullptr), status);
    pthread_attr_destroy(&attributes);
}

}  // namespace
}  // namespace cabinaudio::test
