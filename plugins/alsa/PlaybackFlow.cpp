// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Flow.h"
#include "plugins/common/IoThread.h"
#include "plugins/common/PlaybackPump.h"

#include <cerrno>
#include <utility>

namespace cabinaudio::alsa {

namespace {

using namespace plugin;

class PlaybackFlow : public Flow {
public:
    PlaybackFlow(std::unique_ptr<audio::QVAudioTrack> track, const PlaybackPump::Settings& settings,
                 ReadyEvent& ready)
        : mPump(*track, settings, ready), mTrack(std::move(track)), mThread(mPump) {}

    [[nodiscard]] bool hasThread() const { return mThread.isRunning(); }

    int prepare() override { return mPump.prepare(); }
    int start() override { return mPump.start(); }
    int stop() override { return mPump.stop(); }
    int pause(bool isOn) override { return isOn ? mPump.pause() : mPump.resume(); }
    int beginDrain() override { return mPump.beginDrain(); }
    int waitForDrain(const std::function<bool()>& isInterrupted) override {
        return mPump.waitForDrain(isInterrupted);
    }

    void moveApplication(std::int64_t frames) override { mPump.moveEnd(frames); }
    bool transfer(unsigned char* data, std::size_t frames) override {
        mPump.append(data, frames);
        return true;
    }

    std::uint64_t position() override { return mPump.position(); }
    std::uint64_t delay() override { return mPump.delay(); }
    PumpState state() override { return mPump.state(); }
    void setLimits(std::size_t wake, bool breaks) override {
        mPump.setWakeRoom(wake);
        mPump.setBreaksWhenDry(breaks);
    }
    bool checkReady() override { return mPump.checkReady(); }

private:
    // In the order of their ends, from the last: the thread uses the track, and the track's
    // notifier uses the pump.
    PlaybackPump mPump;
    std::unique_ptr<audio::QVAudioTrack> mTrack;
    IoThread<PlaybackPump> mThread;
};

}  // namespace

int makePlaybackFlow(const StreamRequest& request, std::size_t bufferFrames, ReadyEvent& ready,
                     std::unique_ptr<Flow>& flow) {
    std::unique_ptr<audio::QVAudioTrack> track;
    if (const int error = openStream(request, track); error != 0) return error;
    const auto settings = PlaybackPump::Settings::of(request, bufferFrames);
    auto made = std::make_unique<PlaybackFlow>(std::move(track), settings, ready);
    if (!made->hasThread()) return -EAGAIN;
    flow = std::move(made);
    return 0;
}

}  // namespace cabinaudio::alsa
