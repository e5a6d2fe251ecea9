// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/peers/Daemon.h"
#include "bench/streams/peers/Peer.h"

#include <sndio.h>
#include <unistd.h>

namespace cabinaudio::bench {

namespace {

/// Units up to 15 are taken; the server's socket is named after its unit, so processes differ.
int unitOfThisProcess() {
    return 8 + getpid() % 8;
}

/// The server needs a device; this one takes everything and plays nothing.
constexpr char NULL_DEVICE[] = R"(
pcm.!default { type null }
pcm.hw {
    @args [ CARD ]
    @args.CARD { type string default "0" }
    type null
}
)";

class Sndio : public Peer {
public:
    explicit Sndio(const std::string& directory)
        : mDevice("snd@unix," + std::to_string(unitOfThisProcess()) + "/0"),
          mDaemon({"sndiod", "-dd", "-U", std::to_string(unitOfThisProcess()), "-f", "rsnd/0"},
                  {"ALSA_CONFIG_PATH=" + alsaConfiguration(directory)}, directory + "/log") {
        mDaemon.await([this] {
            const bool isOpen = open();
            close();
            return isOpen;
        });
    }
    ~Sndio() override { close(); }

    bool open() override {
        mStream = sio_open(mDevice.c_str(), SIO_PLAY, 0);
        return mStream != nullptr;
    }
    void close() override {
        if (mStream != nullptr) sio_close(mStream);
        mStream = nullptr;
    }

private:
    static std::string alsaConfiguration(const std::string& directory) {
        const std::string path = directory + "/alsa.conf";
        writeFile(path, NULL_DEVICE);
        return path;
    }

    std::string mDevice;
    Daemon mDaemon;
    sio_hdl* mStream = nullptr;
};

}  // namespace

std::unique_ptr<Peer> startSndio(const std::string& directory) {
    return std::make_unique<Sndio>(directory);
}

}  // namespace cabinaudio::bench
