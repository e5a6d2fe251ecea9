// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/peers/Peer.h"
#include "bench/support/Daemon.h"

#include <sndio.h>
#include <unistd.h>

namespace cabinaudio::bench {

namespace {

/// Units up to 15 are valid; the server's socket is named after its unit, so each process uses
/// another.
int unitOfThisProcess() {
    return 8 + getpid() % 8;
}

/// The server needs a device; this one accepts everything and plays nothing.
constexpr char NULL_DEVICE[] = R"(
pcm.!default { type null }
pcm.hw {
    @args [ CARD ]
    @args.CARD { type string default "0" }
    type null
}
)";

/// The device stays open (-a), as other servers keep theirs.
class Sndio : public Peer {
public:
    explicit Sndio(const std::string& directory)
        : mDevice("snd," + std::to_string(unitOfThisProcess()) + "/0"),
          mDaemon({{"sndiod", "-dd", "-U", std::to_string(unitOfThisProcess()), "-a", "on", "-f",
                    "rsnd/0"},
                   {"ALSA_CONFIG_PATH=" + alsaConfiguration(directory)},
                   directory + "/log"}) {
        mDaemon.waitFor([this] {
            const bool isOpen = open();
            close();
            return isOpen;
        });
    }
    ~Sndio() override {
        close();
        // Killed servers leave the socket behind, and those that dropped root cannot remove it.
        const std::string socket = "/sock" + std::to_string(unitOfThisProcess());
        unlink(("/tmp/sndio" + socket).c_str());
        unlink(("/tmp/sndio-" + std::to_string(getuid()) + socket).c_str());
    }

    bool open() override {
        mStream = sio_open(mDevice.c_str(), SIO_PLAY, 0);
        if (mStream == nullptr) return false;
        sio_par format{};
        sio_initpar(&format);
        format.bits = 16;
        format.sig = 1;
        format.pchan = 2;
        format.rate = 48000;
        return sio_setpar(mStream, &format) != 0 && sio_getpar(mStream, &format) != 0 &&
               sio_start(mStream) != 0;
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
