// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/plugins/alsa/AlsaConfig.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {

/// Parameters of a PCM; zero means: as alsa-lib chooses.
struct PcmShape {
    snd_pcm_format_t format = SND_PCM_FORMAT_S16_LE;
    unsigned channels = 2;
    unsigned rate = 48000;
    snd_pcm_uframes_t buffer = 9600;
    snd_pcm_uframes_t period = 2400;
    snd_pcm_access_t access = SND_PCM_ACCESS_RW_INTERLEAVED;
    snd_pcm_uframes_t startThreshold = 1;
    snd_pcm_uframes_t availMin = 0;
};

/// A PCM that an application has opened.
class AlsaPcm {
public:
    /// @param keys  of its definition
    explicit AlsaPcm(const std::string& keys, snd_pcm_stream_t direction = SND_PCM_STREAM_PLAYBACK,
                     int mode = 0)
        : mConfig(pcmDefinition(keys)) {
        error = snd_pcm_open_lconf(&mPcm, "cab", direction, mode, mConfig.top());
    }
    ~AlsaPcm() { close(); }
    AlsaPcm(const AlsaPcm&) = delete;
    AlsaPcm& operator=(const AlsaPcm&) = delete;

    void close() {
        if (snd_pcm_t* const pcm = std::exchange(mPcm, nullptr)) snd_pcm_close(pcm);
    }
    [[nodiscard]] snd_pcm_t* get() const { return mPcm; }

    /// Sets the parameters and prepares it. @return 0 or a negative error number
    int set(const PcmShape& shape) {
        if (error < 0) return error;
        snd_pcm_hw_params_t* hardware = nullptr;
        snd_pcm_hw_params_alloca(&hardware);
        int status = snd_pcm_hw_params_any(mPcm, hardware);
        const auto step = [&status](int next) { status = status < 0 ? status : next; };
        step(snd_pcm_hw_params_set_access(mPcm, hardware, shape.access));
        step(snd_pcm_hw_params_set_format(mPcm, hardware, shape.format));
        step(snd_pcm_hw_params_set_channels(mPcm, hardware, shape.channels));
        step(snd_pcm_hw_params_set_rate(mPcm, hardware, shape.rate, 0));
        if (shape.period != 0)
            step(snd_pcm_hw_params_set_period_size(mPcm, hardware, shape.period, 0));
        if (shape.buffer != 0)
            step(snd_pcm_hw_params_set_buffer_size(mPcm, hardware, shape.buffer));
        if (status >= 0) step(snd_pcm_hw_params(mPcm, hardware));
        if (status < 0) return status;
        snd_pcm_sw_params_t* software = nullptr;
        snd_pcm_sw_params_alloca(&software);
        step(snd_pcm_sw_params_current(mPcm, software));
        step(snd_pcm_sw_params_set_start_threshold(mPcm, software, shape.startThreshold));
        if (shape.availMin != 0)
            step(snd_pcm_sw_params_set_avail_min(mPcm, software, shape.availMin));
        step(snd_pcm_sw_params(mPcm, software));
        return status;
    }

    /// Writes all of it. @return 0, or the first error
    template <typename Sample>
    int write(const std::vector<Sample>& samples) {
        const auto* data = reinterpret_cast<const char*>(samples.data());
        auto left = static_cast<snd_pcm_uframes_t>(
            snd_pcm_bytes_to_frames(mPcm, static_cast<ssize_t>(samples.size() * sizeof(Sample))));
        while (left > 0) {
            const snd_pcm_sframes_t done = snd_pcm_writei(mPcm, data, left);
            if (done < 0) return static_cast<int>(done);
            data += snd_pcm_frames_to_bytes(mPcm, done);
            left -= static_cast<snd_pcm_uframes_t>(done);
        }
        return 0;
    }

    int error = 0;  // of the opening

private:
    AlsaConfig mConfig;
    snd_pcm_t* mPcm = nullptr;
};

}  // namespace cabinaudio::test
