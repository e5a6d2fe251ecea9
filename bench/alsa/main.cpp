// SPDX-License-Identifier: Apache-2.0
// Programs of ALSA through our plug-in and its server, and through the plug-ins of other systems
// and their servers: the time from a write until the mix has its sound, and processor time of
// aplay.
#include "bench/alsa/Definitions.h"
#include "bench/alsa/Marks.h"
#include "bench/alsa/Program.h"
#include "bench/alsa/systems/Systems.h"
#include "bench/support/Clock.h"
#include "bench/support/Daemon.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/support/ScratchDirectory.h"

#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace cabinaudio::bench;

namespace {

/// Of 32, 100 and 500 ms, which is aplay's own.
constexpr Buffer BUFFERS[] = {{1536, 384}, {4800, 1200}, {24000, 6000}};
/// Half of the ring of a stream; larger buffers are the plug-in's.
constexpr unsigned LARGEST_IN_A_RING = 4800;
constexpr char TRACK[] = "ClientTrack";

constexpr useconds_t SETTLE_US = 500'000;
constexpr useconds_t MEASURE_US = 1'000'000;
constexpr unsigned PLAYED_FRAMES = 2 * RATE;
constexpr std::uint64_t MARK_LIMIT_NS = 1'500'000'000;

constexpr char MARKS_ARGUMENT[] = "--marks";
constexpr char PLAY_ARGUMENT[] = "--play";

std::string thisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

std::string nameOf(const std::string& client, const Buffer& buffer) {
    return client + ", " + std::to_string(buffer.frames * 1000 / RATE) + " ms";
}

std::string realTimeThreadsOf(pid_t process) {
    int all = 0;
    int realTime = 0;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        const int policy = sched_getscheduler(std::stoi(task.path().filename()));
        ++all;
        if ((policy & ~SCHED_RESET_ON_FORK) == SCHED_RR ||
            (policy & ~SCHED_RESET_ON_FORK) == SCHED_FIFO)
            ++realTime;
    }
    return std::to_string(realTime) + " of " + std::to_string(all) +
           " threads of its server have real-time scheduling";
}

/// A client of this program that writes marks, and the time that each needs until it is heard.
class MarkClient {
public:
    MarkClient(const std::string& name, const std::string& kind, const Buffer& buffer)
        : mName(name),
          mProgram({thisProgram(), MARKS_ARGUMENT, kind, std::to_string(buffer.frames),
                    std::to_string(buffer.period)}) {}

    struct Mark {
        double latency;  // ns from the write
        double beyond;   // of these, more than the queued frames last
    };
    /// @param pause  before the order, us
    /// @return empty when the mark was not heard
    std::optional<Mark> send(MixListener& listener, useconds_t pause) {
        usleep(pause);
        listener.forget();
        mProgram.write("m");
        std::istringstream line(mProgram.readLine());
        std::uint64_t written = 0;
        double queued = 0;
        if (!(line >> written >> queued))
            throw std::runtime_error(mName + ": the client has ended");
        const std::optional<std::uint64_t> heard = listener.waitForMark(MARK_LIMIT_NS);
        if (!heard) {
            (void)listener.waitForMark(MARK_LIMIT_NS);  // a late mark is not the next one
            return std::nullopt;
        }
        const double latency = static_cast<double>(*heard) - static_cast<double>(written);
        return Mark{latency, latency - queued / RATE * 1e9};
    }
    /// Ends the client. @return its underruns
    double underruns() {
        mProgram.closeInput();
        const double count = std::stod(mProgram.readLine());
        mProgram.finish();
        return count;
    }

private:
    const std::string mName;
    Program mProgram;
};

void measureLatency(System& system, const std::string& kind, const std::string& name,
                    const Buffer& buffer, int repeats, Results& results) {
    const std::unique_ptr<MixListener> listener = system.listen();
    MarkClient client(name, kind, buffer);
    // The first only waits until the sound runs.
    (void)client.send(*listener, SETTLE_US);
    int lost = 0;
    // Orders come at all phases of a server's period.
    constexpr useconds_t LONGEST_PERIOD_US = 50'000;
    std::vector<double> latency;
    std::vector<double> beyond;
    for (int sent = 0; static_cast<int>(latency.size()) < repeats; ++sent) {
        const auto phase = static_cast<useconds_t>(sent % repeats);
        const auto mark =
            client.send(*listener, LONGEST_PERIOD_US * phase / static_cast<useconds_t>(repeats));
        if (mark) {
            latency.push_back(mark->latency);
            beyond.push_back(mark->beyond);
        } else if (++lost > repeats) {
            throw std::runtime_error(name + ": the marks are not heard");
        }
    }
    results.add(name, "latency", spreadOf(latency).median);
    results.add(name, "longest latency", spreadOf(latency).max);
    results.add(name, "beyond the queue", spreadOf(beyond).median);
    results.add(name, "underruns", client.underruns());
    results.add(name, "marks not heard", lost);
}

/// Processor time of a program that plays PLAYED_FRAMES, and of the server meanwhile.
void measureProcessorTime(const System& system, Program& program, const std::string& name,
                          Results& results) {
    usleep(SETTLE_US);
    const std::uint64_t begin = nowNs();
    const std::uint64_t server = processorTimeOf(system.process());
    const std::uint64_t client = program.processorTime();
    usleep(MEASURE_US);
    const double seconds = static_cast<double>(nowNs() - begin) / 1e9;
    const auto perSecond = [&](std::uint64_t ns) {
        return static_cast<double>(ns) / 1000 / seconds;
    };
    results.add(name, "client cpu", perSecond(program.processorTime() - client));
    results.add(name, "server cpu", perSecond(processorTimeOf(system.process()) - server));
    results.add(name, "whole run", static_cast<double>(program.finish()) / 1000);
}

