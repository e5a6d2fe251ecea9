// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/peers/Peer.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <pulse/simple.h>

namespace cabinaudio::bench {

namespace {

class Pulse : public Peer {
public:
    explicit Pulse(const std::string& directory)
        : mAddress(pulseAddress(directory)), mDaemon(pulseServer(directory)) {
        mDaemon.waitFor([this] {
            const bool isOpen = open();
            close();
            return isOpen;
        });
    }
    ~Pulse() override { close(); }

    bool open() override {
        pa_sample_spec format{};
        format.format = PA_SAMPLE_S16LE;
        format.rate = 48000;
        format.channels = 2;
        mStream = pa_simple_new(mAddress.c_str(), "bench", PA_STREAM_PLAYBACK, nullptr, "bench",
                                &format, nullptr, nullptr, nullptr);
        return mStream != nullptr;
    }
    void close() override {
        if (mStream != nullptr) pa_simple_free(mStream);
        mStream = nullptr;
    }

private:
    std::string mAddress;
    Daemon mDaemon;
    pa_simple* mStream = nullptr;
};

}  // namespace

std::unique_ptr<Peer> startPulse(const std::string& directory) {
    return std::make_unique<Pulse>(directory);
}

}  // namespace cabinaudio::bench
