// SPDX-License-Identifier: Apache-2.0
#include "bench/call/peers/Requester.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <pipewire/pipewire.h>

#include <cstdlib>

namespace cabinaudio::bench {

namespace {

/// The library's own thread receives and notifies the requesting thread.
class PipeWire : public Requester {
public:
    explicit PipeWire(const std::string& directory) : mDaemon(pipeWireServer(directory)) {
        setenv("PIPEWIRE_RUNTIME_DIR", directory.c_str(), 1);
        pw_init(nullptr, nullptr);
        mDaemon.waitFor([this] { return connect(); });
    }
    ~PipeWire() override {
        disconnect();
        pw_deinit();
    }

    bool request() override {
        pw_thread_loop_lock(mLoop);
        mIsAnswered = false;
        mSequence = pw_core_sync(mCore, PW_ID_CORE, mSequence);
        while (!mIsAnswered && pw_thread_loop_timed_wait(mLoop, ANSWER_LIMIT_S) == 0) {
        }
        const bool isAnswered = mIsAnswered;
        pw_thread_loop_unlock(mLoop);
        return isAnswered;
    }

private:
    static constexpr int ANSWER_LIMIT_S = 2;

    bool connect() {
        disconnect();
        mLoop = pw_thread_loop_new("bench", nullptr);
        mContext = pw_context_new(pw_thread_loop_get_loop(mLoop), nullptr, 0);
        if (pw_thread_loop_start(mLoop) != 0) return false;
        pw_thread_loop_lock(mLoop);
        mCore = pw_context_connect(
            mContext, pw_properties_new(PW_KEY_REMOTE_NAME, PIPEWIRE_CORE, nullptr), 0);
        if (mCore != nullptr) {
            mListener = {};
            mEvents = {};
            mEvents.version = PW_VERSION_CORE_EVENTS;
            mEvents.done = done;
            pw_core_add_listener(mCore, &mListener, &mEvents, this);
        }
        pw_thread_loop_unlock(mLoop);
        return mCore != nullptr && request();
    }

    void disconnect() {
        if (mLoop == nullptr) return;
        pw_thread_loop_stop(mLoop);
        if (mCore != nullptr) {
            spa_hook_remove(&mListener);
            pw_core_disconnect(mCore);
        }
        pw_context_destroy(mContext);
        pw_thread_loop_destroy(mLoop);
        mCore = nullptr;
        mLoop = nullptr;
    }

    static void done(void* data, std::uint32_t id, int sequence) {
        auto* const self = static_cast<PipeWire*>(data);
        if (id != PW_ID_CORE || sequence != self->mSequence) return;
        self->mIsAnswered = true;
        pw_thread_loop_signal(self->mLoop, false);
    }

    Daemon mDaemon;
    pw_thread_loop* mLoop = nullptr;
    pw_context* mContext = nullptr;
    pw_core* mCore = nullptr;
    pw_core_events mEvents{};
    spa_hook mListener{};
    int mSequence = 0;  // guarded by the loop's lock, like the next member
    bool mIsAnswered = false;
};

}  // namespace

std::unique_ptr<Requester> requestPipeWire(const std::string& directory) {
    return std::make_unique<PipeWire>(directory);
}

}  // namespace cabinaudio::bench
