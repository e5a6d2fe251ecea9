// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Flow.h"
#include "plugins/common/CapturePump.h"
#include "plugins/common/IoThread.h"

#include <cerrno>
#include <utility>

namespace cabinaudio::alsa {

namespace {

using namespace plugin;

class CaptureFlow : public Flow {
public:
    CaptureFlow(std::unique_ptr<audio::QVAudioRecord> record, const CapturePump::Settings& settings,
                ReadyEvent& ready)
        : mRecord(std::move(record)), mPump(*mRecord, settings, ready), mThread(mPump) {}

    [[nodiscard]] bool hasThread() const { return mThread.isRunning(); }

    int prepare() override { return mPump.prepare(); }
    int start() override { return mPump.start(); }
    int stop() override { return mPump.stop(); }
    int pause(bool isOn) override { return isOn ? mPump.pause() : mPump.resume(); }
    int beginDrain() override { return 0; }
    int waitForDrain(const std::function<bool()>& /*isInterrupted*/) override { return 0; }

    void moveApplication(std::int64_t frames) override { mPump.moveTaken(frames); }
    /// An application that looks at a mapped buffer may do so twice.
    bool transfer(unsigned char* data, std::size_t frames) override {
        mPump.peek(data, frames);
        return false;
    }

    std::uint64_t position() override { return mPump.position(); }
    std::uint64_t delay() override { return mPump.delay(); }
    PumpState state() override { return mPump.state(); }
    void setLimits(std::size_t wake, bool breaks) override {
        mPump.setWakeFrames(wake);
        mPump.setBreaksWhenFull(breaks);
    }
    bool checkReady() override { return mPump.checkReady(); }

private:
    // In the order of their ends, from the last.
    std::unique_ptr<audio::QVAudioRecord> mRecord;
    CapturePump mPump;
    IoThread<CapturePump> mThread;
};

}  // namespace

int makeCaptureFlow(const StreamRequest& request, std::size_t bufferFrames, ReadyEvent& ready,
                    std::unique_ptr<Flow>& flow) {
    std::unique_ptr<audio::QVAudioRecord> record;
    if (const int error = openStream(request, record); error != 0) return error;
    CapturePump::Settings settings;
    settings.rate = request.format.sampleRate;
    settings.frameBytes = request.frameBytes();
    settings.bufferFrames = bufferFrames;
    auto made = std::make_unique<CaptureFlow>(std::move(record), settings, ready);
    if (!made->hasThread()) return -EAGAIN;
    flow = std::move(made);
    return 0;
}

}  // namespace cabinaudio::alsa
