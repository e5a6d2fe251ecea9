// SPDX-License-Identifier: Apache-2.0
// A program that knows ALSA only: "alsa-probe DEED". Plays to and records from the PCM
// "cabinaudio". Ends with status 0 when the deed went well; otherwise its last line says why not.
#include <alsa/asoundlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Samples = std::vector<std::int16_t>;

constexpr unsigned RATE = 48000;
constexpr unsigned CHANNELS = 2;
constexpr char DEVICE[] = "cabinaudio";

void check(long status, const char* call) {
    if (status < 0)
        throw std::runtime_error(std::string(call) + ": " + snd_strerror(static_cast<int>(status)));
}

snd_pcm_t* open(snd_pcm_stream_t direction, int mode = 0) {
    snd_pcm_t* pcm = nullptr;
    check(snd_pcm_open(&pcm, DEVICE, direction, mode), "snd_pcm_open");
    return pcm;
}

/// A PCM that plays already.
snd_pcm_t* openPlaying(std::size_t frames) {
    snd_pcm_t* const pcm = open(SND_PCM_STREAM_PLAYBACK);
    check(snd_pcm_set_params(pcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, CHANNELS,
                             RATE, 0, 200'000),
          "snd_pcm_set_params");
    const Samples samples(CHANNELS * frames, 1000);
    check(snd_pcm_writei(pcm, samples.data(), frames), "snd_pcm_writei");
    check(snd_pcm_start(pcm), "snd_pcm_start");
    return pcm;
}

// ---- Ends without a close -----------------------------------------------------------------------

void leaveOpen() {
    openPlaying(4800);
}

void drainAndLeaveOpen() {
    check(snd_pcm_drain(openPlaying(4800)), "snd_pcm_drain");
}

/// The child runs its exit handlers.
void leaveOpenInAChild() {
    snd_pcm_t* const pcm = openPlaying(9000);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) std::exit(0);
    int status = -1;
    waitpid(child, &status, 0);
    if (status != 0) throw std::runtime_error("the child: " + std::to_string(status));
    check(snd_pcm_drain(pcm), "snd_pcm_drain");
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

// ---- Rests --------------------------------------------------------------------------------------

constexpr auto REST = 300ms;

std::chrono::microseconds processorTime() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto in = [](const timeval& time) {
        return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
    };
    return in(usage.ru_utime) + in(usage.ru_stime);
}

/// Prints the processor time of a rest, in microseconds.
void rest() {
    const auto before = processorTime();
    std::this_thread::sleep_for(REST);
    std::printf("%lld\n", static_cast<long long>((processorTime() - before).count()));
}

