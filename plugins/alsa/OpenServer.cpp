// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/OpenServer.h"

#include "plugins/common/LinkSetup.h"
#include "plugins/common/Surroundings.h"

#include <alsa/asoundlib.h>

#include <cerrno>

namespace cabinaudio::alsa {

int findServer(const std::string& instance, std::chrono::milliseconds wait) {
    if (plugin::isServer()) {
        SNDERR("the audio server cannot play to itself");
        return -EBUSY;
    }
    if (const int error = instance.empty() ? 0 : plugin::useInstance(instance); error != 0) {
        SNDERR("cannot use instance %s: %s", instance.c_str(), snd_strerror(error));
        return error;
    }
    plugin::prepareLibrary();
    if (plugin::serverAnswers(wait)) return 0;
    SNDERR("no audio server answers");
    return -ECONNREFUSED;
}

}  // namespace cabinaudio::alsa
