// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/AlsaLog.h"
#include "devkit/server/cards/SoundCard.h"

#include <alsa/asoundlib.h>

#include <cerrno>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

snd_pcm_format_t alsaFormat(SampleType type) {
    switch (type) {
        case SampleType::S16:
            return SND_PCM_FORMAT_S16_LE;
        case SampleType::S24:
            return SND_PCM_FORMAT_S24_3LE;
        case SampleType::S32:
            return SND_PCM_FORMAT_S32_LE;
        case SampleType::Float:
            break;
    }
    return SND_PCM_FORMAT_FLOAT_LE;
}

class AlsaCard : public SoundCard {
public:
    AlsaCard(const std::string& device, const OutputFormat& format)
        : mDevice(device), mFrameBytes(format.channels * sizeOf(format.type)) {
        captureAlsaLog();
        check(snd_pcm_open(&mPcm, device.c_str(), SND_PCM_STREAM_PLAYBACK, 0));
        try {
            check(snd_pcm_set_params(mPcm, alsaFormat(format.type), SND_PCM_ACCESS_RW_INTERLEAVED,
                                     format.channels, format.rate, 1, CARD_LATENCY_MS * 1000));
        } catch (...) {
            snd_pcm_close(mPcm);
            throw;
        }
    }
    ~AlsaCard() override { snd_pcm_close(mPcm); }
    AlsaCard(const AlsaCard&) = delete;
    AlsaCard& operator=(const AlsaCard&) = delete;

    std::string write(std::span<const std::uint8_t> frames) override {
        std::string problem;
        int attempts = 0;
        while (!frames.empty()) {
            const snd_pcm_sframes_t written =
                snd_pcm_writei(mPcm, frames.data(), frames.size() / mFrameBytes);
            if (written >= 0) {
                frames = frames.subspan(static_cast<std::size_t>(written) * mFrameBytes);
                continue;
            }
            const int error = static_cast<int>(written);
            problem = name() + ": " + snd_strerror(error);
            if (snd_pcm_recover(mPcm, error, 1) != 0 || ++attempts == 3) break;
        }
        return problem;
    }

    void drain() override {
        snd_pcm_drain(mPcm);
        snd_pcm_prepare(mPcm);
    }

    [[nodiscard]] std::string name() const override { return "alsa device " + mDevice; }

private:
    void check(int result) const {
        if (result < 0) throw std::runtime_error(name() + ": " + snd_strerror(result));
    }

    std::string mDevice;
    std::size_t mFrameBytes;
    snd_pcm_t* mPcm = nullptr;
};

}  // namespace

std::unique_ptr<SoundCard> openAlsa(const std::string& device, const OutputFormat& format) {
    return std::make_unique<AlsaCard>(device, format);
}

}  // namespace cabinaudio::server
