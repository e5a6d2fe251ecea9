// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Failures of what the library calls. Its calls, and those of the C++ library on its behalf, are
/// counted by where they come from, and one of them, or it and all later ones, can be made to fail.
/// Calls of the test, of its server and of the board stand-in are left alone.
namespace cabinaudio::test {

/// A function that can fail, and how.
struct FaultyFunction {
    const char* name;          // as the library calls it
    std::vector<int> errors;   // each errno that can occur; 0 for memory: none is there
    bool isMemory = false;     // exhausted memory may end the process, as documented
    bool mayLeak = false;      // what it should have released stays
    bool needsPolicy = false;  // its failure can leave a wait without an end by default
    bool mayNotCome = false;   // whether it is called depends on which thread is first
};

/// Everything that the library takes from elsewhere and that can fail on this system.
[[nodiscard]] const std::vector<FaultyFunction>& faultyFunctions();
/// Everything else, which cannot. Names of both lists are those of the C and C++ libraries.
[[nodiscard]] bool cannotFail(const std::string& name);

/// One place in the library (or in the C++ library, on its behalf) that calls such a function.
struct Site {
    std::uint16_t function = 0;  // index into faultyFunctions()
    std::uint16_t module = 0;    // 0: libcabinaudio, 1: libstdc++, 2: elsewhere (a tail call)
    std::uint32_t offset = 0;    // of the return address, from the module's start

    bool operator==(const Site&) const = default;
    auto operator<=>(const Site&) const = default;
};

[[nodiscard]] std::string describe(const Site& site);

/// What is to happen to calls from one site.
struct Fault {
    static constexpr std::uint32_t NEVER = 0;

    Site site;
    std::uint32_t occurrence = NEVER;  // from 1
    int error = 0;
    bool forGood = false;  // later ones as well; those that end by themselves, fifty times
};

/// What a process tells the one that forked it. Lies in memory that both share.
struct Record {
    static constexpr std::size_t SITES = 512;

    struct Entry {
        std::atomic<std::uint64_t> key;  // 0: free
        std::atomic<std::uint32_t> calls;
    };

    Entry sites[SITES];
    std::atomic<std::uint32_t> failures;
    char lastAssertion[128];
    char verdict[1024];
};

/// Takes the calls over; once in a process.
void installHooks();

/// Begins to count, and to fail as `fault` says, calls of this thread and of the threads that the
/// library starts from now on.
void arm(Record& record, const Fault& fault);
/// Calls succeed again, and are not counted.
void disarm();

/// What this thread calls does not count as long as it lives.
class Exempt {
public:
    Exempt();
    ~Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;

private:
    bool mWasFaulty;
};

/// The sites of a record and how often each was called.
struct Visited {
    Site site;
    std::uint32_t calls;
};
[[nodiscard]] std::vector<Visited> visitedSites(const Record& record);

}  // namespace cabinaudio::test
