// SPDX-License-Identifier: Apache-2.0
#include "bench/call/peers/Requester.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <dbus/dbus.h>

namespace cabinaudio::bench {

namespace {

constexpr int ANSWER_LIMIT_MS = 2000;

class Dbus : public Requester {
public:
    explicit Dbus(const std::string& directory)
        : mAddress(busAddress(directory)), mDaemon(busServer(directory)) {
        mDaemon.waitFor([this] { return connect(); });
    }
    ~Dbus() override {
        if (mConnection == nullptr) return;
        dbus_connection_close(mConnection);
        dbus_connection_unref(mConnection);
    }

    bool request() override {
        DBusMessage* const call = dbus_message_new_method_call(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
        DBusMessage* const reply =
            dbus_connection_send_with_reply_and_block(mConnection, call, ANSWER_LIMIT_MS, nullptr);
        const char* identity = nullptr;
        const bool isAnswered =
            reply != nullptr && dbus_message_get_args(reply, nullptr, DBUS_TYPE_STRING, &identity,
                                                      DBUS_TYPE_INVALID) != 0;
        dbus_message_unref(call);
        if (reply != nullptr) dbus_message_unref(reply);
        return isAnswered;
    }

private:
    bool connect() {
        if (mConnection == nullptr)
            mConnection = dbus_connection_open_private(mAddress.c_str(), nullptr);
        if (mConnection == nullptr) return false;
        dbus_connection_set_exit_on_disconnect(mConnection, 0);
        return dbus_bus_register(mConnection, nullptr) != 0 && request();
    }

    std::string mAddress;
    Daemon mDaemon;
    DBusConnection* mConnection = nullptr;
};

}  // namespace

std::unique_ptr<Requester> requestDbus(const std::string& directory) {
    return std::make_unique<Dbus>(directory);
}

}  // namespace cabinaudio::bench
