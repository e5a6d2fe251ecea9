// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Log.h"
#include "devkit/server/base/Mutex.h"
#include "devkit/server/base/Period.h"
#include "devkit/server/cards/Microphone.h"
#include "devkit/server/inputs/InputSource.h"
#include "devkit/server/sound/SampleCodec.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::server {
namespace {

constexpr std::size_t PERIOD_SAMPLES =
    std::size_t{framesOfPeriod(Microphone::RATE)} * Microphone::CHANNELS;
// When the queue is full, the oldest samples are dropped.
constexpr std::size_t LONGEST_QUEUE = 8 * PERIOD_SAMPLES;

/// Reads on its own thread: the microphone blocks, and the event loop must not. The microphone's
/// clock differs from the server's, so short silences or losses occur now and then.
class MicrophoneInput : public InputSource {
public:
    explicit MicrophoneInput(std::unique_ptr<Microphone> microphone)
        : mMicrophone(std::move(microphone)), mThread([this] { listen(); }) {}
    ~MicrophoneInput() override {
        mIsOver = true;
        mThread.join();
    }
    MicrophoneInput(const MicrophoneInput&) = delete;
    MicrophoneInput& operator=(const MicrophoneInput&) = delete;

    [[nodiscard]] std::uint32_t rate() const override { return Microphone::RATE; }
    [[nodiscard]] unsigned channels() const override { return Microphone::CHANNELS; }

    void read(std::span<float> frames) override {
        const Lock lock(mLock);
        const auto count = static_cast<std::ptrdiff_t>(std::min(frames.size(), mQueue.size()));
        std::copy_n(mQueue.begin(), count, frames.begin());
        mQueue.erase(mQueue.begin(), mQueue.begin() + count);
        std::fill(frames.begin() + count, frames.end(), 0.0F);
    }

private:
    void listen() {
        std::vector<std::int16_t> heard(PERIOD_SAMPLES);
        std::vector<float> samples(PERIOD_SAMPLES);
        while (!mIsOver) {
            if (const std::string problem = mMicrophone->read(heard); !problem.empty()) {
                log::error("%s", problem.c_str());
                return;
            }
            decodeSamples(2, reinterpret_cast<const std::uint8_t*>(heard.data()), samples);
            queue(samples);
        }
    }

    void queue(const std::vector<float>& samples) CABINAUDIO_EXCLUDES(mLock) {
        const Lock lock(mLock);
        mQueue.insert(mQueue.end(), samples.begin(), samples.end());
        if (mQueue.size() > LONGEST_QUEUE)
            mQueue.erase(mQueue.begin(), mQueue.end() - static_cast<std::ptrdiff_t>(LONGEST_QUEUE));
    }

    // Set at construction. Only the reading thread uses it.
    std::unique_ptr<Microphone> mMicrophone;

    // Has its own synchronization.
    std::atomic<bool> mIsOver{false};
    Mutex mLock;

    // Guarded by mLock.
    std::deque<float> mQueue CABINAUDIO_GUARDED_BY(mLock);

    std::thread mThread;  // last: uses all members above
};

}  // namespace

std::unique_ptr<InputSource> openMicrophone() {
    std::string problems;
    for (const auto open : {openPulseMicrophone, openAlsaMicrophone}) {
        try {
            return std::make_unique<MicrophoneInput>(open());
        } catch (const std::runtime_error& error) {
            problems += (problems.empty() ? "" : "; ") + std::string(error.what());
        }
    }
    throw std::runtime_error("no microphone works: " + problems);
}

}  // namespace cabinaudio::server
