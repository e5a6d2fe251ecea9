// SPDX-License-Identifier: Apache-2.0
// Each call of the library that can fail fails, once and for good, with each errno that it can have
// here. The only results are documented ones: a status, or the process's end where memory is
// exhausted; never a crash, an exception, an endless wait, or a leak.
#include "tests/faults/Conversations.h"
#include "tests/faults/Imports.h"
#include "tests/faults/Injector.h"
#include "tests/support/Files.h"
#include "tests/support/InstanceFiles.h"

#include <android/log.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <new>
#include <set>

extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check();

namespace cabinaudio::test {
namespace {

using Clock = std::chrono::steady_clock;

/// Longer than anything takes under an emulator on a busy machine.
constexpr auto BOUND = std::chrono::minutes(4);

constexpr int LEAKED = 7;

/// "all": every occurrence, errno and way in every conversation. Otherwise each site's first call,
/// in the first conversation that comes by.
bool isThorough() {
    const char* const wish = std::getenv("CABINAUDIO_FAULTS");
    return wish != nullptr && std::strcmp(wish, "all") == 0;
}

/// Calls of one site that are made to fail: later calls are like earlier ones.
constexpr std::uint32_t MOST_OCCURRENCES = 5;

/// Of one fault, until its call comes.
constexpr int MOST_ATTEMPTS = 8;

std::size_t processesAtOnce() {
    const char* const wish = std::getenv("CABINAUDIO_FAULTS_JOBS");
    return wish != nullptr ? static_cast<std::size_t>(std::max(1, std::atoi(wish))) : 4;
}

Record* newRecord() {
    void* const at =
        mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (at == MAP_FAILED) throw std::bad_alloc();
    return static_cast<Record*>(at);
}

Record* gOwnRecord = nullptr;

/// No exception may unwind into the copy of the test that this process is, too.
[[noreturn]] void converse(const Conversation& conversation, const Fault& fault,
                           Record& record) noexcept {
    const struct rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    gOwnRecord = &record;
    __android_log_set_logger([](const struct __android_logger_data*, const char* text) {
        if (std::strstr(text, "AUDIO ASSERT") != nullptr)
            std::snprintf(gOwnRecord->lastAssertion, sizeof gOwnRecord->lastAssertion, "%s", text);
    });
    installHooks();
    {
        const std::string verdict = conversation.run(record, fault);
        std::snprintf(record.verdict, sizeof record.verdict, "%s", verdict.c_str());
    }
    if (&__lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0)
        _exit(LEAKED);
    std::exit(0);
}

/// A conversation in a process of its own.
struct Attempt {
    const Conversation* conversation = nullptr;
    Fault fault;
    std::string instance;
    pid_t process = -1;
    Record* record = nullptr;
    Clock::time_point begin;
    int attempt = 1;
    int status = 0;
    bool isTooLong = false;

    [[nodiscard]] std::string name() const {
        if (fault.occurrence == Fault::NEVER) return conversation->name;
        return conversation->name + ": " + describe(fault.site) + ", call " +
               std::to_string(fault.occurrence) + (fault.forGood ? " and all later ones" : "") +
               ": " + std::strerror(fault.error);
    }
};

class Attempts {
public:
    /// Begins another one, when there is room, or else once one has ended.
    template <typename Done>
    void begin(const Conversation& conversation, const Fault& fault, Done done, int attempt = 1) {
        while (mRuns.size() >= processesAtOnce())
            waitForOne(done);
        Attempt run;
        run.conversation = &conversation;
        run.fault = fault;
        run.attempt = attempt;
        run.record = newRecord();
        run.begin = Clock::now();
        // Each has a server and rings of its own.
        run.instance = "fault" + std::to_string(getpid()) + "-" + std::to_string(mCount++);
        std::fflush(nullptr);
        run.process = fork();
        if (run.process < 0) throw std::runtime_error("fork");
        if (run.process == 0) {
            setenv("CABINAUDIO_INSTANCE", run.instance.c_str(), 1);
            setenv("XDG_CONFIG_HOME", mDirectory.path().c_str(), 1);
            setenv("TMPDIR", mDirectory.path().c_str(), 1);
            converse(conversation, fault, *run.record);
        }
        mRuns.push_back(run);
    }
    template <typename Done>
    void finish(Done done) {
        while (!mRuns.empty())
            waitForOne(done);
    }
    ~Attempts() {
        for (const Attempt& run : mRuns) {
            kill(run.process, SIGKILL);
            waitpid(run.process, nullptr, 0);
            removeInstanceFiles(run.instance);
        }
    }

private:
    template <typename Done>
    void waitForOne(Done done) {
        for (;;) {
            for (auto run = mRuns.begin(); run != mRuns.end(); ++run) {
                const bool isOver = waitpid(run->process, &run->status, WNOHANG) == run->process;
                if (!isOver && Clock::now() - run->begin < BOUND) continue;
                if (!isOver) {
                    run->isTooLong = true;
                    kill(run->process, SIGKILL);
                    waitpid(run->process, &run->status, 0);
                }
                const Attempt ended = *run;
                mRuns.erase(run);
                removeInstanceFiles(ended.instance);
                done(ended);
                munmap(ended.record, sizeof(Record));
                return;
            }
            usleep(1000);
        }
    }

