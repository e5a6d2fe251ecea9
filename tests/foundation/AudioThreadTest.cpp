// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioThread.h>

#include "tests/foundation/Child.h"
#include "tests/foundation/Platform.h"
#include "tests/foundation/Worker.h"
#include "tests/support/Logged.h"
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

namespace cabinaudio::test {
namespace {

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

constexpr int FAULT_SIGNALS[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};

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

TEST(Thread, RunsItsBodyUntilItIsStopped) {
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

TEST(Thread, HasLeftTheProcessWhenItIsJoined) {
    const ProcessState before = ProcessState::now();
    {
        Worker worker;
        worker.start();
        worker.end();
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST(Thread, HasItsNameBehindAPrefixCutTo15Characters) {
    const struct {
        const char* given;
        const char* expected;
    } rows[] = {{"abc", "AS-abc"},
                {"RealtimeLink", "AS-RealtimeLink"},
                {"123456789012345", "AS-123456789012"},
                {nullptr, "AS-Default"}};
    for (const auto& row : rows) {
        Worker worker(row.given);
        worker.start();
        EXPECT_TRUE(isThreadName(row.expected)) << row.expected;
    }
}

TEST(Thread, RequestsThePolicyAndPriorityThatItWasGiven) {
    const struct {
        std::int32_t priority;
        AudioThread::Policy policy;
        Creation expected;
    } rows[] = {{7, AudioThread::POLICY_FIFO, {PTHREAD_EXPLICIT_SCHED, SCHED_FIFO, 7}},
                {-1, AudioThread::POLICY_OTHER, {PTHREAD_EXPLICIT_SCHED, SCHED_OTHER, 0}},
                {1, static_cast<AudioThread::Policy>(9), {PTHREAD_EXPLICIT_SCHED, SCHED_RR, 1}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.policy);
        Worker worker("worker", {}, row.priority, row.policy);
        worker.start();
        EXPECT_EQ(lastCreation().inherit, row.expected.inherit);
        EXPECT_EQ(lastCreation().policy, row.expected.policy);
        EXPECT_EQ(lastCreation().priority, row.expected.priority);
    }
}

TEST(Thread, RequestsRoundRobinAtTheMaximumPriorityByDefault) {
    Worker worker;
    worker.start();
    EXPECT_EQ(lastCreation().inherit, PTHREAD_EXPLICIT_SCHED);
    EXPECT_EQ(lastCreation().policy, SCHED_RR);
    EXPECT_EQ(lastCreation().priority, sched_get_priority_max(SCHED_RR));
}

TEST(Thread, HasThePolicyNumbersOfTheInterface) {
    EXPECT_EQ(AudioThread::POLICY_RR, 0);
    EXPECT_EQ(AudioThread::POLICY_FIFO, 1);
    EXPECT_EQ(AudioThread::POLICY_OTHER, 2);
}

TEST(Thread, BlocksAllSignalsButThoseOfFaults) {
    const std::string before = signalMask();
    std::string during;
    Worker worker("deaf", [&](Worker&) { during = signalMask(); });
    worker.start();
    EXPECT_EQ(signalMask(), before);
    worker.end();
    std::string expected = fullSignalMask();
    for (const int signal : FAULT_SIGNALS)
        expected[static_cast<std::size_t>(signal) - 1] = '0';
    EXPECT_EQ(during, expected);
    for (const int signal : {SIGHUP, SIGINT, SIGUSR1, SIGALRM, SIGTERM, SIGRTMIN}) {
        EXPECT_EQ(during[static_cast<std::size_t>(signal) - 1], '1') << signal;
        EXPECT_EQ(before[static_cast<std::size_t>(signal) - 1], '0') << signal;
    }
}

TEST(Thread, UnblocksSignalsOfFaultsThatItsCreatorBlocks) {
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
    for (const int signal : FAULT_SIGNALS)
        EXPECT_EQ(during[static_cast<std::size_t>(signal) - 1], '0') << signal;
    EXPECT_EQ(during[SIGTERM - 1], '1');
}

TEST(Thread, LeavesASignalPendingThatItsCreatorBlocks) {
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

TEST(Thread, RunsTheHandlerOfAFaultInItsBody) {
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

TEST(Thread, RunsNoHandlerOfASignalThatIsNoFault) {
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

TEST(Thread, HasAStackOfTheSystemsSize) {
    std::size_t expected = 0;
    std::thread([&] { expected = stackBytes(); }).join();
    std::size_t stack = 0;
    Worker worker("stack", [&](Worker&) { stack = stackBytes(); });
    worker.start();
    worker.end();
    EXPECT_NE(stack, 0U);
    EXPECT_EQ(stack, expected);
}

TEST(Thread, RefusesASecondStart) {
    const LogCapture log;
    Worker worker("twice");
    worker.start();
    worker.start();
    EXPECT_TRUE(
        logged(log, ERROR, "AudioThread", "start", "Thread(AS-twice) has been run already.\n"));
    worker.end();
    EXPECT_EQ(worker.begun(), 1);
}

TEST(Thread, StartsAgainAfterItWasJoined) {
    const LogCapture log;
    Worker worker;
    for (int round = 1; round <= 3; ++round) {
        worker.start();
        EXPECT_TRUE(eventually([&] { return worker.begun() == round; }));
        worker.end();
        EXPECT_EQ(worker.ended(), round);
    }
    EXPECT_TRUE(logIsEmpty(log));
}

TEST(Thread, LogsADeadlockWhenItJoinsItself) {
    const LogCapture log;
    Worker worker("self", [](Worker& self) { self.join(); });
    worker.start();
    EXPECT_TRUE(log.waitFor(ERROR, "Thread(AS-self) DEAD LOCK.\n")) << log.dump();
    EXPECT_TRUE(logged(log, ERROR, "AudioThread", "join", "Thread(AS-self) DEAD LOCK.\n"));
    worker.end();  // it is still there to be joined
    EXPECT_EQ(worker.ended(), 1);
}

TEST(Thread, EndsWhenItStopsItself) {
    const LogCapture log;
    Worker worker("self", [](Worker& self) { self.stop(); });
    worker.start();
    EXPECT_TRUE(eventually([&] { return worker.ended() == 1; }));
    EXPECT_TRUE(logged(log, ERROR, "Thread(AS-self) DEAD LOCK.\n"));
    worker.end();
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

TEST(Thread, StartsAgainAfterItStoppedItself) {
    const LogCapture log;
    Worker worker("self", [](Worker& self) { self.stop(); });
    for (int round = 1; round <= 3; ++round) {
        worker.start();
        EXPECT_TRUE(eventually([&] { return worker.ended() == round; }));
    }
    worker.end();
    EXPECT_TRUE(logged(log, ERROR, "Thread(AS-self) DEAD LOCK.\n", 3));
    EXPECT_EQ(log.lines().size(), 3U) << log.dump();
}

TEST(Thread, IsSilentWhenItJoinsItselfWhileItsOwnerJoinsIt) {
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
    EXPECT_TRUE(logged(log, ERROR, "Thread(AS-late) DEAD LOCK.\n", 0));
    EXPECT_EQ(worker.ended(), 1);
}

TEST(Thread, IsJoinedOnceByRepeatedCalls) {
    const LogCapture log;
    Worker worker;
    worker.join();  // nothing to join yet
    worker.start();
    const unsigned before = joins();
    worker.end();
    worker.join();
    worker.stop();
    EXPECT_EQ(joins() - before, 1U);
    EXPECT_TRUE(logIsEmpty(log));
}

TEST(Thread, LogsTheReasonWhenItCannotStart) {
    const LogCapture log;
    Worker worker("refused");
    {
        const Failing create("pthread_create", EPERM);
        errno = ENOTTY;  // printed as it stands: the creation does not set it
        worker.start();
        EXPECT_TRUE(create.happened());
    }
    EXPECT_TRUE(logged(log, ERROR, "AudioThread", "start",
                       "Fail to start thread(AS-refused) because "
                       "Inappropriate ioctl for device(25), ret=1.\n"));
    EXPECT_FALSE(worker.isRunning());
    worker.join();  // returns: there is nothing to wait for
    EXPECT_EQ(worker.begun(), 0);
}

TEST(Thread, StartsAgainAfterAFailedStart) {
    const LogCapture log;
    Worker worker("again");
    {
        const Failing create("pthread_create", EAGAIN);
        worker.start();
    }
    worker.start();
    EXPECT_TRUE(eventually([&] { return worker.begun() == 1; }));
    worker.end();
    EXPECT_TRUE(loggedLike(log, ERROR,
                           "Fail to start thread\\(AS-again\\) because .*\\([0-9]+\\), "
                           "ret=11\\.\n"));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

TEST(Thread, HasNothingToJoinAfterAFailedStartThatFollowsASelfStop) {
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

TEST(Thread, LogsAnImpossiblePriorityAndDoesNotStart) {
    const LogCapture log;
    Worker worker("loud", {}, 1000);
    worker.start();
    EXPECT_TRUE(logged(log, DEBUG, "AudioThread", "start",
                       "AUDIO IGNORE(pthread_attr_setschedparam(&attr, &param) == 0)!\n"));
    EXPECT_TRUE(loggedLike(
        log, ERROR, "Fail to start thread\\(AS-loud\\) because .*\\([0-9]+\\), ret=22\\.\n"));
    EXPECT_FALSE(worker.isRunning());
}

}  // namespace
}  // namespace cabinaudio::test
