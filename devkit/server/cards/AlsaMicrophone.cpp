// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/AlsaLog.h"
#include "devkit/server/cards/Microphone.h"
#include "devkit/server/cards/SoundCard.h"

#include <alsa/asoundlib.h>

#include <stdexcept>

namespace cabinaudio::server {
namespace {

class AlsaMicrophone : public Microphone {
public:
    AlsaMicrophone() {
        captureAlsaLog();
        check(snd_pcm_open(&mPcm, "default", SND_PCM_STREAM_CAPTURE, 0));
        try {
            check(snd_pcm_set_params(mPcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED,
                                     CHANNELS, RATE, 1, CARD_LATENCY_MS * 1000));
        } catch (...) {
            snd_pcm_close(mPcm);
            throw;
        }
    }
    ~AlsaMicrophone() override { snd_pcm_close(mPcm); }
    AlsaMicrophone(const AlsaMicrophone&) = delete;
    AlsaMicrophone& operator=(const AlsaMicrophone&) = delete;

    std::string read(std::span<std::int16_t> samples) override {
        int attempts = 0;
        while (!samples.empty()) {
            const snd_pcm_sframes_t got =
                snd_pcm_readi(mPcm, samples.data(), samples.size() / CHANNELS);
            if (got >= 0) {
                samples = samples.subspan(static_cast<std::size_t>(got) * CHANNELS);
                continue;
            }
            const int error = static_cast<int>(got);
            if (snd_pcm_recover(mPcm, error, 1) != 0 || ++attempts == 3)
                return name() + ": " + snd_strerror(error);
        }
        return {};
    }

    [[nodiscard]] std::string name() const override { return "alsa"; }

private:
    void check(int result) const {
        if (result < 0) throw std::runtime_error(name() + ": " + snd_strerror(result));
    }

    snd_pcm_t* mPcm = nullptr;
};

}  // namespace

std::unique_ptr<Microphone> openAlsaMicrophone() {
    return std::make_unique<AlsaMicrophone>();
}

}  // namespace cabinaudio::server
