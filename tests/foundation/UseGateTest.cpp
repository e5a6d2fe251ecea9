// SPDX-License-Identifier: Apache-2.0
// The gate on its own, with hooks at the system calls by which a drain waits and is woken.
#include "foundation/UseGate.h"
#include "tests/interpose/Waits.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Rounds.h"

#include <gtest/gtest.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <thread>
#include <utility>

namespace cabinaudio::test {
namespace {

using Visit = UseGate::Visit;

constexpr std::chrono::milliseconds WHILE(100);
constexpr std::chrono::seconds BOUND(60);

// ---- System calls -------------------------------------------------------------------------------

using OnWord = std::function<void(std::uintptr_t word)>;

thread_local OnWord tBeforeSleep;  // before the next sleep of this thread
thread_local OnWord tBeforeWake;   // before the next wake-up by this thread
thread_local int tSleepError = 0;  // of the next sleep of this thread, which fails
std::atomic<int> gWakeUps{0};

void reach(OnWord& moment, long word) {
    if (moment) std::exchange(moment, nullptr)(static_cast<std::uintptr_t>(word));
}

long hookedSystemCall(long number, long a, long b, long c, long d, long e, long f) {
    const long operation = b & FUTEX_CMD_MASK;
    if (number == SYS_futex && operation == FUTEX_WAIT) {
        reach(tBeforeSleep, a);
        if (const int error = std::exchange(tSleepError, 0); error != 0) {
            errno = error;
            return -1;
        }
    }
    if (number == SYS_futex && operation == FUTEX_WAKE) {
        ++gWakeUps;
        reach(tBeforeWake, a);
    }
    return platform::syscall.real(number, a, b, c, d, e, f);
}

const Hooked SYSTEM_CALL(platform::syscall, hookedSystemCall);

// ---- Helpers ------------------------------------------------------------------------------------

/// A drain has no time limit: after a wake-up that was lost, nothing could end the program in
/// order.
void expectSoon(const std::future<void>& done) {
    if (done.wait_for(BOUND) == std::future_status::ready) return;
    std::fprintf(stderr, "FAILED: %s: a wake-up was lost\n",
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::_Exit(1);
}

/// A gate in a page of its own. After takeAway() every access to it faults.
class GateInAPage {
public:
    GateInAPage()
        : mBytes(static_cast<std::size_t>(getpagesize())),
          mPage(mmap(nullptr, mBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        if (mPage == MAP_FAILED) throw std::bad_alloc();
        mGate = new (mPage) UseGate;
    }
    ~GateInAPage() { munmap(mPage, mBytes); }
    GateInAPage(const GateInAPage&) = delete;
    GateInAPage& operator=(const GateInAPage&) = delete;

    [[nodiscard]] UseGate& gate() const { return *mGate; }
    void takeAway() const { EXPECT_EQ(mprotect(mPage, mBytes, PROT_NONE), 0); }

private:
    std::size_t mBytes;
    void* mPage;
    UseGate* mGate;
};

/// Waits for a moment that is near, without sleeping: a race needs threads that are awake.
template <typename Condition>
void spinUntil(Condition condition) {
    while (!condition())
        std::this_thread::yield();
}

// ---- Tests --------------------------------------------------------------------------------------

TEST(UseGate, IsEmptyExceptDuringVisits) {
    UseGate gate;
    EXPECT_TRUE(gate.empty());
    {
        const Visit outer(gate);
        {
            const Visit inner(gate);
            EXPECT_FALSE(gate.empty());
        }
        EXPECT_FALSE(gate.empty());
    }
    EXPECT_TRUE(gate.empty());
}

TEST(UseGate, DrainWaitsForEveryVisitor) {
    UseGate gate;
    std::optional<Visit> first(std::in_place, gate);
    std::optional<Visit> second(std::in_place, gate);
    const auto drained = std::async(std::launch::async, [&] { gate.drain(); });
    first.reset();
    EXPECT_EQ(drained.wait_for(WHILE), std::future_status::timeout);
    second.reset();
    expectSoon(drained);
    EXPECT_TRUE(gate.empty());
}

TEST(UseGate, CanBeUsedAndDrainedAgain) {
    UseGate gate;
    for (int i = 0; i < 2; ++i) {
        gate.drain();
        std::optional<Visit> visit(std::in_place, gate);
        EXPECT_FALSE(gate.empty());
        const auto drained = std::async(std::launch::async, [&] { gate.drain(); });
        EXPECT_EQ(drained.wait_for(WHILE), std::future_status::timeout);
        visit.reset();
        expectSoon(drained);
    }
}

TEST(UseGate, DrainOfAnEmptyGateDoesNotWait) {
    UseGate gate;
    tBeforeSleep = [](std::uintptr_t) { ADD_FAILURE() << "an empty gate is waited for"; };
    gate.drain();
    tBeforeSleep = nullptr;
}

TEST(UseGate, DrainEndsWhenTheLastVisitorLeavesBetweenTheCheckAndTheWait) {
    UseGate gate;
    std::optional<Visit> visit(std::in_place, gate);
    const auto drained = std::async(std::launch::async, [&] {
        tBeforeSleep = [&](std::uintptr_t) { visit.reset(); };
        gate.drain();
        EXPECT_FALSE(tBeforeSleep) << "nothing was waited for";
    });
    expectSoon(drained);
}

TEST(UseGate, DrainWaitsAgainAfterASleepThatFails) {
    for (const int error : {EINTR, EAGAIN}) {
        UseGate gate;
        std::optional<Visit> visit(std::in_place, gate);
        std::promise<void> slept;
        std::future<void> isAsleepAgain = slept.get_future();
        const auto drained = std::async(std::launch::async, [&] {
            tSleepError = error;
            tBeforeSleep = [&](std::uintptr_t) {
                tBeforeSleep = [&](std::uintptr_t) { slept.set_value(); };
            };
            gate.drain();
        });
        expectSoon(isAsleepAgain);
        EXPECT_EQ(drained.wait_for(WHILE), std::future_status::timeout);
        visit.reset();
        expectSoon(drained);
    }
}

/// Two gates are drained at the same time. The wake-ups for one reach both drains.
class TwoGates : public ::testing::Test {
protected:
    /// Returns when the drain is about to sleep.
    static std::future<void> drainInBackground(UseGate& gate) {
        std::promise<void> sleeps;
        std::future<void> asleep = sleeps.get_future();
        auto drained = std::async(std::launch::async, [&gate, own = std::move(sleeps)]() mutable {
            tBeforeSleep = [&](std::uintptr_t) { own.set_value(); };
            gate.drain();
        });
        expectSoon(asleep);
        return drained;
    }

    UseGate first;
    UseGate second;
    std::optional<Visit> inFirst{std::in_place, first};
    std::optional<Visit> inSecond{std::in_place, second};
};

TEST_F(TwoGates, AreLeftIndependently) {
    const auto firstDrained = drainInBackground(first);
    const auto secondDrained = drainInBackground(second);
    inSecond.reset();
    expectSoon(secondDrained);
    EXPECT_EQ(firstDrained.wait_for(WHILE), std::future_status::timeout);
    inFirst.reset();
    expectSoon(firstDrained);
}

TEST_F(TwoGates, LeavingAGateThatIsNotBeingDrainedWakesNoDrainOfTheOther) {
    inFirst.reset();
    first.drain();
    const auto drained = drainInBackground(second);
    const int wakeUps = gWakeUps;
    { const Visit visit(first); }
    EXPECT_EQ(gWakeUps, wakeUps);
    inSecond.reset();
    expectSoon(drained);
    EXPECT_GT(gWakeUps, wakeUps);
}

/// The visitor is still about to wake the drain when the gate is gone.
TEST(UseGate, MayBeFreedBeforeItsLastVisitorHasWokenTheDrain) {
    const GateInAPage page;
    UseGate& gate = page.gate();
    std::optional<Visit> visit(std::in_place, gate);
    std::promise<void> drainIsAboutToWait;
    std::promise<void> visitorIsAboutToWake;
    std::promise<void> gateIsGone;
    std::uintptr_t woken = 0;

    const auto drained = std::async(std::launch::async, [&] {
        tBeforeSleep = [&](std::uintptr_t) {
            drainIsAboutToWait.set_value();
            visitorIsAboutToWake.get_future().wait();
        };
        gate.drain();
        page.takeAway();
        gateIsGone.set_value();
    });
    const auto left = std::async(std::launch::async, [&] {
        drainIsAboutToWait.get_future().wait();
        tBeforeWake = [&](std::uintptr_t word) {
            woken = word;
            visitorIsAboutToWake.set_value();
            gateIsGone.get_future().wait();
        };
        visit.reset();
    });
    expectSoon(drained);
    expectSoon(left);
    EXPECT_NE(woken, 0U);
    EXPECT_NE(woken, reinterpret_cast<std::uintptr_t>(&gate));
}

/// Several visitors leave while the owner drains, and deletes the gate directly afterwards. The
/// sanitizers see a late access to it; a wake-up that is lost leaves the owner waiting.
TEST(UseGate, IsNotTouchedAfterTheDrain) {
    constexpr int VISITORS = 3;
    const int last = rounds(200);
    std::atomic<UseGate*> current{nullptr};
    std::atomic<int> round{-1};
    std::atomic<int> entered{0};

    const auto owner = std::async(std::launch::async, [&] {
        for (int i = 0; i < last; ++i) {
            auto gate = std::make_unique<UseGate>();
            current = gate.get();
            entered = 0;
            round = i;
            spinUntil([&] { return entered == VISITORS; });
            gate->drain();
            gate.reset();
        }
    });
    const auto visitors = std::async(std::launch::async, [&] {
        onThreads(VISITORS, [&](int) {
            for (int i = 0; i < last; ++i) {
                spinUntil([&] { return round == i; });
                const Visit visit(*current.load());
                ++entered;
                spinUntil([&] { return entered == VISITORS; });
            }
        });
    });
    expectSoon(owner);
    expectSoon(visitors);
}

/// The pointer's own accesses are relaxed: the gate alone keeps visitors from a deleted object.
TEST(UseGate, ObjectIsNotUsedAfterTheDrain) {
    constexpr int VISITORS = 3;
    const int last = rounds(200);
    UseGate gate;
    std::atomic<int*> slot{nullptr};
    std::atomic<bool> isOver{false};

    const auto owner = std::async(std::launch::async, [&] {
        for (int i = 0; i < last; ++i) {
            slot.store(new int(1), std::memory_order_release);
            std::this_thread::yield();
            const std::unique_ptr<int> old(slot.exchange(nullptr, std::memory_order_relaxed));
            gate.drain();
            *old = 0;
        }
        isOver = true;
    });
    const auto visitors = std::async(std::launch::async, [&] {
        onThreads(VISITORS, [&](int) {
            while (!isOver) {
                {
                    const Visit visit(gate);
                    const int* const object = slot.load(std::memory_order_acquire);
                    EXPECT_EQ(object != nullptr ? *object : 1, 1);
                }
                std::this_thread::yield();
            }
        });
    });
    expectSoon(owner);
    expectSoon(visitors);
}

}  // namespace
}  // namespace cabinaudio::test