void restPrepared() {
    snd_pcm_t* const pcm = open(SND_PCM_STREAM_PLAYBACK);
    check(snd_pcm_set_params(pcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, CHANNELS,
                             RATE, 0, 200'000),
          "snd_pcm_set_params");
    rest();
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

void restPaused() {
    snd_pcm_t* const pcm = openPlaying(4800);
    check(snd_pcm_pause(pcm, 1), "snd_pcm_pause");
    rest();
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

void restDrained() {
    snd_pcm_t* const pcm = openPlaying(4800);
    check(snd_pcm_drain(pcm), "snd_pcm_drain");
    rest();
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

void restAfterAnUnderrun() {
    snd_pcm_t* const pcm = openPlaying(1200);
    while (snd_pcm_avail(pcm) != -EPIPE)
        std::this_thread::sleep_for(1ms);
    rest();
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

/// Says that it plays, and goes on until its server is gone.
void restLost() {
    snd_pcm_t* const pcm = openPlaying(4800);
    std::puts("plays");
    std::fflush(stdout);
    const Samples silence(CHANNELS * 480, 1000);
    for (snd_pcm_sframes_t written = 0; written != -ENODEV;) {
        written = snd_pcm_writei(pcm, silence.data(), 480);
        if (written == -EPIPE) snd_pcm_prepare(pcm);
    }
    rest();
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

/// A program that prepares again and again, and so never plays: it, too, learns of the loss.
void prepareUntilLost() {
    snd_pcm_t* const pcm = openPlaying(4800);
    std::puts("plays");
    std::fflush(stdout);
    const Samples silence(CHANNELS * 480, 1000);
    while (snd_pcm_writei(pcm, silence.data(), 480) != -ENODEV)
        snd_pcm_prepare(pcm);
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

// ---- The calls of alsa-lib's own examples -------------------------------------------------------

/// As pcm_min: unsigned bytes with half a second of latency.
void playBytes() {
    snd_pcm_t* const pcm = open(SND_PCM_STREAM_PLAYBACK);
    check(snd_pcm_set_params(pcm, SND_PCM_FORMAT_U8, SND_PCM_ACCESS_RW_INTERLEAVED, 1, RATE, 1,
                             500'000),
          "snd_pcm_set_params");
    std::array<unsigned char, 16 * 1024> bytes = {};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 256);
    for (int round = 0; round < 3; ++round)
        if (snd_pcm_writei(pcm, bytes.data(), bytes.size()) != ssize_t{bytes.size()})
            throw std::runtime_error("short write");
    check(snd_pcm_drain(pcm), "snd_pcm_drain");
    check(snd_pcm_close(pcm), "snd_pcm_close");
}

constexpr snd_pcm_uframes_t HALF = 2048;  // of the latency, frames

void setLoop(snd_pcm_t* pcm) {
    snd_pcm_hw_params_t* hardware = nullptr;
    snd_pcm_hw_params_alloca(&hardware);
    snd_pcm_uframes_t buffer = 2 * HALF;
    snd_pcm_uframes_t period = HALF;
    check(snd_pcm_hw_params_any(pcm, hardware), "any");
    check(snd_pcm_hw_params_set_rate_resample(pcm, hardware, 1), "resample");
    check(snd_pcm_hw_params_set_access(pcm, hardware, SND_PCM_ACCESS_RW_INTERLEAVED), "access");
    check(snd_pcm_hw_params_set_format(pcm, hardware, SND_PCM_FORMAT_S16_LE), "format");
    check(snd_pcm_hw_params_set_channels(pcm, hardware, CHANNELS), "channels");
    check(snd_pcm_hw_params_set_rate(pcm, hardware, RATE, 0), "rate");
    check(snd_pcm_hw_params_set_buffer_size_near(pcm, hardware, &buffer), "buffer");
    check(snd_pcm_hw_params_set_period_size_near(pcm, hardware, &period, nullptr), "period");
    check(snd_pcm_hw_params(pcm, hardware), "snd_pcm_hw_params");
    snd_pcm_sw_params_t* software = nullptr;
    snd_pcm_sw_params_alloca(&software);
    check(snd_pcm_sw_params_current(pcm, software), "current");
    check(snd_pcm_sw_params_set_start_threshold(pcm, software, 0x7fffffff), "threshold");
    check(snd_pcm_sw_params_set_avail_min(pcm, software, 4), "avail_min");
    check(snd_pcm_sw_params(pcm, software), "snd_pcm_sw_params");
}

void writeAll(snd_pcm_t* pcm, const std::int16_t* samples, snd_pcm_uframes_t frames) {
    while (frames > 0) {
        const snd_pcm_sframes_t done = snd_pcm_writei(pcm, samples, frames);
        if (done == -EAGAIN) continue;
        check(done, "snd_pcm_writei");
        samples += CHANNELS * done;
        frames -= static_cast<snd_pcm_uframes_t>(done);
    }
}

void showStatus(snd_pcm_t* pcm, snd_output_t* out) {
    snd_pcm_status_t* status = nullptr;
    snd_pcm_status_alloca(&status);
    check(snd_pcm_status(pcm, status), "snd_pcm_status");
    snd_timestamp_t start = {};
    snd_pcm_status_get_trigger_tstamp(status, &start);
    if (start.tv_sec == 0) throw std::runtime_error("no time of the start");
    check(snd_pcm_status_dump(status, out), "snd_pcm_status_dump");
}

void copyThrough(snd_pcm_t* from, snd_pcm_t* to, snd_pcm_uframes_t frames) {
    Samples samples(CHANNELS * HALF);
    while (frames > 0) {
        check(snd_pcm_wait(from, 1000), "snd_pcm_wait");
        const snd_pcm_sframes_t got =
            snd_pcm_readi(from, samples.data(), std::min<snd_pcm_uframes_t>(frames, HALF));
        if (got == -EAGAIN) continue;
        check(got, "snd_pcm_readi");
        writeAll(to, samples.data(), static_cast<snd_pcm_uframes_t>(got));
        frames -= static_cast<snd_pcm_uframes_t>(got);
    }
}

/// As latency does, but for the link of the two, which alsa-lib has for its own cards only.
void loop() {
    snd_output_t* out = nullptr;
    check(snd_output_stdio_attach(&out, stdout, 0), "snd_output_stdio_attach");
    snd_pcm_t* const playback = open(SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    snd_pcm_t* const capture = open(SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);
    setLoop(playback);
    setLoop(capture);
    check(snd_pcm_prepare(playback), "snd_pcm_prepare");
    check(snd_pcm_dump(playback, out), "snd_pcm_dump");
    check(snd_pcm_dump(capture, out), "snd_pcm_dump");
    if (snd_pcm_link(capture, playback) != -ENOSYS) throw std::runtime_error("are linked");
    Samples silence(CHANNELS * HALF);
    snd_pcm_format_set_silence(SND_PCM_FORMAT_S16_LE, silence.data(), CHANNELS * HALF);
    writeAll(playback, silence.data(), HALF);
    writeAll(playback, silence.data(), HALF);
    check(snd_pcm_start(capture), "snd_pcm_start");
    check(snd_pcm_start(playback), "snd_pcm_start");
    copyThrough(capture, playback, RATE / 4);
    showStatus(playback, out);
    showStatus(capture, out);
    check(snd_pcm_drop(capture), "snd_pcm_drop");
    check(snd_pcm_nonblock(playback, 0), "snd_pcm_nonblock");
    check(snd_pcm_drain(playback), "snd_pcm_drain");
    check(snd_pcm_nonblock(playback, 1), "snd_pcm_nonblock");
    for (snd_pcm_t* const pcm : {playback, capture}) {
        check(snd_pcm_hw_free(pcm), "snd_pcm_hw_free");
        check(snd_pcm_close(pcm), "snd_pcm_close");
    }
    snd_output_close(out);
}

const std::map<std::string, void (*)()> DEEDS = {
    {"leave-open", leaveOpen},
    {"drain-and-leave-open", drainAndLeaveOpen},
    {"leave-open-in-a-child", leaveOpenInAChild},
    {"rest-prepared", restPrepared},
    {"rest-paused", restPaused},
    {"rest-drained", restDrained},
    {"rest-after-an-underrun", restAfterAnUnderrun},
    {"rest-lost", restLost},
    {"prepare-until-lost", prepareUntilLost},
    {"play-bytes", playBytes},
    {"loop", loop},
};

}  // namespace

int main(int argc, char** argv) {
    const auto deed = argc == 2 ? DEEDS.find(argv[1]) : DEEDS.end();
    if (deed == DEEDS.end()) return 2;
    try {
        deed->second();
    } catch (const std::exception& error) {
        std::puts(error.what());
        return 1;
    }
    return 0;
}
