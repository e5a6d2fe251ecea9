// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/AlsaLog.h"
#include "devkit/server/cards/SoundCard.h"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>

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
        : mDevice(device), mRate(format.rate), mFrameBytes(format.channels * sizeOf(format.type)) {
        captureAlsaLog();
        check(snd_pcm_open(&mPcm, device.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK));
        try {
            check(snd_pcm_set_params(mPcm, alsaFormat(format.type), SND_PCM_ACCESS_RW_INTERLEAVED,
                                     format.channels, format.rate, 1, CARD_LATENCY_MS * 1000));
            snd_pcm_uframes_t periodFrames = 0;
            check(snd_pcm_get_params(mPcm, &mBufferFrames, &periodFrames));
        } catch (...) {
            snd_pcm_close(mPcm);
            throw;
        }
    }
    ~AlsaCard() override { snd_pcm_close(mPcm); }
    AlsaCard(const AlsaCard&) = delete;
    AlsaCard& operator=(const AlsaCard&) = delete;

    CardProgress write(std::span<const std::uint8_t> frames,
                       std::chrono::milliseconds patience) override {
        if (frames.empty()) return progressOf(snd_pcm_avail(mPcm));
        snd_pcm_sframes_t written = writeNow(frames);
        if (written == -EAGAIN) {
            const int ready = snd_pcm_wait(mPcm, static_cast<int>(patience.count()));
            written = ready < 0 ? ready : writeNow(frames);
        }
        CardProgress progress = progressOf(written);
        if (written > 0) progress.count = static_cast<std::size_t>(written) * mFrameBytes;
        return progress;
    }

    void drain(std::chrono::milliseconds patience) override {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        constexpr std::chrono::milliseconds STEP(4);  // a non-blocking drain cannot be waited for
        while (snd_pcm_drain(mPcm) == -EAGAIN && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(STEP);
    }

    [[nodiscard]] std::size_t queuedFrames() override {
        const snd_pcm_sframes_t room = snd_pcm_avail(mPcm);
        if (room < 0) return 0;
        return mBufferFrames -
               std::min<snd_pcm_uframes_t>(mBufferFrames, static_cast<snd_pcm_uframes_t>(room));
    }

    [[nodiscard]] std::optional<std::chrono::microseconds> latency() override {
        snd_pcm_sframes_t delay = 0;
        if (snd_pcm_delay(mPcm, &delay) < 0 || delay < 0) return {};
        return std::chrono::microseconds(std::int64_t{delay} * 1000000 / mRate);
    }

    [[nodiscard]] std::string name() const override { return "alsa device " + mDevice; }

private:
    [[nodiscard]] std::string textOf(int error) const {
        return name() + ": " + snd_strerror(error);
    }

    void check(int result) const {
        if (result < 0) throw std::runtime_error(textOf(result));
    }

    [[nodiscard]] snd_pcm_sframes_t writeNow(std::span<const std::uint8_t> frames) {
        return snd_pcm_writei(mPcm, frames.data(), frames.size() / mFrameBytes);
    }

    /// After an underrun or a suspended machine the device can go on; any other error is its end.
    [[nodiscard]] CardProgress progressOf(snd_pcm_sframes_t result) {
        if (result >= 0 || result == -EAGAIN) return {};
        const int error = static_cast<int>(result);
        const int afterwards = snd_pcm_recover(mPcm, error, 1);
        CardProgress progress;
        progress.isLost = afterwards < 0;
        progress.problem = textOf(progress.isLost ? afterwards : error);
        return progress;
    }

    std::string mDevice;
    std::uint32_t mRate;
    std::size_t mFrameBytes;
    snd_pcm_uframes_t mBufferFrames = 0;
    snd_pcm_t* mPcm = nullptr;
};

}  // namespace

std::unique_ptr<SoundCard> openAlsa(const std::string& device, const OutputFormat& format) {
    return std::make_unique<AlsaCard>(device, format);
}

}  // namespace cabinaudio::server
