// SPDX-License-Identifier: Apache-2.0
#include "bench/call/peers/Requester.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <systemd/sd-bus.h>

namespace cabinaudio::bench {

namespace {

class SystemdBus : public Requester {
public:
    explicit SystemdBus(const std::string& directory)
        : mAddress(busAddress(directory)), mDaemon(busServer(directory)) {
        mDaemon.waitFor([this] { return connect(); });
    }
    ~SystemdBus() override { sd_bus_flush_close_unref(mBus); }

    bool request() override {
        sd_bus_message* reply = nullptr;
        const char* identity = nullptr;
        const bool isAnswered =
            sd_bus_call_method(mBus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "GetId", nullptr, &reply, nullptr) >= 0 &&
            sd_bus_message_read(reply, "s", &identity) > 0;
        sd_bus_message_unref(reply);
        return isAnswered;
    }

private:
    bool connect() {
        mBus = sd_bus_flush_close_unref(mBus);
        return sd_bus_new(&mBus) >= 0 && sd_bus_set_address(mBus, mAddress.c_str()) >= 0 &&
               sd_bus_set_bus_client(mBus, 1) >= 0 && sd_bus_start(mBus) >= 0 && request();
    }

    std::string mAddress;
    Daemon mDaemon;
    sd_bus* mBus = nullptr;
};

}  // namespace

std::unique_ptr<Requester> requestSystemdBus(const std::string& directory) {
    return std::make_unique<SystemdBus>(directory);
}

}  // namespace cabinaudio::bench
