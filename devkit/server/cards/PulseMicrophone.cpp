// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Period.h"
#include "devkit/server/cards/Microphone.h"
#include "devkit/server/cards/PulseConnection.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

constexpr pa_sample_spec SPEC = {PA_SAMPLE_S16LE, Microphone::RATE, Microphone::CHANNELS};

class PulseMicrophone : public Microphone {
public:
    explicit PulseMicrophone(Spawn spawn) : mConnection("input", SPEC, spawn) {
        constexpr auto AUTOMATIC = static_cast<std::uint32_t>(-1);
        pa_buffer_attr buffer = {};
        buffer.maxlength = buffer.tlength = buffer.prebuf = buffer.minreq = AUTOMATIC;
        buffer.fragsize =
            static_cast<std::uint32_t>(sizeof(std::int16_t) * CHANNELS * framesOfPeriod(RATE));
        if (pa_stream_connect_record(mConnection.stream(), nullptr, &buffer,
                                     PA_STREAM_ADJUST_LATENCY) < 0)
            throw std::runtime_error(mConnection.errorText());
        mConnection.awaitStream();
    }

    CardProgress read(std::span<std::int16_t> samples,
                      std::chrono::milliseconds patience) override {
        CardProgress progress;
        mConnection.iterateUntil(
            [this] { return pa_stream_readable_size(mConnection.stream()) > 0; }, patience);
        progress.problem = mConnection.problem();
        progress.isLost = !progress.problem.empty();
        if (!progress.isLost) progress.count = take(samples);
        return progress;
    }

    [[nodiscard]] std::string name() const override { return PulseConnection::NAME; }

private:
    /// A fragment of the sound server may be longer than `samples`: its rest waits for the next
    /// call. A hole in the recording has no data and is left out.
    std::size_t take(std::span<std::int16_t> samples) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(mConnection.stream(), &data, &bytes) < 0 || bytes == 0) return 0;
        std::size_t count = 0;
        if (data != nullptr) {
            count = std::min(bytes - mTaken, samples.size_bytes()) / sizeof(std::int16_t);
            std::memcpy(samples.data(), static_cast<const std::uint8_t*>(data) + mTaken,
                        count * sizeof(std::int16_t));
            mTaken += count * sizeof(std::int16_t);
        }
        if (data == nullptr || mTaken + sizeof(std::int16_t) > bytes) {
            pa_stream_drop(mConnection.stream());
            mTaken = 0;
        }
        return count;
    }

    PulseConnection mConnection;
    std::size_t mTaken = 0;  // bytes of the present fragment
};

}  // namespace

std::unique_ptr<Microphone> openPulseMicrophone(Spawn spawn) {
    return std::make_unique<PulseMicrophone>(spawn);
}

}  // namespace cabinaudio::server