/// The parts of a measurement that stay.
class Bench {
public:
    Bench(const Options& options, Report& report) : mRepeats(options.repeats) {
        writeFile(mSound, sound());
        for (const Systems::Entry& entry : mSystems.all()) {
            const bool isThere = entry.system != nullptr;
            report.setting(entry.name, isThere ? realTimeThreadsOf(entry.system->process())
                                               : "not measured: " + entry.unavailableReason);
            if (isThere) mMeasured.push_back(&entry);
        }
    }

    void round() {
        for (const Systems::Entry* entry : mMeasured) {
            use(*entry);
            Program aplay({"aplay", "-q", "-D", PCM, "-t", "raw", "-f", "S16_LE", "-r",
                           std::to_string(RATE), "-c", std::to_string(CHANNELS), mSound});
            measureProcessorTime(*entry->system, aplay, entry->name, mResults);
        }
        Program track({thisProgram(), PLAY_ARGUMENT, std::to_string(PLAYED_FRAMES)});
        measureProcessorTime(ours(), track, TRACK, mResults);
        for (const Buffer& buffer : BUFFERS)
            roundOf(buffer);
    }

    [[nodiscard]] const Results& results() const { return mResults; }
    /// Names of the peers that are measured.
    [[nodiscard]] std::vector<std::string> peers() const {
        std::vector<std::string> names;
        for (const Systems::Entry* entry : mMeasured)
            if (entry != mMeasured.front()) names.push_back(entry->name);
        return names;
    }

private:
    static std::string sound() {
        std::string bytes;
        for (unsigned frame = 0; frame < PLAYED_FRAMES; ++frame)
            bytes.append({static_cast<char>(frame), 1, static_cast<char>(frame), 1});
        return bytes;
    }
    void roundOf(const Buffer& buffer) {
        for (const Systems::Entry* entry : mMeasured) {
            use(*entry);
            measureLatency(*entry->system, "pcm", nameOf(entry->name, buffer), buffer, mRepeats,
                           mResults);
        }
        if (buffer.frames <= LARGEST_IN_A_RING)
            measureLatency(ours(), "track", nameOf(TRACK, buffer), buffer, mRepeats, mResults);
    }
    void use(const Systems::Entry& entry) const {
        useDefinitions(mDefinitions, entry.system->definition());
    }
    [[nodiscard]] System& ours() const { return *mMeasured.front()->system; }

    const int mRepeats;
    const ScratchDirectory mDirectory;
    const std::string mSound = mDirectory.make("sound") + "/sound.raw";
    const std::string mDefinitions = mDirectory.make("alsa") + "/asound.conf";
    Systems mSystems;
    std::vector<const Systems::Entry*> mMeasured;
    Results mResults;
};

void print(Report& report, const Bench& bench) {
    constexpr double MS = 1e6;
    report.table("Programs of ALSA: medians of the rounds [min..max]", bench.results(),
                 {{"client, us/s", "client cpu", true},
                  {"server, us/s", "server cpu", true},
                  {"whole run, us", "whole run", true},
                  {"latency, ms", "latency", true, MS, 1},
                  {"longest, ms", "longest latency", false, MS, 1},
                  {"beyond the queue, ms", "beyond the queue", true, MS, 1},
                  {"underruns", "underruns", true},
                  {"marks not heard", "marks not heard", true}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    const std::string own = "cabinaudio";
    for (const char* counter : {"client cpu", "server cpu", "whole run"}) {
        for (const std::string& peer : bench.peers())
            report.ratio(bench.results(), counter, own, peer);
        report.ratio(bench.results(), counter, own, TRACK);
    }
    for (const Buffer& buffer : BUFFERS) {
        for (const std::string& peer : bench.peers())
            report.ratio(bench.results(), "latency", nameOf(own, buffer), nameOf(peer, buffer));
        if (buffer.frames <= LARGEST_IN_A_RING)
            report.ratio(bench.results(), "latency", nameOf(own, buffer), nameOf(TRACK, buffer));
    }
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    Report report("Programs of ALSA", options);
    Bench bench(options, report);
    for (int round = 0; round < options.rounds; ++round)
        bench.round();
    print(report, bench);
    report.finish();
}

/// Whether this process is a client of the measurement; then it has done its work.
bool isClient(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const auto number = [&](std::size_t at) {
        return static_cast<unsigned>(std::stoul(words.at(at)));
    };
    if (words.size() == 4 && words[0] == MARKS_ARGUMENT) {
        const Buffer buffer{number(2), number(3)};
        words[1] == "pcm" ? writeMarksToPcm(buffer) : writeMarksToTrack(buffer);
        return true;
    }
    if (words.size() != 2 || words[0] != PLAY_ARGUMENT) return false;
    playToTrack(number(1));
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (isClient(argc, argv)) return 0;
        Options options{.rounds = 5, .repeats = 8};
        if (const auto status = readCommandLine(argc, argv, "Programs of ALSA.", options))
            return *status;
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-alsa: %s\n", error.what());
        return 1;
    }
    return 0;
}
