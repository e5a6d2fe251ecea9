// SPDX-License-Identifier: Apache-2.0
// Module of the development kit that takes the place of the real ones: it opens them beside the
// board's stand-in, so that a program needs no launcher.
#include "plugins/loader/Loader.h"

#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <alsa/pcm_external.h>
#include <dlfcn.h>

#include <cerrno>

namespace {

using namespace cabinaudio::plugin;

/// The function of a real module; null with a message.
template <typename Function>
Function* find(const char* module, const char* name) {
    void* const handle = loadModule(module, Scope::Module);
    if (handle == nullptr) SNDERR("%s", dlerror());
    return handle != nullptr ? reinterpret_cast<Function*>(dlsym(handle, name)) : nullptr;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

SND_PCM_PLUGIN_DEFINE_FUNC(cabinaudio) {
    static auto* const open = find<decltype(_snd_pcm_cabinaudio_open)>(
        "libasound_module_pcm_cabinaudio.so", "_snd_pcm_cabinaudio_open");
    return open != nullptr ? open(pcmp, name, root, conf, stream, mode) : -ENXIO;
}

SND_PCM_PLUGIN_SYMBOL(cabinaudio)

SND_CTL_PLUGIN_DEFINE_FUNC(cabinaudio) {
    static auto* const open = find<decltype(_snd_ctl_cabinaudio_open)>(
        "libasound_module_ctl_cabinaudio.so", "_snd_ctl_cabinaudio_open");
    return open != nullptr ? open(handlep, name, root, conf, mode) : -ENXIO;
}

SND_CTL_PLUGIN_SYMBOL(cabinaudio)
}
#pragma GCC visibility pop
