// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/PulseConnection.h"

#include <pulse/error.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace cabinaudio::server {

PulseConnection::PulseConnection(const char* streamName, const pa_sample_spec& format, Spawn spawn)
    : mLoop(pa_mainloop_new()),
      mContext(pa_context_new(pa_mainloop_get_api(mLoop.get()), "cabinaudio-server")) {
    const auto flags = spawn == Spawn::Allowed ? PA_CONTEXT_NOFLAGS : PA_CONTEXT_NOAUTOSPAWN;
    if (pa_context_connect(mContext.get(), nullptr, flags, nullptr) < 0)
        throw std::runtime_error(errorText());
    awaitContext();
    mStream.reset(pa_stream_new(mContext.get(), streamName, &format, nullptr));
    if (!mStream) throw std::runtime_error(errorText());
}

PulseConnection::~PulseConnection() {
    if (mStream) pa_stream_disconnect(mStream.get());
    pa_context_disconnect(mContext.get());
}

void PulseConnection::awaitContext() {
    const auto isReady = [this] {
        return pa_context_get_state(mContext.get()) == PA_CONTEXT_READY;
    };
    iterateUntil(isReady, OPEN_PATIENCE);
    if (const std::string text = problem(); !text.empty()) throw std::runtime_error(text);
    if (!isReady())
        throw std::runtime_error(std::string(NAME) + ": " + pa_strerror(PA_ERR_TIMEOUT));
}

void PulseConnection::awaitStream() {
    const auto isReady = [this] { return pa_stream_get_state(mStream.get()) == PA_STREAM_READY; };
    iterateUntil(isReady, OPEN_PATIENCE);
    if (const std::string text = problem(); !text.empty()) throw std::runtime_error(text);
    if (!isReady())
        throw std::runtime_error(std::string(NAME) + ": " + pa_strerror(PA_ERR_TIMEOUT));
}

void PulseConnection::iterate(std::chrono::microseconds patience) {
    constexpr std::chrono::microseconds::rep LONGEST = std::numeric_limits<int>::max();
    const int wait = static_cast<int>(std::clamp(patience.count(), decltype(LONGEST){0}, LONGEST));
    if (pa_mainloop_prepare(mLoop.get(), wait) < 0) return;
    if (pa_mainloop_poll(mLoop.get()) < 0) return;
    if (pa_mainloop_dispatch(mLoop.get()) > 0) handlePending();
}

void PulseConnection::handlePending() {
    constexpr int MOST = 64;  // a flood of messages must not hold the caller
    for (int i = 0; i < MOST && pa_mainloop_iterate(mLoop.get(), 0, nullptr) > 0; ++i) {
    }
}

std::string PulseConnection::problem() const {
    if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(mContext.get()))) return errorText();
    if (!mStream) return {};
    const pa_stream_state_t state = pa_stream_get_state(mStream.get());
    if (state == PA_STREAM_FAILED) return errorText();
    // An administrator's command, or the removal of the sink.
    if (state == PA_STREAM_TERMINATED) return std::string(NAME) + ": the stream was ended";
    return {};
}

std::string PulseConnection::errorText() const {
    return std::string(NAME) + ": " + pa_strerror(pa_context_errno(mContext.get()));
}

}  // namespace cabinaudio::server
