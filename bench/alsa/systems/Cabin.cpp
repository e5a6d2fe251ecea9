// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/Definitions.h"
#include "bench/alsa/systems/System.h"
#include "bench/support/DevelopmentServer.h"
#include "bench/support/Errors.h"
#include "devkit/server/taps/TapRecord.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace cabinaudio::bench {

namespace {

/// The mix, which the server sends after each period.
class Tap : public MixListener {
public:
    Tap() : mSocket(checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
        constexpr char NAME[] = "/tmp/cabinaudio_control";  // abstract
        constexpr char COMMAND[] = "listen s16 -\n";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, NAME, sizeof NAME - 1);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof NAME);
        checked(connect(mSocket, reinterpret_cast<sockaddr*>(&address), length), "connect");
        checked(send(mSocket, COMMAND, sizeof COMMAND - 1, MSG_NOSIGNAL), "send");
        for (char letter = 0; letter != '\n';)
            if (recv(mSocket, &letter, 1, 0) != 1) throw std::runtime_error("the tap is closed");
        mThread = std::thread([this] { listen(); });
    }
    ~Tap() override {
        mIsOver = true;
        shutdown(mSocket, SHUT_RDWR);
        mThread.join();
        close(mSocket);
    }

private:
    bool receive(void* into, std::size_t size) const {
        return recv(mSocket, into, size, MSG_WAITALL) == static_cast<ssize_t>(size);
    }
    void listen() {
        std::vector<std::int16_t> samples;
        for (server::TapHeader header{}; !mIsOver && receive(&header, sizeof header);) {
            if (header.kind != server::TapRecord::Samples) continue;
            samples.resize(header.count / sizeof samples[0]);
            if (!receive(samples.data(), header.count)) return;
            heard(samples);
        }
    }

    int mSocket;
    std::atomic<bool> mIsOver{false};
    std::thread mThread;
};

class Cabin : public System {
public:
    explicit Cabin(const std::string& directory) : mServer(SERVER_PROGRAM, directory) {}

    std::string definition() const override {
        return std::string("pcm_type.cabinaudio.lib \"" OUR_MODULE "\"\npcm.") + PCM +
               " { type cabinaudio tag alternative }\n";
    }
    pid_t process() const override { return mServer.process(); }
    std::unique_ptr<MixListener> listen() override { return std::make_unique<Tap>(); }

private:
    DevelopmentServer mServer;
};

}  // namespace

std::unique_ptr<System> startCabin(const std::string& directory) {
    return std::make_unique<Cabin>(directory);
}

}  // namespace cabinaudio::bench
