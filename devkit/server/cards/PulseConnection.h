// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/cards/SoundCard.h"

#include <pulse/context.h>
#include <pulse/mainloop.h>
#include <pulse/stream.h>

#include <chrono>
#include <memory>
#include <string>

namespace cabinaudio::server {

/// A stream of the desktop's sound server. Its own main loop runs only within these functions, on
/// the calling thread, so that every wait has a bound. Used by one thread.
class PulseConnection {
public:
    /// Connects to the sound server. @throws std::runtime_error with the reason
    PulseConnection(const char* streamName, const pa_sample_spec& format, Spawn spawn);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Not ready yet: to be connected for playback or recording, and awaited.
    [[nodiscard]] pa_stream* stream() const { return mStream.get(); }
    /// @throws std::runtime_error with the reason
    void awaitStream();

    /// Handles what the sound server has sent; waits at most `patience` for more of it.
    void iterate(std::chrono::microseconds patience);
    /// Without waiting. After a write: only the main loop sends what was written.
    void handlePending();

    /// Iterates until `isDone()`, a problem or the end of `patience`.
    template <typename Condition>
    void iterateUntil(Condition isDone, std::chrono::milliseconds patience) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        iterate(std::chrono::microseconds(0));
        while (!isDone() && problem().empty()) {
            const auto left = deadline - std::chrono::steady_clock::now();
            if (left <= std::chrono::steady_clock::duration::zero()) return;
            iterate(std::chrono::ceil<std::chrono::microseconds>(left));
        }
    }

    /// Why the stream can no longer be used; empty while it can.
    [[nodiscard]] std::string problem() const;
    /// The error of the last operation, after the name: "pulse: Connection refused".
    [[nodiscard]] std::string errorText() const;

    static constexpr const char* NAME = "pulse";

private:
    struct Free {
        void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
        void operator()(pa_context* context) const { pa_context_unref(context); }
        void operator()(pa_stream* stream) const { pa_stream_unref(stream); }
    };
    void awaitContext();

    // Each member needs those before it.
    std::unique_ptr<pa_mainloop, Free> mLoop;
    std::unique_ptr<pa_context, Free> mContext;
    std::unique_ptr<pa_stream, Free> mStream;
};

}  // namespace cabinaudio::server
