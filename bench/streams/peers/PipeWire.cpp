// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/peers/Peer.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <cstdlib>

namespace cabinaudio::bench {

namespace {

class PipeWire : public Peer {
public:
    explicit PipeWire(const std::string& directory) : mDaemon(pipeWireServer(directory)) {
        setenv("PIPEWIRE_RUNTIME_DIR", directory.c_str(), 1);
        pw_init(nullptr, nullptr);
        mDaemon.waitFor([this] {
            const bool isOpen = open();
            close();
            return isOpen;
        });
    }
    ~PipeWire() override {
        close();
        pw_deinit();
    }

    bool open() override {
        mLoop = pw_thread_loop_new("bench", nullptr);
        if (mLoop == nullptr) return false;
        mStream = pw_stream_new_simple(
            pw_thread_loop_get_loop(mLoop), "bench",
            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                              PW_KEY_REMOTE_NAME, PIPEWIRE_CORE, nullptr),
            &EVENTS, this);
        if (mStream == nullptr || pw_thread_loop_start(mLoop) != 0) return false;
        pw_thread_loop_lock(mLoop);
        const bool isOpen = connect() && waitForPaused();
        pw_thread_loop_unlock(mLoop);
        return isOpen;
    }

    void close() override {
        if (mLoop == nullptr) return;
        pw_thread_loop_stop(mLoop);
        if (mStream != nullptr) pw_stream_destroy(mStream);
        pw_thread_loop_destroy(mLoop);
        mStream = nullptr;
        mLoop = nullptr;
    }

private:
    bool connect() {
        unsigned char buffer[1024];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, buffer, sizeof buffer);
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_S16;
        format.rate = 48000;
        format.channels = 2;
        const spa_pod* parameters[] = {
            spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
        return pw_stream_connect(mStream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
                                 PW_STREAM_FLAG_MAP_BUFFERS, parameters, 1) == 0;
    }

    bool waitForPaused() {
        for (;;) {
            const pw_stream_state state = pw_stream_get_state(mStream, nullptr);
            if (state == PW_STREAM_STATE_PAUSED || state == PW_STREAM_STATE_STREAMING) return true;
            if (state == PW_STREAM_STATE_ERROR ||
                pw_thread_loop_timed_wait(mLoop, STATE_LIMIT_S) != 0)
                return false;
        }
    }

    static void onState(void* self, pw_stream_state, pw_stream_state, const char*) {
        auto* const loop = static_cast<PipeWire*>(self)->mLoop;
        if (loop != nullptr) pw_thread_loop_signal(loop, false);
    }

    static pw_stream_events events() {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = onState;
        return events;
    }

    static constexpr int STATE_LIMIT_S = 2;
    static inline const pw_stream_events EVENTS = events();

    Daemon mDaemon;
    pw_thread_loop* mLoop = nullptr;
    pw_stream* mStream = nullptr;
};

}  // namespace

std::unique_ptr<Peer> startPipeWire(const std::string& directory) {
    return std::make_unique<PipeWire>(directory);
}

}  // namespace cabinaudio::bench
