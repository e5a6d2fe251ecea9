// SPDX-License-Identifier: Apache-2.0
// Time from the server's post to the return of a blocked read or write, against the same semaphore,
// mutex and condition alone, and against two bare wake-ups.
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>

#include "bench/support/AnsweringServer.h"
#include "bench/support/Clock.h"
#include "bench/support/Errors.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/wake/FutexChain.h"
#include "bench/wake/MinimalWait.h"
#include "bench/wake/Poster.h"
#include "wire/Ring.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <vector>

using namespace cabinaudio::bench;

namespace {

constexpr char CHAIN[] = "futex chain";
constexpr char CHAIN_LIMIT[] = "futex chain+limit";
constexpr char CHAIN_LIMIT_CACHE[] = "futex chain+limit+cache";
constexpr char MINIMAL[] = "minimal";
constexpr char MINIMAL_CACHE[] = "minimal+cache";
constexpr char TRACK_WRITE[] = "ClientTrack::write";
constexpr char SINK_WRITE[] = "ClientSink::write";
constexpr char RECORD_READ[] = "ClientRecord::read";
constexpr char UPLINK_READ[] = "ClientRecordRt::read";

constexpr int WARM_UP = 50;
constexpr double MOST_RATIO = 1.05;
constexpr timespec LIMIT{2, 0};
constexpr int CHUNK = Poster::CHUNK;

enum Ring { TRACK_RING, SINK_RING, RECORD_RING, UPLINK_RING };

long voluntarySwitches() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

/// A call that blocks until the poster has executed its order.
struct Waiter {
    Poster& poster;
    Poster::Action action;
    int ring;
    std::function<bool()> wait;  // returns whether it succeeded
};

void measureWakeUps(const Waiter& waiter, benchmark::State& state) {
    std::vector<std::uint64_t> samples;
    samples.reserve(static_cast<std::size_t>(state.max_iterations));
    int unusable = 0;
    const auto wakeUp = [&](bool isMeasured) {
        const long asleepBefore = voluntarySwitches();
        waiter.poster.executeSoon(waiter.action, waiter.ring);
        const bool isDone = waiter.wait();
        const std::uint64_t returned = nowNs();
        if (!isDone) return false;
        if (!isMeasured) return true;
        // The caller was preempted, and the post came before its sleep: no wake-up.
        if (voluntarySwitches() == asleepBefore)
            ++unusable;
        else
            samples.push_back(returned - waiter.poster.postedAt());
        return true;
    };
    for (int i = 0; i < WARM_UP; ++i)
        if (!wakeUp(false)) return state.SkipWithError("a wait failed");
    for (auto _ : state)
        if (!wakeUp(true)) return state.SkipWithError("a wait failed");
    if (samples.empty()) return state.SkipWithError("never asleep");
    state.counters["p50"] = quantile(samples, 0.5);
    state.counters["p99"] = quantile(samples, 0.99);
    state.counters["unusable"] = unusable;
}

void addProgram(const char* name, int repeats, Waiter waiter) {
    const auto measure = [waiter = std::move(waiter)](benchmark::State& state) {
        measureWakeUps(waiter, state);
    };
    benchmark::RegisterBenchmark(name, measure)->Iterations(repeats)->UseRealTime();
}

void require(bool isTrue, const char* what) {
    if (!isTrue) throw std::runtime_error(what);
}

/// Waits until a ring that the server announces is mapped.
template <typename Stream>
void waitForRing(Stream& stream) {
    const std::uint64_t limit = nowNs() + 5'000'000'000;
    while (stream.getTotalBufferSize() == 0) {
        require(nowNs() < limit, "no ring was mapped");
        usleep(1000);
    }
}

/// A ring in physical memory calls the cache device before each piece that is copied out, and after
/// each piece that is copied in.
class CacheDevice {
public:
    CacheDevice() : mDescriptor(checked(open("/dev/cache", O_RDWR | O_CLOEXEC), "/dev/cache")) {}
    ~CacheDevice() { close(mDescriptor); }
    CacheDevice(const CacheDevice&) = delete;
    CacheDevice& operator=(const CacheDevice&) = delete;

    bool invalidate() {
        cabinaudio::wire::CacheRange range{0, CHUNK};
        return ioctl(mDescriptor, cabinaudio::wire::CACHE_INVALIDATE, &range) == 0;
    }

private:
    int mDescriptor;
};

AudioFormatDesc pcm() {
    AudioFormatDesc format{};
    format.sampleRate = 48000;
    return format;
}

/// The four streams, each started and in the state in which its caller blocks.
class Streams {
public:
    explicit Streams(Poster& poster) : mPoster(poster) {
        poster.mapRing(TRACK_RING, "wake-track", 0, RING_BYTES);
        poster.mapRing(SINK_RING, "wake-sink", ringAddress(AUDIO_CONNECT_MAIN), RING_BYTES);
        poster.mapRing(RECORD_RING, "wake-record", 0, RING_BYTES);
        poster.mapRing(UPLINK_RING, "wake-uplink", ringAddress(AUDIO_CONNECT_UPLINK), RING_BYTES);
        prepare(mTrack);
        prepare(mSink);
        prepare(mRecord);
        prepare(mUplink);
        fill(mTrack);
        fill(mSink);
        // An uplink returns silence by the clock until its ring has served one request.
        mPoster.execute(Poster::Action::FillChunk, UPLINK_RING);
        require(mUplink.read(mChunk, CHUNK, true) == CHUNK, "the uplink's ring gives nothing");
    }

