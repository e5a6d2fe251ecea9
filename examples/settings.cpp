// SPDX-License-Identifier: Apache-2.0
// settings: shows or changes volumes and mutes.
//
//     settings [-v]                      shows all of the following
//     settings [-v] master DB            master volume, -103.5 to 24.0
//     settings [-v] TYPE DB              volume of a stream type, such as "media"
//     settings [-v] mute PATH            main, second, alternative or auxiliary
//     settings [-v] unmute PATH
//
// Exit status: 0 done, 1 refused, 2 wrong usage, 3 no server, or it does not reply.
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "log.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr const char* PATHS[] = {"main", "second", "alternative", "auxiliary"};

/// Reports a failure. @return the exit status for the status of a setting
int result(const char* what, int status) {
    if (status == AUDIO_NO_ERROR) return 0;
    const bool isAway = status == 1;  // the request got no reply
    std::fprintf(stderr, "settings: %s: %s (status %d)\n", what,
                 isAway                      ? "no server, or it does not answer"
                 : status == AUDIO_BAD_VALUE ? "out of range"
                                             : "the server refuses",
                 status);
    return isAway ? 3 : 1;
}

/// A volume is either a step, for user interfaces, or the corresponding gain. The argument's type
/// selects the overload: `unsigned char` is a step, `float` is dB.
int show(ClientVolumeSetting& volume) {
    unsigned char step = 0;
    float dB = 0;
    if (const int status = volume.getMasterVolume(&step); status != AUDIO_NO_ERROR)
        return result("master", status);
    if (const int status = volume.getMasterVolume(&dB); status != AUDIO_NO_ERROR)
        return result("master", status);
    std::printf("master %+.1f dB, step %d of 148\n", static_cast<double>(dB), step);

    for (const char* path : PATHS) {
        bool isMuted = false;
        if (const int status = volume.getMuteState(path, isMuted); status != AUDIO_NO_ERROR)
            return result(path, status);
        std::printf("path %s %s\n", path, isMuted ? "muted" : "heard");
    }

    std::vector<std::string> types;
    if (const int status = volume.getStreamTypeList(types); status != AUDIO_NO_ERROR)
        return result("types of streams", status);
    for (const std::string& type : types) {
        if (const int status = volume.getGainByStreamType(type.c_str(), dB);
            status != AUDIO_NO_ERROR)
            return result(type.c_str(), status);
        std::printf("type %s %+.1f dB\n", type.c_str(), static_cast<double>(dB));
    }
    return 0;
}

/// Accepts only text that is a number as a whole.
bool parse(const char* text, float& number) {
    char* end = nullptr;
    number = std::strtof(text, &end);
    return end != text && *end == '\0';
}

int usage() {
    std::fprintf(stderr, "usage: settings [-v] [master DB | TYPE DB | mute PATH | unmute PATH]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    hideLibraryLog(argc, argv);
    if (argc != 1 && argc != 3) return usage();
    // Limits every wait for a server that dies or hangs. Set before the first object is created.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    ClientVolumeSetting volume;  // connects; without a server the first request fails
    if (argc == 1) return show(volume);

    const char* const what = argv[1];
    if (std::strcmp(what, "mute") == 0) return result(what, volume.mute(argv[2], true));
    if (std::strcmp(what, "unmute") == 0) return result(what, volume.demute(argv[2], true));
    float dB = 0;
    if (!parse(argv[2], dB)) return usage();
    if (std::strcmp(what, "master") == 0) return result(what, volume.setMasterVolume(dB));
    return result(what, volume.setGainByStreamType(what, dB));
}
