// SPDX-License-Identifier: Apache-2.0
//
// An ALSA device that can be unplugged: it is there as long as the file `present` exists. It plays
// at the pace of the system's clock, and appends the samples to the file `heard`.
#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned RATE = 48000;
constexpr unsigned CHANNELS = 2;

struct Card {
    snd_pcm_ioplug_t plugin = {};
    std::string present;
    std::string heard;
    int timer = -1;  // readable every 4 ms
    Clock::time_point start;
    std::uint64_t written = 0;  // frames since prepare()

    [[nodiscard]] bool isThere() const { return access(present.c_str(), F_OK) == 0; }
    [[nodiscard]] std::uint64_t played() const {
        const auto time =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
        return static_cast<std::uint64_t>(time.count()) * RATE / 1000000;
    }
};

Card& cardOf(const snd_pcm_ioplug_t* plugin) {
    return *static_cast<Card*>(plugin->private_data);
}

int start(snd_pcm_ioplug_t* plugin) {
    cardOf(plugin).start = Clock::now();
    return 0;
}

int stop(snd_pcm_ioplug_t*) {
    return 0;
}

int prepare(snd_pcm_ioplug_t* plugin) {
    Card& card = cardOf(plugin);
    card.written = 0;
    return card.isThere() ? 0 : -ENODEV;
}

snd_pcm_sframes_t pointer(snd_pcm_ioplug_t* plugin) {
    const Card& card = cardOf(plugin);
    if (plugin->state != SND_PCM_STATE_RUNNING && plugin->state != SND_PCM_STATE_DRAINING) return 0;
    const std::uint64_t played = card.played();
    if (played > card.written) return -EPIPE;
    return static_cast<snd_pcm_sframes_t>(played % plugin->buffer_size);
}

snd_pcm_sframes_t transfer(snd_pcm_ioplug_t* plugin, const snd_pcm_channel_area_t* areas,
                           snd_pcm_uframes_t offset, snd_pcm_uframes_t size) {
    Card& card = cardOf(plugin);
    if (!card.isThere()) return -ENODEV;
    const char* const samples =
        static_cast<const char*>(areas->addr) + (areas->first + areas->step * offset) / 8;
    std::FILE* const file = std::fopen(card.heard.c_str(), "ab");
    if (file == nullptr) return -EIO;
    const std::size_t taken = std::fwrite(samples, areas->step / 8, size, file);
    std::fclose(file);
    card.written += taken;
    return static_cast<snd_pcm_sframes_t>(taken);
}

int pollEvents(snd_pcm_ioplug_t* plugin, struct pollfd*, unsigned int, unsigned short* events) {
    std::uint64_t ticks = 0;
    *events = read(cardOf(plugin).timer, &ticks, sizeof ticks) > 0 ? POLLOUT : 0;
    return 0;
}

int closeCard(snd_pcm_ioplug_t* plugin) {
    const std::unique_ptr<Card> card(&cardOf(plugin));
    close(card->timer);
    return 0;
}

const snd_pcm_ioplug_callback_t CALLBACKS = [] {
    snd_pcm_ioplug_callback_t callbacks = {};
    callbacks.start = start;
    callbacks.stop = stop;
    callbacks.pointer = pointer;
    callbacks.transfer = transfer;
    callbacks.close = closeCard;
    callbacks.prepare = prepare;
    callbacks.poll_revents = pollEvents;
    return callbacks;
}();

int makeTimer() {
    const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    const struct timespec tick = {0, 4000000};
    const struct itimerspec times = {tick, tick};
    timerfd_settime(timer, 0, &times, nullptr);
    return timer;
}

int limitTo(snd_pcm_ioplug_t& plugin, int parameter, unsigned value) {
    return snd_pcm_ioplug_set_param_minmax(&plugin, parameter, value, value);
}

int describe(snd_pcm_ioplug_t& plugin) {
    const std::array<unsigned, 1> access = {SND_PCM_ACCESS_RW_INTERLEAVED};
    const std::array<unsigned, 1> format = {SND_PCM_FORMAT_S16_LE};
    snd_pcm_ioplug_set_param_list(&plugin, SND_PCM_IOPLUG_HW_ACCESS, 1, access.data());
    snd_pcm_ioplug_set_param_list(&plugin, SND_PCM_IOPLUG_HW_FORMAT, 1, format.data());
    limitTo(plugin, SND_PCM_IOPLUG_HW_CHANNELS, CHANNELS);
    limitTo(plugin, SND_PCM_IOPLUG_HW_RATE, RATE);
    snd_pcm_ioplug_set_param_minmax(&plugin, SND_PCM_IOPLUG_HW_PERIOD_BYTES, 1024, 16384);
    return snd_pcm_ioplug_set_param_minmax(&plugin, SND_PCM_IOPLUG_HW_PERIODS, 2, 16);
}

std::string textIn(snd_config_t* conf, const char* key) {
    snd_config_t* found = nullptr;
    const char* text = nullptr;
    if (snd_config_search(conf, key, &found) < 0 || snd_config_get_string(found, &text) < 0)
        return {};
    return text;
}

}  // namespace

// The names and the version symbols are those that the ALSA library looks for.
extern "C" {

SND_PCM_PLUGIN_DEFINE_FUNC(removable) {
    (void)root;
    auto card = std::make_unique<Card>();
    card->present = textIn(conf, "present");
    card->heard = textIn(conf, "heard");
    if (!card->isThere()) return -ENODEV;
    card->timer = makeTimer();
    snd_pcm_ioplug_t& plugin = card->plugin;
    plugin.version = SND_PCM_IOPLUG_VERSION;
    plugin.name = "removable";
    plugin.callback = &CALLBACKS;
    plugin.private_data = card.get();
    plugin.poll_fd = card->timer;
    plugin.poll_events = POLLIN;
    if (const int error = snd_pcm_ioplug_create(&plugin, name, stream, mode); error < 0) {
        close(card->timer);
        return error;
    }
    *pcmp = card.release()->plugin.pcm;  // closeCard() frees it
    return describe(plugin);
}

SND_PCM_PLUGIN_SYMBOL(removable)
}
