// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Log.h"
#include "devkit/server/base/Mutex.h"
#include "devkit/server/base/Period.h"
#include "devkit/server/cards/DeviceHealth.h"
#include "devkit/server/cards/Microphone.h"
#include "devkit/server/inputs/InputSource.h"
#include "devkit/server/sound/SampleCodec.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::server {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t PERIOD_SAMPLES =
    std::size_t{framesOfPeriod(Microphone::RATE)} * Microphone::CHANNELS;
// When the queue is full, the oldest samples are dropped.
constexpr std::size_t MOST_QUEUED_SAMPLES = 8 * PERIOD_SAMPLES;
// A microphone that gives nothing for so long is opened again. One that starts may need two
// seconds.
constexpr milliseconds MICROPHONE_STALL{5000};
// For the reader's end. A device that is being opened takes longer.
constexpr milliseconds END_PATIENCE{50};

/// Reads the microphone on a thread of its own: it may block, stall and vanish. A lost microphone
/// is opened again until the end; meanwhile there is silence. Its clock differs from the server's,
/// so short silences or losses occur now and then. The thread shares this object with its owner.
class MicrophoneReader {
public:
    // The owner's thread.

    /// Runs until end(). Called once, on a new thread.
    void run() CABINAUDIO_EXCLUDES(mLock);
    /// Waits for the first microphone, at most for `patience`. @return why there is none
    [[nodiscard]] std::string awaitStart(milliseconds patience) CABINAUDIO_EXCLUDES(mLock);
    void take(std::span<float> frames) CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] InputDevice device() const CABINAUDIO_EXCLUDES(mLock);
    /// @return false if the microphone holds the thread
    [[nodiscard]] bool end() CABINAUDIO_EXCLUDES(mLock);

private:
    using Clock = std::chrono::steady_clock;

    // The reader's thread.
    [[nodiscard]] std::string open();
    void start() CABINAUDIO_EXCLUDES(mLock);
    void reopen() CABINAUDIO_EXCLUDES(mLock);
    void listen() CABINAUDIO_EXCLUDES(mLock);
    void lose(const std::string& problem);
    void queue(std::span<const float> samples) CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] bool isOver() const CABINAUDIO_EXCLUDES(mLock);

    // Of the reader's thread.
    std::unique_ptr<Microphone> mMicrophone;  // null: lost
    RetryPause mPause;
    Spawn mSpawn = Spawn::Allowed;
    Clock::time_point mLastHeard;
    std::vector<std::int16_t> mHeard = std::vector<std::int16_t>(PERIOD_SAMPLES);
    std::vector<float> mSamples = std::vector<float>(PERIOD_SAMPLES);

    // Has its own synchronization.
    DeviceHealth mHealth;
    mutable Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    std::deque<float> mQueue CABINAUDIO_GUARDED_BY(mLock);
    std::string mName CABINAUDIO_GUARDED_BY(mLock) = "mic";
    std::string mStartProblem CABINAUDIO_GUARDED_BY(mLock);
    bool mHasStarted CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsOver CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mHasEnded CABINAUDIO_GUARDED_BY(mLock) = false;
};

void MicrophoneReader::run() {
    start();
    while (!isOver()) {
        if (mMicrophone)
            listen();
        else
            reopen();
    }
    mMicrophone.reset();
    {
        const Lock lock(mLock);
        mHasEnded = true;
    }
    mChanged.notifyAll();
}

std::string MicrophoneReader::awaitStart(milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    Lock lock(mLock);
    while (!mHasStarted) {
        if (mChanged.waitUntil(lock, deadline)) continue;
        if (!mHasStarted) mHealth.lost("the microphone is still being opened");
        break;
    }
    return mStartProblem;
}

void MicrophoneReader::take(std::span<float> frames) {
    const Lock lock(mLock);
    const auto count = static_cast<std::ptrdiff_t>(std::min(frames.size(), mQueue.size()));
    std::copy_n(mQueue.begin(), count, frames.begin());
    mQueue.erase(mQueue.begin(), mQueue.begin() + count);
    std::fill(frames.begin() + count, frames.end(), 0.0F);
}

InputDevice MicrophoneReader::device() const {
    const Lock lock(mLock);
    return {mName, mHealth.state()};
}

bool MicrophoneReader::end() {
    const auto deadline = Clock::now() + END_PATIENCE;
    Lock lock(mLock);
    mIsOver = true;
    mChanged.notifyAll();
    while (!mHasEnded)
        if (!mChanged.waitUntil(lock, deadline)) return mHasEnded;
    return true;
}

