// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/Definitions.h"
#include "bench/alsa/Marks.h"
#include "bench/support/Clock.h"

#include <alsa/asoundlib.h>
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace cabinaudio::bench {

namespace {

void require(int status, const char* what) {
    if (status < 0) throw std::runtime_error(std::string(what) + ": " + snd_strerror(status));
}

void setUp(snd_pcm_t* pcm, const Buffer& buffer) {
    snd_pcm_hw_params_t* hardware = nullptr;
    snd_pcm_hw_params_alloca(&hardware);
    require(snd_pcm_hw_params_any(pcm, hardware), "any");
    require(snd_pcm_hw_params_set_access(pcm, hardware, SND_PCM_ACCESS_RW_INTERLEAVED), "access");
    require(snd_pcm_hw_params_set_format(pcm, hardware, SND_PCM_FORMAT_S16_LE), "format");
    require(snd_pcm_hw_params_set_channels(pcm, hardware, CHANNELS), "channels");
    require(snd_pcm_hw_params_set_rate(pcm, hardware, RATE, 0), "rate");
    snd_pcm_uframes_t period = buffer.period;
    snd_pcm_uframes_t frames = buffer.frames;
    require(snd_pcm_hw_params_set_period_size_near(pcm, hardware, &period, nullptr), "period");
    require(snd_pcm_hw_params_set_buffer_size_near(pcm, hardware, &frames), "buffer");
    require(snd_pcm_hw_params(pcm, hardware), "hw_params");
    if (period != buffer.period || frames != buffer.frames)
        throw std::runtime_error("another buffer: " + std::to_string(frames) + "/" +
                                 std::to_string(period));
    snd_pcm_sw_params_t* software = nullptr;
    snd_pcm_sw_params_alloca(&software);
    require(snd_pcm_sw_params_current(pcm, software), "current");
    require(snd_pcm_sw_params_set_avail_min(pcm, software, period), "avail_min");
    require(snd_pcm_sw_params_set_start_threshold(pcm, software, frames), "start_threshold");
    require(snd_pcm_sw_params(pcm, software), "sw_params");
}

}  // namespace

bool Orders::take() {
    struct pollfd input {
        STDIN_FILENO, POLLIN, 0
    };
    if (poll(&input, 1, 0) <= 0) return false;
    char order = 0;
    isOver = read(STDIN_FILENO, &order, 1) != 1;
    return !isOver;
}

void reportMark(std::uint64_t ns, long queued) {
    std::printf("%llu %ld\n", static_cast<unsigned long long>(ns), queued);
    std::fflush(stdout);
}

void writeMarksToPcm(const Buffer& buffer) {
    const std::vector<std::int16_t> quiet = pieceOf(buffer.period, false);
    const std::vector<std::int16_t> marked = pieceOf(buffer.period, true);
    snd_pcm_t* pcm = nullptr;
    require(snd_pcm_open(&pcm, PCM, SND_PCM_STREAM_PLAYBACK, 0), "open");
    setUp(pcm, buffer);
    long underruns = 0;
    for (Orders orders; !orders.isOver;) {
        snd_pcm_wait(pcm, 1000);
        const snd_pcm_sframes_t room = snd_pcm_avail(pcm);
        if (room == -EPIPE) {
            ++underruns;
            require(snd_pcm_prepare(pcm), "prepare");
            continue;
        }
        require(static_cast<int>(room), "avail");
        if (room < static_cast<long>(buffer.period)) continue;
        // Not before the sound runs: the first buffers are full at once.
        const bool isMarked = snd_pcm_state(pcm) == SND_PCM_STATE_RUNNING && orders.take();
        const std::uint64_t now = nowNs();
        const snd_pcm_sframes_t written =
            snd_pcm_writei(pcm, (isMarked ? marked : quiet).data(), buffer.period);
        if (isMarked) reportMark(now, static_cast<long>(buffer.frames) - room);
        if (written != -EPIPE) require(static_cast<int>(written), "writei");
    }
    std::printf("%ld\n", underruns);
    snd_pcm_drop(pcm);
    snd_pcm_close(pcm);
}

}  // namespace cabinaudio::bench
