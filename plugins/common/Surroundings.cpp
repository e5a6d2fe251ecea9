// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/Surroundings.h"

#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "plugins/common/LinkSetup.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace cabinaudio::plugin {

namespace {

constexpr char INSTANCE_VARIABLE[] = "CABINAUDIO_INSTANCE";
constexpr std::chrono::milliseconds RETRY{50};

constexpr char STAND_IN[] = "libcabinaudio-board.so";

/// The stand-in's function of this name; null without the stand-in. The stand-in may be visible to
/// the library only, not to this module.
template <typename Function>
Function* ofStandIn(const char* name) {
    void* found = dlsym(RTLD_DEFAULT, name);
    if (void* const loaded = dlopen(STAND_IN, RTLD_LAZY | RTLD_NOLOAD)) {
        found = dlsym(loaded, name);
        dlclose(loaded);
    }
    return reinterpret_cast<Function*>(found);
}

/// The instance that the stand-in uses, null for an invalid one; nothing without the stand-in.
using InstanceFunction = const char*();

bool serverAnswersNow() {
    const SilentLog silent;
    ClientVersionSetting version;
    return version.initCheck() == AUDIO_NO_ERROR;
}

}  // namespace

bool hasPhysicalMemory() {
    return ofStandIn<int()>("cabinaudio_board_active") != nullptr ||
           access("/dev/cache", R_OK | W_OK) == 0;
}

bool needsPhysicalMemory(AudioTagType tag) {
    switch (tag) {
        case AUDIO_TAG_MAIN:
        case AUDIO_TAG_AUXILIARY:
        case AUDIO_TAG_OUTPUT_INVOCATION:
        case AUDIO_TAG_UPLINK:
            return true;
        default:
            return false;
    }
}

bool isServer() {
    return std::string_view(program_invocation_short_name) == "cabinaudio-server";
}

bool serverAnswers(std::chrono::milliseconds patience) {
    const std::uint64_t begin = AudioTime::now();
    const auto bound = static_cast<std::uint64_t>(std::max<long long>(patience.count(), 0)) * 1000;
    while (!serverAnswersNow()) {
        if (AudioTime::now() - begin >= bound) return false;
        AudioTime::sleep(static_cast<std::uint64_t>(RETRY.count()) * 1000);
    }
    return true;
}

int useInstance(const std::string& instance) {
    auto* const current = ofStandIn<InstanceFunction>("cabinaudio_board_instance");
    if (current == nullptr) return instance.empty() ? 0 : -ENOTSUP;
    const char* const before = current();
    if (before != nullptr && instance == before) return 0;
    if (std::getenv(INSTANCE_VARIABLE) != nullptr) return -EBUSY;
    if (setenv(INSTANCE_VARIABLE, instance.c_str(), 1) != 0) return -errno;
    if (current() != nullptr) return 0;
    unsetenv(INSTANCE_VARIABLE);
    return -EINVAL;
}

}  // namespace cabinaudio::plugin