/// @return the reasons if no microphone works
std::string MicrophoneReader::open() {
    std::string problems;
    const auto openPulse = [this] { return openPulseMicrophone(mSpawn); };
    for (const auto& openKind : {std::function<std::unique_ptr<Microphone>()>(openPulse),
                                 std::function(openAlsaMicrophone)}) {
        try {
            mMicrophone = openKind();
            mPause = {};
            mLastHeard = Clock::now();
            const Lock lock(mLock);
            mName = mMicrophone->name();
            return {};
        } catch (const std::runtime_error& error) {
            problems += (problems.empty() ? "" : "; ") + std::string(error.what());
        }
    }
    return problems;
}

void MicrophoneReader::start() {
    const std::string problem = open();
    mSpawn = Spawn::Forbidden;
    {
        // Under the lock: awaitStart() may declare the microphone lost meanwhile.
        const Lock lock(mLock);
        if (problem.empty())
            mHealth.found();
        else
            mHealth.lost(problem);
        mStartProblem = problem;
        mHasStarted = true;
    }
    mChanged.notifyAll();
}

void MicrophoneReader::reopen() {
    {
        const auto deadline = Clock::now() + mPause.next();
        Lock lock(mLock);
        while (!mIsOver && mChanged.waitUntil(lock, deadline)) {
        }
        if (mIsOver) return;
    }
    if (const std::string problem = open(); !problem.empty()) {
        mHealth.lost(problem);
        return;
    }
    const auto silence = std::chrono::duration<double>(mHealth.found());
    log::info("the microphone %s records again; nothing was recorded for %.1f s",
              mMicrophone->name().c_str(), silence.count());
}

/// Reads at most a period.
void MicrophoneReader::listen() {
    const CardProgress progress = mMicrophone->read(mHeard, PERIOD);
    const auto now = Clock::now();
    if (progress.isLost) {
        lose(progress.problem);
    } else if (progress.count > 0) {
        mLastHeard = now;
        const auto samples = std::span(mSamples).first(progress.count);
        decodeSamples(2, reinterpret_cast<const std::uint8_t*>(mHeard.data()), samples);
        queue(samples);
    } else if (now - mLastHeard > MICROPHONE_STALL) {
        lose(mMicrophone->name() + ": gives no sound");
    }
    if (!progress.isLost && !progress.problem.empty()) mHealth.failed(progress.problem);
}

void MicrophoneReader::lose(const std::string& problem) {
    mHealth.lost(problem);
    log::warning("%s: nothing is recorded; tries again", problem.c_str());
    mMicrophone.reset();
}

void MicrophoneReader::queue(std::span<const float> samples) {
    Lock lock(mLock);
    mQueue.insert(mQueue.end(), samples.begin(), samples.end());
    if (mQueue.size() <= MOST_QUEUED_SAMPLES) return;
    mQueue.erase(mQueue.begin(), mQueue.end() - static_cast<std::ptrdiff_t>(MOST_QUEUED_SAMPLES));
    // A device without a clock gives samples at once, always.
    const auto deadline = Clock::now() + PERIOD / 2;
    while (!mIsOver && mChanged.waitUntil(lock, deadline)) {
    }
}

bool MicrophoneReader::isOver() const {
    const Lock lock(mLock);
    return mIsOver;
}

class MicrophoneInput : public InputSource {
public:
    explicit MicrophoneInput(milliseconds patience)
        : mReader(std::make_shared<MicrophoneReader>()),
          mThread([reader = mReader] { reader->run(); }) {
        const std::string problem = mReader->awaitStart(patience);
        if (problem.empty()) return;
        endReader();
        throw std::runtime_error("no microphone works: " + problem);
    }
    ~MicrophoneInput() override { endReader(); }
    MicrophoneInput(const MicrophoneInput&) = delete;
    MicrophoneInput& operator=(const MicrophoneInput&) = delete;

    [[nodiscard]] std::uint32_t rate() const override { return Microphone::RATE; }
    [[nodiscard]] unsigned channels() const override { return Microphone::CHANNELS; }
    void read(std::span<float> frames) override { mReader->take(frames); }
    [[nodiscard]] std::optional<InputDevice> device() const override { return mReader->device(); }

private:
    void endReader() {
        if (mReader->end())
            mThread.join();
        else
            mThread.detach();
    }

    std::shared_ptr<MicrophoneReader> mReader;
    std::thread mThread;  // shares the reader
};

}  // namespace

std::unique_ptr<InputSource> openMicrophone(milliseconds patience) {
    return std::make_unique<MicrophoneInput>(patience);
}

}  // namespace cabinaudio::server
