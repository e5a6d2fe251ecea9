// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/PulseConnection.h"
#include "devkit/server/cards/SoundCard.h"

#include <pulse/timeval.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cabinaudio::server {
namespace {

pa_sample_format_t pulseFormat(SampleType type) {
    switch (type) {
        case SampleType::S16:
            return PA_SAMPLE_S16LE;
        case SampleType::S24:
            return PA_SAMPLE_S24LE;
        case SampleType::S32:
            return PA_SAMPLE_S32LE;
        case SampleType::Float:
            break;
    }
    return PA_SAMPLE_FLOAT32LE;
}

pa_sample_spec specOf(const OutputFormat& format) {
    pa_sample_spec spec = {};
    spec.format = pulseFormat(format.type);
    spec.rate = format.rate;
    spec.channels = static_cast<std::uint8_t>(format.channels);
    return spec;
}

class PulseCard : public SoundCard {
public:
    PulseCard(const OutputFormat& format, Spawn spawn)
        : mSpec(specOf(format)), mConnection("mix", mSpec, spawn) {
        constexpr auto AUTOMATIC = static_cast<std::uint32_t>(-1);
        pa_buffer_attr buffer = {};
        buffer.maxlength = buffer.prebuf = buffer.minreq = buffer.fragsize = AUTOMATIC;
        buffer.tlength = static_cast<std::uint32_t>(
            pa_usec_to_bytes(pa_usec_t{CARD_LATENCY_MS} * PA_USEC_PER_MSEC, &mSpec));
        constexpr auto FLAGS = static_cast<pa_stream_flags_t>(
            PA_STREAM_ADJUST_LATENCY | PA_STREAM_INTERPOLATE_TIMING | PA_STREAM_AUTO_TIMING_UPDATE);
        pa_stream_set_underflow_callback(
            stream(), [](pa_stream*, void* card) { static_cast<PulseCard*>(card)->mIsDry = true; },
            this);
        if (pa_stream_connect_playback(stream(), nullptr, &buffer, FLAGS, nullptr, nullptr) < 0)
            throw std::runtime_error(mConnection.errorText());
        mConnection.awaitStream();
    }

    CardProgress write(std::span<const std::uint8_t> frames,
                       std::chrono::milliseconds patience) override {
        CardProgress progress;
        mConnection.iterateUntil([&] { return frames.empty() || room() > 0; }, patience);
        progress.problem = mConnection.problem();
        progress.isLost = !progress.problem.empty();
        if (progress.isLost) return progress;
        if (std::exchange(mIsDry, false)) progress.problem = name() + ": underrun";
        const std::size_t count = std::min(frames.size(), room());
        if (count == 0) return progress;
        if (pa_stream_write(stream(), frames.data(), count, nullptr, 0, PA_SEEK_RELATIVE) < 0) {
            progress.problem = mConnection.errorText();
            progress.isLost = true;
            return progress;
        }
        mConnection.handlePending();
        progress.count = count;
        return progress;
    }

    void drain(std::chrono::milliseconds patience) override {
        pa_operation* const operation = pa_stream_drain(stream(), nullptr, nullptr);
        if (operation == nullptr) return;
        mConnection.iterateUntil(
            [&] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; }, patience);
        pa_operation_unref(operation);
    }

    [[nodiscard]] std::size_t queuedFrames() override {
        const pa_buffer_attr* const buffer = pa_stream_get_buffer_attr(stream());
        if (buffer == nullptr) return 0;
        return (buffer->tlength - std::min<std::size_t>(buffer->tlength, room())) /
               pa_frame_size(&mSpec);
    }

    [[nodiscard]] std::optional<std::chrono::microseconds> latency() override {
        pa_usec_t latency = 0;
        int isNegative = 0;
        if (pa_stream_get_latency(stream(), &latency, &isNegative) < 0 || isNegative != 0)
            return {};
        return std::chrono::microseconds(latency);
    }

    [[nodiscard]] std::string name() const override { return PulseConnection::NAME; }

private:
    [[nodiscard]] pa_stream* stream() const { return mConnection.stream(); }

    /// Bytes that the sound server has asked for, whole frames.
    [[nodiscard]] std::size_t room() const {
        const std::size_t bytes = pa_stream_writable_size(stream());
        if (bytes == static_cast<std::size_t>(-1)) return 0;
        return bytes - bytes % pa_frame_size(&mSpec);
    }

    pa_sample_spec mSpec;
    PulseConnection mConnection;
    bool mIsDry = false;  // the sound server ran out of data since the last write
};

}  // namespace

std::unique_ptr<SoundCard> openPulse(const OutputFormat& format, Spawn spawn) {
    return std::make_unique<PulseCard>(format, spawn);
}

}  // namespace cabinaudio::server
