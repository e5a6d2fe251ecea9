// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Period.h"
#include "devkit/server/cards/Microphone.h"

#include <pulse/error.h>
#include <pulse/simple.h>

#include <stdexcept>

namespace cabinaudio::server {
namespace {

class PulseMicrophone : public Microphone {
public:
    PulseMicrophone() {
        const pa_sample_spec spec = {PA_SAMPLE_S16LE, RATE, CHANNELS};
        constexpr auto AUTOMATIC = static_cast<std::uint32_t>(-1);
        pa_buffer_attr buffer = {};
        buffer.maxlength = buffer.tlength = buffer.prebuf = buffer.minreq = AUTOMATIC;
        buffer.fragsize =
            static_cast<std::uint32_t>(sizeof(std::int16_t) * CHANNELS * framesOfPeriod(RATE));
        int error = 0;
        mStream.reset(pa_simple_new(nullptr, "cabinaudio-server", PA_STREAM_RECORD, nullptr,
                                    "input", &spec, nullptr, &buffer, &error));
        if (!mStream) throw std::runtime_error(name() + ": " + pa_strerror(error));
    }

    std::string read(std::span<std::int16_t> samples) override {
        int error = 0;
        if (pa_simple_read(mStream.get(), samples.data(), samples.size_bytes(), &error) == 0)
            return {};
        return name() + ": " + pa_strerror(error);
    }

    [[nodiscard]] std::string name() const override { return "pulse"; }

private:
    struct Free {
        void operator()(pa_simple* stream) const { pa_simple_free(stream); }
    };
    std::unique_ptr<pa_simple, Free> mStream;
};

}  // namespace

std::unique_ptr<Microphone> openPulseMicrophone() {
    return std::make_unique<PulseMicrophone>();
}

}  // namespace cabinaudio::server
