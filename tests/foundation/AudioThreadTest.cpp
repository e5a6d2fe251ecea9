// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioThread.h>

#include "tests/foundation/Child.h"
#include "tests/foundation/Platform.h"
#include "tests/foundation/Worker.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Stack.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>

using cabinaudio::test::ChildEnd;
using cabinaudio::test::eventually;
using cabinaudio::test::Failing;
using cabinaudio::test::joins;
using cabinaudio::test::lastCreation;
using cabinaudio::test::LogCapture;
using cabinaudio::test::ProcessState;
using cabinaudio::test::returnsTo;
using cabinaudio::test::runInChild;
using cabinaudio::test::stackBytes;
using cabinaudio::test::threadNames;
using cabinaudio::test::Worker;

namespace {

constexpr int kDebug = 3;
constexpr int kError = 6;

bool isThreadName(const std::string& name) {
    const auto names = threadNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// A digit per signal of this thread, 1 for a blocked one.
std::string signalMask() {
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    std::string mask;
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
        mask += sigismember(&blocked, signal) == 1 ? '1' : '0';
    return mask;
}

/// signalMask() with everything blocked that can be: the kernel, the C library and an emulator keep
/// some signals to themselves.
std::string fullSignalMask() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const std::string mask = signalMask();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return mask;
}

constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};

std::atomic<pthread_t> gBody{};

void handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

