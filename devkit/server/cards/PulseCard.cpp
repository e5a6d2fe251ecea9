// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/SoundCard.h"

#include <pulse/error.h>
#include <pulse/simple.h>

#include <memory>
#include <stdexcept>

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

class PulseCard : public SoundCard {
public:
    explicit PulseCard(const OutputFormat& format) {
        pa_sample_spec spec = {};
        spec.format = pulseFormat(format.type);
        spec.rate = format.rate;
        spec.channels = static_cast<std::uint8_t>(format.channels);
        constexpr auto AUTOMATIC = static_cast<std::uint32_t>(-1);
        pa_buffer_attr buffer = {};
        buffer.maxlength = buffer.prebuf = buffer.minreq = buffer.fragsize = AUTOMATIC;
        buffer.tlength =
            static_cast<std::uint32_t>(pa_usec_to_bytes(pa_usec_t{CARD_LATENCY_MS} * 1000, &spec));
        int error = 0;
        mStream.reset(pa_simple_new(nullptr, "cabinaudio-server", PA_STREAM_PLAYBACK, nullptr,
                                    "mix", &spec, nullptr, &buffer, &error));
        if (!mStream) throw std::runtime_error(name() + ": " + pa_strerror(error));
    }

    std::string write(std::span<const std::uint8_t> frames) override {
        int error = 0;
        if (pa_simple_write(mStream.get(), frames.data(), frames.size(), &error) == 0) return {};
        return name() + ": " + pa_strerror(error);
    }

    void drain() override { pa_simple_drain(mStream.get(), nullptr); }

    [[nodiscard]] std::string name() const override { return "pulse"; }

private:
    struct Free {
        void operator()(pa_simple* stream) const { pa_simple_free(stream); }
    };
    std::unique_ptr<pa_simple, Free> mStream;
};

}  // namespace

std::unique_ptr<SoundCard> openPulse(const OutputFormat& format) {
    return std::make_unique<PulseCard>(format);
}

}  // namespace cabinaudio::server
