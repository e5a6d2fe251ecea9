// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/FirstStream.h"

#include "bench/streams/LibraryStreams.h"
#include "bench/streams/MinimalStream.h"
#include "bench/streams/Process.h"
#include "bench/support/Clock.h"
#include "bench/support/LogSink.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

constexpr char ARGUMENT[] = "--first-stream=";
constexpr char COLD[] = "cold ";
constexpr char MINIMAL[] = "minimal ";
constexpr char LIBRARY_FILE[] = "libcabinaudio.so";

template <typename Stream>
void measureFirst(const StreamKind& kind, const char* prefix) {
    memoryNow();  // allocates now what later readings need
    const Memory before = memoryNow();
    const std::uint64_t beginning = nowNs();
    Stream stream(kind);
    const std::uint64_t constructed = nowNs();
    const int status = stream.initCheck();
    const Memory after = memoryNow();
    if (status != 0) throw std::runtime_error("no stream");
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

const StreamKind& kindIn(const std::string& argument) {
    for (const StreamKind* const kind : KINDS)
        if (argument.find(library(*kind)) != std::string::npos) return *kind;
    throw std::runtime_error("unknown stream in " + argument);
}

}  // namespace

std::string minimal(const StreamKind& kind) {
    return std::string(MINIMAL) + kind.name;
}

std::string library(const StreamKind& kind) {
    return kind.name;
}

std::string logged(const StreamKind& kind) {
    return std::string(kind.name) + "+log";
}

Results measureFirstStreams(int rounds) {
    Results results;
    for (int round = 0; round < rounds; ++round)
        for (const StreamKind* const kind : KINDS)
            for (const std::string& program : {minimal(*kind), library(*kind)})
                for (const char* prefix : {"", COLD})
                    addLines(results, program, outputOfThisProgram(ARGUMENT + (prefix + program)));
    return results;
}

bool isFirstStreamProcess(int argc, char** argv) {
    return argc == 2 && std::string(argv[1]).rfind(ARGUMENT, 0) == 0;
}

void runFirstStreamProcess(const std::string& argument) {
    const StreamKind& kind = kindIn(argument);
    const bool cold = argument.find(COLD) != std::string::npos;
    setLogLines(LogLines::Dropped);
    if (!cold) touchMappedFilesExcept(LIBRARY_FILE);
    const char* const prefix = cold ? COLD : "";
    if (argument.find(MINIMAL) != std::string::npos)
        measureFirst<MinimalStream>(kind, prefix);
    else
        withLibraryClass(kind, [&]<typename Stream>() { measureFirst<Stream>(kind, prefix); });
}

}  // namespace cabinaudio::bench
