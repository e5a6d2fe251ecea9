// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/Definitions.h"
#include "bench/alsa/Sound.h"
#include "bench/alsa/systems/System.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <pulse/simple.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace cabinaudio::bench {

namespace {

constexpr char SINK[] = "sink_name=nothing rate=48000";
constexpr char MONITOR[] = "nothing.monitor";

/// The monitor of the sink: each piece is sent when the sink has rendered it.
class Monitor : public MixListener {
public:
    explicit Monitor(const std::string& address) {
        const pa_sample_spec format{PA_SAMPLE_S16LE, RATE, CHANNELS};
        // Small pieces arrive at once. Without further flags the sink keeps its own latency.
        constexpr std::uint32_t ANY = UINT32_MAX;
        const pa_buffer_attr pieces{ANY, ANY, ANY, ANY, sizeof mPiece};
        mStream = pa_simple_new(address.c_str(), "bench", PA_STREAM_RECORD, MONITOR, "bench",
                                &format, nullptr, &pieces, nullptr);
        if (mStream == nullptr) throw std::runtime_error("the monitor cannot be recorded");
        mThread = std::thread([this] {
            while (!mIsOver && pa_simple_read(mStream, mPiece.data(), sizeof mPiece, nullptr) == 0)
                heard(mPiece);
        });
    }
    ~Monitor() override {
        mIsOver = true;
        mThread.join();
        pa_simple_free(mStream);
    }

private:
    std::array<std::int16_t, std::size_t{64} * CHANNELS> mPiece{};
    pa_simple* mStream = nullptr;
    std::atomic<bool> mIsOver{false};
    std::thread mThread;
};

class Pulse : public System {
public:
    explicit Pulse(const std::string& directory)
        : mAddress(pulseAddress(directory)),
          mModule(moduleOf("pulse", "libasound2-plugins")),
          mDaemon(pulseServer(directory, SINK)) {
        mDaemon.waitFor([this] {
            try {
                return Monitor(mAddress).isListening();
            } catch (const std::runtime_error&) {
                return false;
            }
        });
    }

    std::string definition() const override {
        return mModule + "pcm." + PCM + " { type pulse server \"" + mAddress +
               "\" device nothing }\n";
    }
    pid_t process() const override { return mDaemon.process(); }
    std::unique_ptr<MixListener> listen() override { return std::make_unique<Monitor>(mAddress); }

private:
    std::string mAddress;
    std::string mModule;
    Daemon mDaemon;
};

}  // namespace

std::unique_ptr<System> startPulse(const std::string& directory) {
    return std::make_unique<Pulse>(directory);
}

}  // namespace cabinaudio::bench
