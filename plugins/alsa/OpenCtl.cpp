// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Ctl.h"
#include "plugins/alsa/Guarded.h"
#include "plugins/alsa/OpenServer.h"
#include "plugins/alsa/ServerConfig.h"
#include "plugins/common/LinkSetup.h"

#include <cerrno>

namespace cabinaudio::alsa {

namespace {

int openCtl(snd_ctl_t** handle, const char* name, snd_config_t* root, snd_config_t* definition,
            int mode) {
    ServerConfig config;
    const auto readKey = [&config](const std::string& key, const snd_config_t* entry) {
        return config.readKey(key, entry);
    };
    if (const int error = readDefinition(definition, readKey); error != 0) return error;
    if (const int error = findServer(config.instance, config.wait); error != 0) {
        if (error != -ECONNREFUSED || config.fallback.empty())
            return error == -ECONNREFUSED ? -ENODEV : error;
        return snd_ctl_open_fallback(handle, root, config.fallback.c_str(), name, mode);
    }
    plugin::silenceLog();
    auto ctl = std::make_unique<Ctl>();
    if (const int error = ctl->create(name, mode); error < 0) return error;
    *handle = ctl->handle();
    static_cast<void>(ctl.release());  // alsa-lib's from here on
    return 0;
}

}  // namespace
}  // namespace cabinaudio::alsa

#pragma GCC visibility push(default)
extern "C" {

SND_CTL_PLUGIN_DEFINE_FUNC(cabinaudio) {
    return cabinaudio::alsa::guarded(
        [=] { return cabinaudio::alsa::openCtl(handlep, name, root, conf, mode); });
}

SND_CTL_PLUGIN_SYMBOL(cabinaudio)
}
#pragma GCC visibility pop
