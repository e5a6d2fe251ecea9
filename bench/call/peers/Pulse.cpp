// SPDX-License-Identifier: Apache-2.0
#include "bench/call/peers/Requester.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <pulse/pulseaudio.h>

namespace cabinaudio::bench {

namespace {

/// The library's own thread receives and notifies the requesting thread.
class Pulse : public Requester {
public:
    explicit Pulse(const std::string& directory)
        : mAddress(pulseAddress(directory)), mDaemon(pulseServer(directory)) {
        mDaemon.waitFor([this] { return connect(); });
    }
    ~Pulse() override { disconnect(); }

    bool request() override {
        pa_threaded_mainloop_lock(mLoop);
        mIsAnswered = false;
        pa_operation* const operation = pa_context_get_server_info(mContext, answered, this);
        while (operation != nullptr && pa_operation_get_state(operation) == PA_OPERATION_RUNNING)
            pa_threaded_mainloop_wait(mLoop);
        if (operation != nullptr) pa_operation_unref(operation);
        const bool isAnswered = mIsAnswered;
        pa_threaded_mainloop_unlock(mLoop);
        return isAnswered;
    }

private:
    bool connect() {
        disconnect();
        mLoop = pa_threaded_mainloop_new();
        mContext = pa_context_new(pa_threaded_mainloop_get_api(mLoop), "bench");
        pa_context_set_state_callback(mContext, changed, this);
        pa_threaded_mainloop_lock(mLoop);
        bool isReady =
            pa_context_connect(mContext, mAddress.c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr) == 0 &&
            pa_threaded_mainloop_start(mLoop) == 0;
        while (isReady && pa_context_get_state(mContext) != PA_CONTEXT_READY) {
            isReady = PA_CONTEXT_IS_GOOD(pa_context_get_state(mContext));
            if (isReady) pa_threaded_mainloop_wait(mLoop);
        }
        pa_threaded_mainloop_unlock(mLoop);
        return isReady;
    }

    void disconnect() {
        if (mLoop == nullptr) return;
        pa_threaded_mainloop_stop(mLoop);
        pa_context_disconnect(mContext);
        pa_context_unref(mContext);
        pa_threaded_mainloop_free(mLoop);
        mLoop = nullptr;
    }

    static void changed(pa_context*, void* self) {
        pa_threaded_mainloop_signal(static_cast<Pulse*>(self)->mLoop, 0);
    }
    static void answered(pa_context*, const pa_server_info* info, void* self) {
        static_cast<Pulse*>(self)->mIsAnswered = info != nullptr;
        pa_threaded_mainloop_signal(static_cast<Pulse*>(self)->mLoop, 0);
    }

    std::string mAddress;
    Daemon mDaemon;
    pa_threaded_mainloop* mLoop = nullptr;
    pa_context* mContext = nullptr;
    bool mIsAnswered = false;  // guarded by the loop's lock
};

}  // namespace

std::unique_ptr<Requester> requestPulse(const std::string& directory) {
    return std::make_unique<Pulse>(directory);
}

}  // namespace cabinaudio::bench
