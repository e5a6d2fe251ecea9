// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/Definitions.h"
#include "bench/alsa/Sound.h"
#include "bench/alsa/systems/System.h"
#include "bench/support/Daemon.h"
#include "bench/support/PeerServers.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <cstdlib>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

/// Threads with real-time scheduling, as in a usual configuration.
constexpr char REAL_TIME[] =
    "{ name = libpipewire-module-rt args = { nice.level = -11 rt.prio = 88 } }\n";

/// A stream on the monitor of the sink, which gets the mix in the cycle in which it is made.
class Monitor : public MixListener {
public:
    Monitor() : mLoop(pw_thread_loop_new("bench", nullptr)) {
        if (mLoop == nullptr) throw std::runtime_error("no loop of PipeWire");
        mStream = pw_stream_new_simple(
            pw_thread_loop_get_loop(mLoop), "bench",
            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture",
                              PW_KEY_STREAM_CAPTURE_SINK, "true", PW_KEY_REMOTE_NAME, PIPEWIRE_CORE,
                              nullptr),
            &EVENTS, this);
        if (mStream == nullptr || pw_thread_loop_start(mLoop) != 0) {
            end();
            throw std::runtime_error("PipeWire does not answer");
        }
        pw_thread_loop_lock(mLoop);
        connect();
        pw_thread_loop_unlock(mLoop);
    }
    ~Monitor() override { end(); }

private:
    void connect() {
        unsigned char buffer[1024];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, buffer, sizeof buffer);
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_S16;
        format.rate = RATE;
        format.channels = CHANNELS;
        const spa_pod* parameters[] = {
            spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
        pw_stream_connect(
            mStream, PW_DIRECTION_INPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                         PW_STREAM_FLAG_RT_PROCESS),
            parameters, 1);
    }

    void end() {
        pw_thread_loop_stop(mLoop);
        if (mStream != nullptr) pw_stream_destroy(mStream);
        pw_thread_loop_destroy(mLoop);
    }

    void takePiece() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(mStream);
        if (buffer == nullptr) return;
        const spa_data& data = buffer->buffer->datas[0];
        if (data.data != nullptr && data.chunk != nullptr) {
            const auto* const begin = static_cast<const unsigned char*>(data.data);
            const void* const samples = begin + data.chunk->offset;
            heard({static_cast<const std::int16_t*>(samples),
                   data.chunk->size / sizeof(std::int16_t)});
        }
        pw_stream_queue_buffer(mStream, buffer);
    }

    static pw_stream_events events() {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.process = [](void* self) { static_cast<Monitor*>(self)->takePiece(); };
        return events;
    }
    static inline const pw_stream_events EVENTS = events();

    pw_thread_loop* mLoop;
    pw_stream* mStream = nullptr;
};

class PipeWire : public System {
public:
    explicit PipeWire(const std::string& directory)
        : mModule(moduleOf("pipewire", "pipewire-alsa")),
          mDaemon(pipeWireServer(directory, std::string(PIPEWIRE_SESSION) + REAL_TIME)),
          mSession(pipeWireSession(directory)) {
        setenv("PIPEWIRE_RUNTIME_DIR", directory.c_str(), 1);
        pw_init(nullptr, nullptr);
        mDaemon.waitFor([] {
            try {
                const Monitor connected;
                return true;
            } catch (const std::runtime_error&) {
                return false;
            }
        });
        mSession.waitFor([] { return Monitor().isListening(); });
    }
    ~PipeWire() override { pw_deinit(); }

    std::string definition() const override {
        return mModule + "pcm." + PCM + " { type pipewire server " + PIPEWIRE_CORE + " }\n";
    }
    pid_t process() const override { return mDaemon.process(); }
    std::unique_ptr<MixListener> listen() override { return std::make_unique<Monitor>(); }

private:
    std::string mModule;
    Daemon mDaemon;
    Daemon mSession;
};

}  // namespace

std::unique_ptr<System> startPipeWire(const std::string& directory) {
    return std::make_unique<PipeWire>(directory);
}

}  // namespace cabinaudio::bench