/// For handlers.
void say(std::string_view text) {
    EXPECT_EQ(write(STDERR_FILENO, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

}  // namespace

TEST(AThread, RunsItsBodyUntilItIsStopped) {
    Worker worker;
    EXPECT_FALSE(worker.isRunning());
    EXPECT_EQ(worker.begun(), 0);
    worker.start();
    EXPECT_TRUE(worker.isRunning());
    EXPECT_TRUE(eventually([&] { return worker.begun() == 1; }));
    EXPECT_EQ(worker.ended(), 0);
    worker.end();
    EXPECT_FALSE(worker.isRunning());
    EXPECT_EQ(worker.ended(), 1);
}

TEST(AThread, HasLeftTheProcessWhenItIsJoined) {
    const ProcessState before = ProcessState::now();
    {
        Worker worker;
        worker.start();
        worker.end();
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST(AThread, IsNamed) {
    Worker worker("abc");
    worker.start();
    EXPECT_TRUE(isThreadName("AS-abc"));
}

TEST(AThread, CutsItsNameToFifteenCharacters) {
    Worker worker("123456789012345");
    worker.start();
    EXPECT_TRUE(isThreadName("AS-123456789012"));
}

TEST(AThread, KeepsANameOfTwelveCharacters) {
    Worker worker("RealtimeLink");
    worker.start();
    EXPECT_TRUE(isThreadName("AS-RealtimeLink"));
}

TEST(AThread, WithoutANameIsTheDefault) {
    Worker worker(nullptr);
    worker.start();
    EXPECT_TRUE(isThreadName("AS-Default"));
}

TEST(AThread, AsksForRoundRobinAtTheMaximumPriority) {
    Worker worker;
    worker.start();
    EXPECT_EQ(lastCreation().inherit, PTHREAD_EXPLICIT_SCHED);
    EXPECT_EQ(lastCreation().policy, SCHED_RR);
    EXPECT_EQ(lastCreation().priority, sched_get_priority_max(SCHED_RR));
}

TEST(AThread, AsksForThePolicyAndPriorityItWasGiven) {
    Worker worker("fifo", {}, 7, AudioThread::POLICY_FIFO);
    worker.start();
    EXPECT_EQ(lastCreation().policy, SCHED_FIFO);
    EXPECT_EQ(lastCreation().priority, 7);
}

TEST(AThread, AsksForOrdinarySchedulingWhenItIsOther) {
    Worker worker("other", {}, -1, AudioThread::POLICY_OTHER);
    worker.start();
    EXPECT_EQ(lastCreation().policy, SCHED_OTHER);
    EXPECT_EQ(lastCreation().priority, 0);
}

TEST(AThread, TakesAnUnknownPolicyForRoundRobin) {
    Worker worker("odd", {}, 1, static_cast<AudioThread::Policy>(9));
    worker.start();
    EXPECT_EQ(lastCreation().policy, SCHED_RR);
    EXPECT_EQ(lastCreation().priority, 1);
}

TEST(AThread, HasItsPolicyNumbers) {
    EXPECT_EQ(AudioThread::POLICY_RR, 0);
    EXPECT_EQ(AudioThread::POLICY_FIFO, 1);
    EXPECT_EQ(AudioThread::POLICY_OTHER, 2);
}

TEST(AThread, BlocksAllSignalsButThoseOfFaults) {
    const std::string before = signalMask();
    std::string during;
    Worker worker("deaf", [&](Worker&) { during = signalMask(); });
    worker.start();
    EXPECT_EQ(signalMask(), before);
    worker.end();
    std::string expected = fullSignalMask();
    for (const int signal : kFaultSignals)
        expected[static_cast<std::size_t>(signal) - 1] = '0';
    EXPECT_EQ(during, expected);
    for (const int signal : {SIGHUP, SIGINT, SIGUSR1, SIGALRM, SIGTERM, SIGRTMIN}) {
        EXPECT_EQ(during[static_cast<std::size_t>(signal) - 1], '1') << signal;
        EXPECT_EQ(before[static_cast<std::size_t>(signal) - 1], '0') << signal;
    }
}

TEST(AThread, HearsSignalsOfFaultsThatItsCreatorBlocks) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    std::string during;
    Worker worker("hearing", [&](Worker&) { during = signalMask(); });
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const std::string blocked = signalMask();
    worker.start();
    EXPECT_EQ(signalMask(), blocked);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    worker.end();
    for (const int signal : kFaultSignals)
        EXPECT_EQ(during[static_cast<std::size_t>(signal) - 1], '0') << signal;
    EXPECT_EQ(during[SIGTERM - 1], '1');
}

TEST(AThread, LeavesASignalPendingThatItsCreatorBlocks) {
    const ChildEnd end = runInChild([] {
        sigset_t abort;
        sigemptyset(&abort);
        sigaddset(&abort, SIGABRT);
        pthread_sigmask(SIG_BLOCK, &abort, nullptr);
        pthread_kill(pthread_self(), SIGABRT);
        Worker worker("quiet");
        worker.start();
        worker.end();
    });
    EXPECT_TRUE(end.passed()) << end.output;
}

TEST(AThread, RunsTheHandlerOfAFaultInItsBody) {
    const ChildEnd end = runInChild([] {
        handle(SIGSEGV, [](int) {
            say(pthread_equal(pthread_self(), gBody) != 0 ? "on the body's thread" : "elsewhere");
            _exit(42);
        });
        Worker worker("fault", [](Worker&) {
            gBody = pthread_self();
            void* const page = mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            *static_cast<volatile char*>(page) = 1;
        });
        worker.start();
        worker.join();
    });
    ASSERT_TRUE(WIFEXITED(end.status)) << end.status << end.output;
    EXPECT_EQ(WEXITSTATUS(end.status), 42) << end.output;
    EXPECT_EQ(end.output, "on the body's thread");
}

TEST(AThread, RunsNoHandlerOfAnotherSignal) {
    const ChildEnd end = runInChild([] {
        static std::atomic<unsigned> handled{0};
        for (const int signal : {SIGTERM, SIGUSR1})
            handle(signal, [](int) {
                if (pthread_equal(pthread_self(), gBody) != 0) say("on the body's thread");
                ++handled;
            });
        Worker worker("deaf", [](Worker&) {
            gBody = pthread_self();
            // Sent to the thread itself, they stay pending; sent to the process, another handles
            // them.
            for (const int signal : {SIGTERM, SIGUSR1}) {
                pthread_kill(pthread_self(), signal);
                kill(getpid(), signal);
            }
        });
        worker.start();
        EXPECT_TRUE(eventually([] { return handled == 2; }));
        worker.end();
    });
    EXPECT_TRUE(end.passed()) << end.output;
    EXPECT_EQ(end.output, "");
}

TEST(AThread, HasTheSystemsStack) {
    std::size_t expected = 0;
    std::thread([&] { expected = stackBytes(); }).join();
    std::size_t stack = 0;
    Worker worker("stack", [&](Worker&) { stack = stackBytes(); });
    worker.start();
    worker.end();
    EXPECT_NE(stack, 0U);
    EXPECT_EQ(stack, expected);
}

TEST(AThread, RefusesASecondStart) {
    const LogCapture log;
    Worker worker("twice");
    worker.start();
    worker.start();
    EXPECT_EQ(log.count(kError, "AudioThread", "start", "Thread(AS-twice) has been run already.\n"),
              1U)
        << log.dump();
    worker.end();
    EXPECT_EQ(worker.begun(), 1);
}

TEST(AThread, StartsAgainAfterItWasJoined) {
    const LogCapture log;
    Worker worker;
    for (int round = 1; round <= 3; ++round) {
        worker.start();
        EXPECT_TRUE(eventually([&] { return worker.begun() == round; }));
        worker.end();
        EXPECT_EQ(worker.ended(), round);
    }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(AThread, DoesNotJoinItself) {
    const LogCapture log;
    Worker worker("self", [](Worker& self) { self.join(); });
    worker.start();
    EXPECT_TRUE(log.waitFor(kError, "Thread(AS-self) DEAD LOCK.\n")) << log.dump();
    EXPECT_EQ(log.count(kError, "AudioThread", "join", "Thread(AS-self) DEAD LOCK.\n"), 1U);
    worker.end();  // it is still there to be joined
    EXPECT_EQ(worker.ended(), 1);
}

TEST(AThread, MayStopItself) {
    const LogCapture log;
    Worker worker("self", [](Worker& self) { self.stop(); });
    worker.start();
    EXPECT_TRUE(eventually([&] { return worker.ended() == 1; }));
    EXPECT_EQ(log.count(kError, "Thread(AS-self) DEAD LOCK.\n"), 1U) << log.dump();
    worker.end();
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

TEST(AThread, ThatStoppedItselfStartsAgain) {
    const LogCapture log;
    Worker worker("self", [](Worker& self) { self.stop(); });
    for (int round = 1; round <= 3; ++round) {
        worker.start();
        EXPECT_TRUE(eventually([&] { return worker.ended() == round; }));
    }
    worker.end();
    EXPECT_EQ(log.count(kError, "Thread(AS-self) DEAD LOCK.\n"), 3U) << log.dump();
    EXPECT_EQ(log.lines().size(), 3U) << log.dump();
}

TEST(AThread, IsSilentWhenItJoinsItselfWhileItsOwnerAlreadyDoes) {
    const LogCapture log;
    std::atomic<bool> go{false};
    Worker worker("late", [&](Worker& self) {
        EXPECT_TRUE(eventually([&] { return go.load(); }));
        self.join();
    });
    worker.start();
    const unsigned before = joins();
    std::thread owner([&] { worker.end(); });
    EXPECT_TRUE(eventually([&] { return joins() != before; }));
    go = true;
    owner.join();
    EXPECT_EQ(log.count(kError, "Thread(AS-late) DEAD LOCK.\n"), 0U) << log.dump();
    EXPECT_EQ(worker.ended(), 1);
}

TEST(AThread, IsJoinedOnce) {
    const LogCapture log;
    Worker worker;
    worker.join();  // nothing to join yet
    worker.start();
    const unsigned before = joins();
    worker.end();
    worker.join();
    worker.stop();
    EXPECT_EQ(joins() - before, 1U);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(AThreadThatCannotStart, SaysWhyAndIsNotRunning) {
    const LogCapture log;
    Worker worker("refused");
    {
        const Failing create("pthread_create", EPERM);
        errno = ENOTTY;  // printed as it stands: the creation does not set it
        worker.start();
        EXPECT_TRUE(create.happened());
    }
    EXPECT_EQ(log.count(kError, "AudioThread", "start",
                        "Fail to start thread(AS-refused) because "
                        "Inappropriate ioctl for device(25), ret=1.\n"),
              1U)
        << log.dump();
    EXPECT_FALSE(worker.isRunning());
    worker.join();  // returns: there is nothing to wait for
    EXPECT_EQ(worker.begun(), 0);
}

TEST(AThreadThatCannotStart, MayTryAgain) {
    const LogCapture log;
    Worker worker("again");
    {
        const Failing create("pthread_create", EAGAIN);
        worker.start();
    }
    worker.start();
    EXPECT_TRUE(eventually([&] { return worker.begun() == 1; }));
    worker.end();
    EXPECT_EQ(log.countMatching(kError,
                                "Fail to start thread\\(AS-again\\) because .*\\([0-9]+\\), "
                                "ret=11\\.\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

TEST(AThreadThatCannotStart, LeavesNothingToJoinOfASelfStoppedPredecessor) {
    Worker worker("self", [](Worker& self) { self.stop(); });
    worker.start();
    EXPECT_TRUE(eventually([&] { return worker.ended() == 1; }));
    const Failing create("pthread_create", EAGAIN);
    worker.start();
    const unsigned before = joins();
    worker.join();
    EXPECT_EQ(joins(), before);  // the predecessor was taken care of when the start was tried
    EXPECT_EQ(worker.begun(), 1);
}

TEST(AThread, WithImpossiblePriorityLogsThatAndDoesNotStart) {
    const LogCapture log;
    Worker worker("loud", {}, 1000);
    worker.start();
    EXPECT_EQ(log.count(kDebug, "AudioThread", "start",
                        "AUDIO IGNORE(pthread_attr_setschedparam(&attr, &param) == 0)!\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(
                  kError, "Fail to start thread\\(AS-loud\\) because .*\\([0-9]+\\), ret=22\\.\n"),
              1U)
        << log.dump();
    EXPECT_FALSE(worker.isRunning());
}