    TemporaryDirectory mDirectory;  // of the processes, which end without removing their files
    std::vector<Attempt> mRuns;
    std::size_t mCount = 0;
};

/// Whether the end of a process is documented for what has failed in it.
std::string complaintAbout(const Attempt& run) {
    if (run.isTooLong) return "does not end";
    if (WIFEXITED(run.status) && WEXITSTATUS(run.status) == LEAKED) return "memory has leaked";
    if (WIFEXITED(run.status) && WEXITSTATUS(run.status) != 0)
        return "ends with " + std::to_string(WEXITSTATUS(run.status));
    if (!WIFSIGNALED(run.status)) return run.record->verdict;
    const bool isMemory = run.record->failures != 0 && run.fault.occurrence != Fault::NEVER &&
                          faultyFunctions()[run.fault.site.function].isMemory;
    if (WTERMSIG(run.status) == SIGABRT && isMemory) return "";  // as documented
    return std::string("ends with ") + strsignal(WTERMSIG(run.status)) + " " +
           run.record->lastAssertion;
}

/// The calls of the conversations when none fails.
class Faults : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        installHooks();  // for the names of the sites; nothing is armed here
        if (!visits().empty()) return;
        Attempts runs;
        const auto note = [](const Attempt& run) {
            EXPECT_EQ(complaintAbout(run), "") << run.name();
            visits()[run.conversation->name] = visitedSites(*run.record);
        };
        for (const Conversation& one : conversations())
            runs.begin(one, {}, note);
        runs.finish(note);
    }

    static std::map<std::string, std::vector<Visited>>& visits() {
        static std::map<std::string, std::vector<Visited>> all;
        return all;
    }
    static std::set<Site> sites() {
        std::set<Site> all;
        for (const auto& [conversation, visited] : visits())
            for (const Visited& one : visited)
                all.insert(one.site);
        return all;
    }
};

TEST_F(Faults, AreKnownForEverythingThatTheLibraryCalls) {
    for (const std::string& name : Imports("libcabinaudio.so").names()) {
        const auto& functions = faultyFunctions();
        const bool canFail =
            std::any_of(functions.begin(), functions.end(),
                        [&name](const FaultyFunction& one) { return one.name == name; });
        EXPECT_NE(canFail, cannotFail(name)) << name;
    }
}

TEST_F(Faults, EndAsDocumented) {
    std::set<Site> seen;
    std::set<std::pair<Site, int>> pairs;
    std::size_t processes = 0;
    std::size_t failures = 0;
    std::size_t aborted = 0;
    std::size_t notReached = 0;
    std::set<std::pair<Site, int>> injected;
    std::vector<Attempt> again;
    const auto judge = [&](const Attempt& run) {
        ++processes;
        failures += run.record->failures;
        if (WIFSIGNALED(run.status)) ++aborted;
        // By the order of threads a call may be missing in one run and made in the next.
        if (run.record->failures == 0 && run.attempt < MOST_ATTEMPTS) again.push_back(run);
        if (run.record->failures != 0)
            injected.insert({run.fault.site, run.fault.error});
        else if (run.attempt == MOST_ATTEMPTS)
            ++notReached;
        EXPECT_EQ(complaintAbout(run), "") << run.name();
    };
    Attempts runs;
    const bool all = isThorough();
    for (const Conversation& conversation : conversations())
        for (const Visited& visited : visits()[conversation.name]) {
            const FaultyFunction& function = faultyFunctions()[visited.site.function];
            // Its failure may mean a wait without an end; only a policy ends that wait.
            if (function.needsPolicy && conversation.mayWaitForever) continue;
            if (!all && !seen.insert(visited.site).second) continue;
            const std::uint32_t most = all ? std::min(visited.calls, MOST_OCCURRENCES) : 1;
            for (std::uint32_t occurrence = 1; occurrence <= most; ++occurrence)
                for (const int error : function.errors) {
                    pairs.insert({visited.site, error});
                    runs.begin(conversation, {visited.site, occurrence, error, false}, judge);
                    if (all || error == function.errors.front())
                        runs.begin(conversation, {visited.site, occurrence, error, true}, judge);
                }
        }
    runs.finish(judge);
    while (!again.empty()) {
        const std::vector<Attempt> late = std::move(again);
        again.clear();
        for (const Attempt& run : late)
            runs.begin(*run.conversation, run.fault, judge, run.attempt + 1);
        runs.finish(judge);
    }
    std::printf(
        "faults: %zu sites, %zu pairs of site and errno, %zu of them injected; "
        "%zu processes, %zu failed calls, %zu ended by exhausted memory, "
        "%zu without the call\n",
        sites().size(), pairs.size(), injected.size(), processes, failures, aborted, notReached);
    RecordProperty("sites", static_cast<int>(sites().size()));
    for (const auto& [site, error] : pairs)
        EXPECT_TRUE(injected.count({site, error}) != 0 ||
                    faultyFunctions()[site.function].mayNotCome)
            << describe(site) << " did not fail with " << std::strerror(error);
}

/// For check_sites.py: where the library can fail, and by what, a line each.
TEST_F(Faults, HaveSitesThatCanBeListed) {
    if (const char* const file = std::getenv("CABINAUDIO_FAULTS_SITES")) {
        std::ofstream out(file);
        for (const Site& site : sites())
            out << site.module << ' ' << std::hex << site.offset << std::dec << ' '
                << faultyFunctions()[site.function].name << '\n';
    }
    if (const char* const file = std::getenv("CABINAUDIO_FAULTS_FUNCTIONS")) {
        std::ofstream out(file);
        for (const FaultyFunction& function : faultyFunctions())
            out << function.name << '\n';
    }
    EXPECT_GT(sites().size(), 50U);
}

}  // namespace
}  // namespace cabinaudio::test
