// SPDX-License-Identifier: Apache-2.0
#include "bench/track/FirstTrack.h"

#include "bench/support/Clock.h"
#include "bench/support/LogSink.h"
#include "bench/track/LibraryTrack.h"
#include "bench/track/MinimalTrack.h"
#include "bench/track/Process.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

constexpr char ARGUMENT[] = "--first-track=";
constexpr char COLD[] = "cold ";
constexpr char LIBRARY_FILE[] = "libcabinaudio.so";

template <typename Track>
void measureFirst(const char* prefix) {
    memoryNow();  // what reading it needs itself
    const Memory before = memoryNow();
    const std::uint64_t beginning = nowNs();
    Track track(TRACK_NAME);
    const std::uint64_t constructed = nowNs();
    const int status = track.initCheck();
    const Memory after = memoryNow();
    if (status != 0) throw std::runtime_error("no track");
    std::printf("%srss=%ld\n%sown=%ld\n", prefix, after.resident - before.resident, prefix,
                after.own - before.own);
    std::printf("threads=%d\nfirst=%llu\n", threadCount() - 1,
                static_cast<unsigned long long>(constructed - beginning));
}

void addLines(Results& results, const std::string& program, const std::string& text) {
    std::istringstream lines(text);
    std::string counter;
    std::string value;
    while (std::getline(lines, counter, '=') && std::getline(lines, value))
        results.add(program, counter, std::stod(value));
}

}  // namespace

Results measureFirstTracks(int rounds) {
    Results results;
    for (int round = 0; round < rounds; ++round)
        for (const char* program : {MINIMAL, TRACK})
            for (const char* prefix : {"", COLD})
                addLines(results, program,
                         outputOfThisProgram(ARGUMENT + (prefix + std::string(program))));
    return results;
}

bool isFirstTrackProcess(int argc, char** argv) {
    return argc == 2 && std::string(argv[1]).rfind(ARGUMENT, 0) == 0;
}

void runFirstTrackProcess(const std::string& argument) {
    const bool cold = argument.find(COLD) != std::string::npos;
    const bool minimal = argument.find(MINIMAL) != std::string::npos;
    setLogLines(LogLines::Dropped);
    if (!cold) touchMappedFilesExcept(LIBRARY_FILE);
    const char* const prefix = cold ? COLD : "";
    if (minimal)
        measureFirst<MinimalTrack>(prefix);
    else
        measureFirst<LibraryTrack>(prefix);
}

}  // namespace cabinaudio::bench
