// SPDX-License-Identifier: Apache-2.0
// Cost per stream with many streams: processor time and memory of the development server and of a
// client process that plays 1, 8, 64 and 256 tracks at once, and the number of missed periods.
#include <cabinaudio/client/ClientTrack.h>

#include "bench/support/Clock.h"
#include "bench/support/DevelopmentServer.h"
#include "bench/support/Errors.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/ScratchDirectory.h"

#include <nlohmann/json.hpp>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace cabinaudio::bench;

namespace {

constexpr int COUNTS[] = {1, 8, 64, 256};
constexpr int COUNT_WITHOUT_MISSES = 64;
constexpr int PROCESSORS = 2;
constexpr double MOST_GROWTH = 1.10;
constexpr useconds_t SETTLE_US = 400'000;
constexpr useconds_t MEASURE_US = 1'600'000;

std::string nameOf(int count) {
    return std::to_string(count) + (count == 1 ? " stream" : " streams");
}

int keepProcessors(int wanted) {
    cpu_set_t allowed;
    checked(sched_getaffinity(0, sizeof allowed, &allowed), "sched_getaffinity");
    cpu_set_t kept;
    CPU_ZERO(&kept);
    int count = 0;
    for (int cpu = CPU_SETSIZE - 1; cpu >= 0 && count < wanted; --cpu)
        if (CPU_ISSET(cpu, &allowed)) {
            CPU_SET(cpu, &kept);
            ++count;
        }
    checked(sched_setaffinity(0, sizeof kept, &kept), "sched_setaffinity");
    return count;
}

/// Proportional set size of a process, KiB.
double memoryOf(const std::string& process) {
    std::ifstream file("/proc/" + process + "/smaps_rollup");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("Pss:", 0) == 0) return std::stod(line.substr(4));
    throw std::runtime_error("cannot read the memory of process " + process);
}

/// The development server, and what it has missed.
class Server {
public:
    explicit Server(const std::string& directory)
        : mServer(std::in_place, SERVER_PROGRAM, directory), mReport(mServer->reportFile()) {}

    [[nodiscard]] std::uint64_t processorTime() const { return mServer->processorTime(); }
    [[nodiscard]] double memory() const { return memoryOf(std::to_string(mServer->process())); }

    /// Ends the server. @return underruns plus late periods
    std::uint64_t missedPeriods() {
        mServer.reset();
        std::ifstream file(mReport);
        const auto report = nlohmann::json::parse(file);
        return sumOf(report, "underruns") + sumOf(report, "late_periods");
    }

private:
    /// Sum of all numbers with this name, at any depth.
    static std::uint64_t sumOf(const nlohmann::json& part, const std::string& name) {
        std::uint64_t sum = 0;
        for (const auto& [key, value] : part.items())
            sum += value.is_structured() ? sumOf(value, name)
                   : key == name         ? value.get<std::uint64_t>()
                                         : 0;
        return sum;
    }

    std::optional<DevelopmentServer> mServer;
    const std::string mReport;
};

AudioFormatDesc pcm() {
    AudioFormatDesc format{};
    format.sampleRate = 48000;
    return format;
}

/// A track and the thread that writes into it, period by period.
class Player {
public:
    explicit Player(int number)
        : mTrack(nameFor(number).c_str(), AUDIO_TAG_ALTERNATIVE, mFormat, 0) {
        if (mTrack.initCheck() != AUDIO_NO_ERROR || mTrack.start() != AUDIO_NO_ERROR)
            throw std::runtime_error("no stream " + nameFor(number));
        mThread = std::thread([this] { play(); });
    }
    ~Player() {
        mIsOver = true;
        mThread.join();
        mTrack.stop();
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

private:
    static std::string nameFor(int number) { return "scale-" + std::to_string(number); }

    void play() {
        std::vector<unsigned char> period(static_cast<std::size_t>(mTrack.getPerLoopSize()), 1);
        const auto length = static_cast<int>(period.size());
        while (!mIsOver && mTrack.write(period.data(), length, true) == length) {
        }
    }

    AudioFormatDesc mFormat = pcm();
    ClientTrack mTrack;
    std::atomic<bool> mIsOver{false};
    std::thread mThread;
};

void playMany(int count, Results& results) {
    const ScratchDirectory directory;
    Server server(directory.make("server"));
    const double serverBefore = server.memory();
    const double ownBefore = memoryOf("self");
    std::vector<std::unique_ptr<Player>> players;
    for (int i = 0; i < count; ++i)
        players.push_back(std::make_unique<Player>(i));
    usleep(SETTLE_US);
    const std::uint64_t begin = nowNs();
    const std::uint64_t serverAt = server.processorTime();
    const std::uint64_t ownAt = nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
    usleep(MEASURE_US);
    const double streamSeconds = static_cast<double>(nowNs() - begin) / 1e9 * count;
    const auto perStream = [&](std::uint64_t ns) {
        return static_cast<double>(ns) / 1000 / streamSeconds;
    };
    const std::string name = nameOf(count);
    results.add(name, "server cpu", perStream(server.processorTime() - serverAt));
    results.add(name, "client cpu", perStream(nanoseconds(CLOCK_PROCESS_CPUTIME_ID) - ownAt));
    results.add(name, "server memory", (server.memory() - serverBefore) / count);
    results.add(name, "client memory", (memoryOf("self") - ownBefore) / count);
    // Taken from the server's state now, so that the streams' ends are not counted.
    results.add(name, "missed", static_cast<double>(server.missedPeriods()));
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    Report report("Many streams at once", options);
    report.setting("processors", std::to_string(keepProcessors(PROCESSORS)));
    report.setting("streams' threads", mayBeRealTime()
                                           ? "SCHED_RR, highest priority"
                                           : "ordinary scheduling: SCHED_RR is refused");
    Results results;
    for (int round = 0; round < options.rounds; ++round)
        for (const int count : COUNTS)
            playMany(count, results);
    report.table(
        "Per stream, medians of the rounds [min..max]: us of processor time per second, KiB; "
        "periods missed by all together",
        results,
        {{"server", "server cpu", true},
         {"client", "client cpu", true},
         {"server, KiB", "server memory", true},
         {"client, KiB", "client memory", true},
         {"missed", "missed", true}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    for (const char* counter : {"server cpu", "client cpu"})
        for (const int count : COUNTS)
            for (const int fewer : {1, 8})
                if (count > fewer)
                    report.ratio(results, counter, nameOf(count), nameOf(fewer), MOST_GROWTH);
    std::printf("\nFigures\n");
    report.figure("periods missed with " + nameOf(COUNT_WITHOUT_MISSES) + ", worst round",
                  results.spread(nameOf(COUNT_WITHOUT_MISSES), "missed").max, "", 0, true);
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 5, .repeats = 1};
    if (const auto status = readCommandLine(argc, argv, "Many streams at once.", options))
        return *status;
    try {
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-scale: %s\n", error.what());
        return 1;
    }
    return 0;
}
