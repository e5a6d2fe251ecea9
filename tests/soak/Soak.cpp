// SPDX-License-Identifier: Apache-2.0
// cabinaudio-soak TIME [SEED]: streams of all kinds and settings against servers of which some are
// killed and some stand still for a while, with sources that come and go, and every byte compared.
// TIME: hours, or with an ending 90s, 3m, 2h. The seed is printed first, and a summary last. Fails
// on any byte in a wrong place, any failure that no killed server explains, and anything left
// behind.
#include <cabinaudio/link/LinkPolicy.h>

#include "tests/soak/Random.h"
#include "tests/soak/ServerProcess.h"
#include "tests/soak/Tally.h"
#include "tests/soak/Worker.h"
#include "tests/support/Files.h"
#include "tests/support/kinds/Leftovers.h"

#include <android/log.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace cabinaudio::test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::chrono::duration<double> durationOf(const char* text) {
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    const std::string unit = end;
    if (end == text || !(number > 0) ||
        (!unit.empty() && unit != "s" && unit != "m" && unit != "h")) {
        std::fputs("usage: cabinaudio-soak HOURS|MINUTESm|SECONDSs [SEED]\n", stderr);
        std::exit(2);
    }
    return std::chrono::duration<double>(number * (unit == "s" ? 1 : unit == "m" ? 60 : 3600));
}

Tally* makeTally(int& descriptor) {
    descriptor = memfd_create("tally", 0);
    if (descriptor < 0 || ftruncate(descriptor, sizeof(Tally)) != 0) return nullptr;
    return mapTally(descriptor);
}

/// Kills one server for a hundred streams, and lets others stand still, until the time is over.
void trouble(ServerProcess& server, const Counts& counts, Random& random, Clock::time_point end) {
    std::uint64_t next = random() % 100 + 1;
    while (Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 100 + 1));
        if (counts.streams >= next) {
            next += 50 + random() % 101;
            server.replace();
        } else if (random() % 40 == 0) {
            server.suspend(std::chrono::milliseconds(random() % 300 + 1));
        }
    }
}

struct Sum {
    std::uint64_t played = 0, skipped = 0, mismatches = 0;
    bool isAccounted = true;
};

Sum sumOf(const Tally& tally, const Counts& counts) {
    Sum sum;
    for (std::size_t place = 0; place < STREAMS; ++place) {
        const StreamTally& one = tally.streams[place];
        sum.played += one.verified;
        sum.skipped += one.skipped;
        sum.mismatches += one.mismatches;
        if (one.skipped > counts.thrownAway[place]) sum.isAccounted = false;
    }
    return sum;
}

int judge(const Tally& tally, const Counts& counts, const ServerProcess& server, bool isClean) {
    const Sum sum = sumOf(tally, counts);
    const std::uint64_t mismatches = sum.mismatches + counts.mismatches;
    std::printf(
        "streams %" PRIu64 ", settings %" PRIu64 ", bytes verified %" PRIu64 " played + %" PRIu64
        " recorded\n"
        "kills %u, stops %u, reconnects %" PRIu64 ", comings and goings of sources %" PRIu64
        ", time-outs %" PRIu64
        "\n"
        "bytes that sinks threw away %" PRIu64 ", of these missed by the server %" PRIu64
        "\nmismatches %" PRIu64 ", errors %" PRIu64 "%s%s\n",
        counts.streams.load(), counts.settings.load(), sum.played, counts.recorded.load(),
        server.kills(), server.stops(), counts.reconnects.load(), tally.storms.load(),
        counts.timeouts.load(), counts.allThrownAway(), sum.skipped, mismatches,
        counts.errors.load(), sum.isAccounted ? "" : ", bytes missed that nobody threw away",
        isClean ? "" : ", something was left behind");
    const bool isGood = mismatches == 0 && counts.errors == 0 && sum.isAccounted && isClean &&
                        sum.played > 0 && counts.recorded > 0 && counts.settings > 0;
    std::puts(isGood ? "good" : "NOT GOOD");
    return isGood ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) durationOf("");
    const auto duration = durationOf(argv[1]);
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10))
                                   : std::random_device()();
    std::printf("soak of %.0f s, seed %u\n", duration.count(), seed);
    std::fflush(stdout);
    const std::string instance = "soak" + std::to_string(getpid());
    setenv("CABINAUDIO_INSTANCE", instance.c_str(), 0);
    const cabinaudio::test::TemporaryDirectory configuration;
    setenv("XDG_CONFIG_HOME", configuration.path().c_str(), 1);
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    cabinaudio::setLinkPolicy({30s, true, true});
    std::thread([] {}).join();  // a sanitizer's own thread comes with the first one

    int descriptor = -1;
    Tally* const tally = makeTally(descriptor);
    if (tally == nullptr) return 1;
    Random random(seed);
    Counts counts;
    ServerProcess server(descriptor, random());
    const ProcessState before = ProcessState::now();
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(duration);
    {
        std::vector<std::thread> workers;
        for (std::size_t place = 0; place <= STREAMS; ++place)
            workers.emplace_back(
                [&, place, own = random()] { work(place, server, counts, own, end); });
        trouble(server, counts, random, end);
        for (std::thread& worker : workers)
            worker.join();
    }
    const bool isClean = leavesNothingButNames(before);
    server.end();
    return judge(*tally, counts, server, isClean);
}
