// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/AlsaLog.h"
#include "devkit/server/cards/Microphone.h"
#include "devkit/server/cards/SoundCard.h"

#include <alsa/asoundlib.h>

#include <cerrno>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

class AlsaMicrophone : public Microphone {
public:
    AlsaMicrophone() {
        captureAlsaLog();
        check(snd_pcm_open(&mPcm, "default", SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK));
        try {
            check(snd_pcm_set_params(mPcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED,
                                     CHANNELS, RATE, 1, CARD_LATENCY_MS * 1000));
            // A read of less than the whole buffer does not start the device.
            check(snd_pcm_start(mPcm));
        } catch (...) {
            snd_pcm_close(mPcm);
            throw;
        }
    }
    ~AlsaMicrophone() override { snd_pcm_close(mPcm); }
    AlsaMicrophone(const AlsaMicrophone&) = delete;
    AlsaMicrophone& operator=(const AlsaMicrophone&) = delete;

    CardProgress read(std::span<std::int16_t> samples,
                      std::chrono::milliseconds patience) override {
        snd_pcm_sframes_t got = readNow(samples);
        if (got == -EAGAIN) {
            const int ready = snd_pcm_wait(mPcm, static_cast<int>(patience.count()));
            got = ready < 0 ? ready : readNow(samples);
        }
        CardProgress progress;
        if (got > 0) progress.count = static_cast<std::size_t>(got) * CHANNELS;
        if (got >= 0 || got == -EAGAIN) return progress;
        const int error = static_cast<int>(got);
        progress.problem = name() + ": " + snd_strerror(error);
        progress.isLost = snd_pcm_recover(mPcm, error, 1) != 0 || snd_pcm_start(mPcm) != 0;
        return progress;
    }

    [[nodiscard]] std::string name() const override { return "alsa"; }

private:
    [[nodiscard]] snd_pcm_sframes_t readNow(std::span<std::int16_t> samples) {
        return snd_pcm_readi(mPcm, samples.data(), samples.size() / CHANNELS);
    }

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
