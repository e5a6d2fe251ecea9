// SPDX-License-Identifier: Apache-2.0
// settings: shows the volumes, or changes them.
//
//     settings                      all that follows
//     settings master DB            master volume, -103.5 to 24.0
//     settings TYPE DB              volume of a type of stream, "media" for instance
//     settings mute PATH            main, second, alternative or auxiliary
//     settings unmute PATH
//
// Exit status: 0 done, 1 refused, 2 wrong usage, 3 no server, or it does not answer.
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/LinkPolicy.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr const char* kPaths[] = {"main", "second", "alternative", "auxiliary"};

/// @return the exit status that goes with the status of a setting
int result(const char* what, int status) {
    if (status == AUDIO_NO_ERROR) return 0;
    const bool isAway = status == 1;  // the request was not answered
    std::fprintf(stderr, "settings: %s: %s (status %d)\n", what,
                 isAway                      ? "no server, or it does not answer"
                 : status == AUDIO_BAD_VALUE ? "out of range"
                                             : "the server refuses",
                 status);
    return isAway ? 3 : 1;
}

/// A volume is one number in two units: a step, which users turn, and the gain that it stands for.
/// Which overload is called decides: `unsigned char` is a step, `float` is dB.
int show(ClientVolumeSetting& volume) {
    unsigned char step = 0;
    float dB = 0;
    if (const int status = volume.getMasterVolume(&step); status != AUDIO_NO_ERROR)
        return result("master", status);
    if (const int status = volume.getMasterVolume(&dB); status != AUDIO_NO_ERROR)
        return result("master", status);
    std::printf("master %+.1f dB, step %d of 148\n", static_cast<double>(dB), step);

    for (const char* path : kPaths) {
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

/// The whole text has to be a number.
bool parse(const char* text, float& number) {
    char* end = nullptr;
    number = std::strtof(text, &end);
    return end != text && *end == '\0';
}

int usage() {
    std::fprintf(stderr, "usage: settings [master DB | TYPE DB | mute PATH | unmute PATH]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 1 && argc != 3) return usage();
    // A server that dies or stands still must not keep this program for ever: set before the first
    // object is made.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    ClientVolumeSetting volume;  // connects; without a server the first request says so
    if (argc == 1) return show(volume);

    const char* const what = argv[1];
    if (std::strcmp(what, "mute") == 0) return result(what, volume.mute(argv[2], true));
    if (std::strcmp(what, "unmute") == 0) return result(what, volume.demute(argv[2], true));
    float dB = 0;
    if (!parse(argv[2], dB)) return usage();
    if (std::strcmp(what, "master") == 0) return result(what, volume.setMasterVolume(dB));
    return result(what, volume.setGainByStreamType(what, dB));
}
