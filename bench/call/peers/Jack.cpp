// SPDX-License-Identifier: Apache-2.0
#include "bench/call/peers/Requester.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <jack/jack.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <utility>

namespace cabinaudio::bench {

namespace {

constexpr char CLIENT[] = "bench";

class Jack : public Requester {
public:
    explicit Jack(const std::string& directory)
        : mServer("cabinaudio-bench-" + std::to_string(getpid())),
          mDaemon(std::in_place, jackServer(directory, mServer)) {
        jack_set_error_function([](const char*) {});
        jack_set_info_function([](const char*) {});
        mDaemon->waitFor([this] {
            mClient = jack_client_open(
                CLIENT, static_cast<jack_options_t>(JackNoStartServer | JackServerName), nullptr,
                mServer.c_str());
            return mClient != nullptr;
        });
    }
    ~Jack() override {
        if (mClient != nullptr) jack_client_close(mClient);
        mDaemon.reset();
        removeLeftovers();
    }

    bool request() override {
        char* const identity = jack_get_uuid_for_client_name(mClient, CLIENT);
        const bool isAnswered = identity != nullptr;
        jack_free(identity);
        return isAnswered;
    }

private:
    /// The names of its semaphores in shared memory contain the server's name.
    void removeLeftovers() const {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", ignored))
            if (entry.path().filename().string().find(mServer) != std::string::npos)
                std::filesystem::remove(entry.path(), ignored);
    }

    std::string mServer;
    std::optional<Daemon> mDaemon;
    jack_client_t* mClient = nullptr;
};

}  // namespace

std::unique_ptr<Requester> requestJack(const std::string& directory) {
    return std::make_unique<Jack>(directory);
}

}  // namespace cabinaudio::bench
