// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Guarded.h"
#include "plugins/alsa/OpenServer.h"
#include "plugins/alsa/Pcm.h"
#include "plugins/common/Surroundings.h"

#include <cerrno>
#include <utility>

namespace cabinaudio::alsa {

namespace {

/// Rings in shared memory can be had everywhere.
AudioTagType usualTag(snd_pcm_stream_t direction) {
    if (direction == SND_PCM_STREAM_CAPTURE) return AUDIO_TAG_INPUT0;
    return plugin::hasPhysicalMemory() ? AUDIO_TAG_AUXILIARY : AUDIO_TAG_ALTERNATIVE;
}

int makePcm(PcmConfig config, const char* name, snd_pcm_stream_t direction, int mode,
            snd_pcm_t** handle) {
    if (config.tag == AUDIO_TAG_UNKNOWN) config.tag = usualTag(direction);
    auto pcm = std::make_unique<Pcm>(std::move(config), direction);
    if (const int error = pcm->create(name, mode); error < 0) return error;
    Pcm* const ofAlsa = pcm.release();  // closing the handle deletes it
    if (const int error = ofAlsa->limitParameters(); error < 0) {
        snd_pcm_close(ofAlsa->handle());
        return error;
    }
    *handle = ofAlsa->handle();
    return 0;
}

}  // namespace

int openPcm(snd_pcm_t** handle, const char* name, snd_config_t* root, snd_config_t* definition,
            snd_pcm_stream_t direction, int mode) {
    PcmConfig config;
    if (const int error = config.read(definition, direction); error != 0) return error;
    const int error = findServer(config.instance, config.wait);
    if (error == 0) return makePcm(config, name, direction, mode, handle);
    if (error == -ECONNREFUSED && !config.fallback.empty())
        return snd_pcm_open_fallback(handle, root, config.fallback.c_str(), name, direction, mode);
    return error;
}

}  // namespace cabinaudio::alsa

#pragma GCC visibility push(default)
extern "C" {

SND_PCM_PLUGIN_DEFINE_FUNC(cabinaudio) {
    return cabinaudio::alsa::guarded(
        [=] { return cabinaudio::alsa::openPcm(pcmp, name, root, conf, stream, mode); });
}

SND_PCM_PLUGIN_SYMBOL(cabinaudio)
}
#pragma GCC visibility pop