    void addPrograms(int repeats) {
        addWriter(TRACK_WRITE, repeats, mTrack, TRACK_RING);
        addWriter(SINK_WRITE, repeats, mSink, SINK_RING);
        addReader(RECORD_READ, repeats, mRecord, RECORD_RING);
        addReader(UPLINK_READ, repeats, mUplink, UPLINK_RING);
    }

private:
    template <typename Stream>
    static void prepare(Stream& stream) {
        require(stream.initCheck() == AUDIO_NO_ERROR && stream.start() == AUDIO_NO_ERROR,
                "the library does not reach the answering server");
        waitForRing(stream);
    }

    template <typename Stream>
    static void fill(Stream& stream) {
        std::vector<unsigned char> silence(RING_BYTES);
        require(stream.write(silence.data(), RING_BYTES, false) == RING_BYTES - 1,
                "the ring cannot be filled");
    }

    template <typename Stream>
    void addWriter(const char* name, int repeats, Stream& stream, int ring) {
        addProgram(name, repeats, {mPoster, Poster::Action::TakeChunk, ring, [this, &stream] {
                                       return stream.write(mChunk, CHUNK, true) == CHUNK;
                                   }});
    }

    template <typename Stream>
    void addReader(const char* name, int repeats, Stream& stream, int ring) {
        addProgram(name, repeats, {mPoster, Poster::Action::FillChunk, ring, [this, &stream] {
                                       return stream.read(mChunk, CHUNK, true) == CHUNK;
                                   }});
    }

    Poster& mPoster;
    AudioFormatDesc mFormat = pcm();
    ClientTrack mTrack{"wake-track", AUDIO_TAG_ALTERNATIVE, mFormat, 0};
    ClientSink mSink{"wake-sink", AUDIO_TAG_MAIN, mFormat, 0};
    ClientRecord mRecord{"wake-record", AUDIO_TAG_INPUT0, mFormat, 0};
    ClientRecordRt mUplink{"wake-uplink", AUDIO_TAG_UPLINK, mFormat};
    unsigned char mChunk[CHUNK]{};
};

void report(const Options& options, int cpu) {
    Report report("From the server's post to the return of a blocked call", options);
    report.setting("processor", cpu < 0 ? "all of them, nothing is pinned"
                                        : "everything on CPU " + std::to_string(cpu));
    report.setting("poster and receiver threads", mayBeRealTime()
                                                      ? "SCHED_RR, highest priority"
                                                      : "ordinary scheduling: SCHED_RR is refused");
    const Results results = runInRounds(options.rounds);
    report.table("Medians of the rounds [min..max], ns; waits of a round that never slept", results,
                 {{"p50", "p50", true}, {"p99", "p99", true}, {"left out", "unusable"}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    for (const char* program : {TRACK_WRITE, RECORD_READ})
        report.ratio(results, "p50", program, MINIMAL, MOST_RATIO);
    for (const char* program : {SINK_WRITE, UPLINK_READ})
        report.ratio(results, "p50", program, MINIMAL_CACHE, MOST_RATIO);
    for (const char* program : {CHAIN_LIMIT, MINIMAL, TRACK_WRITE, RECORD_READ})
        report.ratio(results, "p50", program, CHAIN);
    for (const char* program : {MINIMAL_CACHE, SINK_WRITE, UPLINK_READ})
        report.ratio(results, "p50", program, CHAIN_LIMIT_CACHE);
    for (const char* program : {MINIMAL_CACHE, SINK_WRITE, UPLINK_READ})
        report.ratio(results, "p50", program, MINIMAL);
    for (const char* program : {TRACK_WRITE, RECORD_READ})
        report.ratio(results, "p99", program, MINIMAL);
    for (const char* program : {SINK_WRITE, UPLINK_READ})
        report.ratio(results, "p99", program, MINIMAL_CACHE);
    report.finish();
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    const int cpu = options.anyCpu ? -1 : pinToCpu(options.cpu);
    const AnsweringServer server(4);  // one for each stream
    Poster poster;
    FutexChain chain(poster.word());
    MinimalWait minimal(poster.semaphore());
    CacheDevice cache;
    Streams streams(poster);

    addProgram(CHAIN, options.repeats,
               {poster, Poster::Action::WakeWord, 0, [&] { return chain.wait(nullptr); }});
    addProgram(CHAIN_LIMIT, options.repeats,
               {poster, Poster::Action::WakeWord, 0, [&] { return chain.wait(&LIMIT); }});
    addProgram(CHAIN_LIMIT_CACHE, options.repeats,
               {poster, Poster::Action::WakeWord, 0,
                [&] { return chain.wait(&LIMIT) && cache.invalidate(); }});
    addProgram(MINIMAL, options.repeats,
               {poster, Poster::Action::PostSem, 0, [&] { return minimal.wait(); }});
    addProgram(MINIMAL_CACHE, options.repeats, {poster, Poster::Action::PostSem, 0, [&] {
                                                    return minimal.wait() && cache.invalidate();
                                                }});
    streams.addPrograms(options.repeats);
    report(options, cpu);
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 91, .repeats = 400};
    if (const auto status =
            readCommandLine(argc, argv, "Wake-up of a blocked read or write.", options))
        return *status;
    try {
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-wake: %s\n", error.what());
        return 1;
    }
    return 0;
}
