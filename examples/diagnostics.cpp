// SPDX-License-Identifier: Apache-2.0
// diagnostics: shows versions and dumps, and makes the library dump the data of streams.
//
//     diagnostics [-v]                   versions, time of a request, current dumps
//     diagnostics [-v] dump TAG DIR      dumps the PCM of new streams with this tag into DIR, an
//                                        absolute path; most programs play with the tag "auxiliary"
//     diagnostics [-v] off               ends all dumps
//
// The dump commands work without a server: the settings are a file on the board, which
// cabinaudio-run emulates on a desktop.
//
// Exit status: 0 done, 1 failed, 2 wrong usage, 3 no server, or it does not reply (its version is
// unknown).
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/diag/AudioConfig.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/foundation/AudioTypes.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "log.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

/// The usage of dumps by applications. The server's own dumps have other usages.
constexpr char USAGE[] = "client";

constexpr const char* TAGS[] = {"main",   "alternative", "auxiliary", "uplink",
                                "input0", "input1",      "input2",    "input_front_feedback"};

int show() {
    ClientVersionSetting version;
    int library[3] = {}, build[3] = {};
    version.getClientVersions(library, build);
    std::printf("library %d.%d.%d\n", library[0], library[1], library[2]);

    AudioConfig config(true);  // read only
    for (const char* tag : TAGS)
        if (const AudioDumpItem* const item = config.getDumpItem(tag, USAGE))
            std::printf("dump %s %s\n", tag, item->outPath);

    int server[3] = {}, serverBuild[3] = {}, other[1] = {};
    const auto begin = AudioTime::now();
    if (version.initCheck() != AUDIO_NO_ERROR ||
        version.getServerVersions(server, serverBuild, other) != AUDIO_NO_ERROR) {
        std::fprintf(stderr, "diagnostics: no server, or it does not answer\n");
        return 3;
    }
    std::printf("server %d.%d.%d, answered after %llu us\n", server[0], server[1], server[2],
                static_cast<unsigned long long>(AudioTime::now() - begin));
    return 0;
}

int dump(const char* tag, const char* directory) {
    std::string name(tag);
    if (AudioTypes::getTagType(name) == AUDIO_TAG_UNKNOWN) {
        std::fprintf(stderr, "diagnostics: no tag is called %s\n", tag);
        return 2;
    }
    AudioDumpItem item{};
    // The directory is used by all programs, so it must not depend on a working directory.
    if (directory[0] != '/' || std::strlen(directory) >= sizeof item.outPath) {
        std::fprintf(stderr, "diagnostics: no absolute path: %s\n", directory);
        return 2;
    }
    std::strcpy(item.tag, tag);
    std::strcpy(item.usage, USAGE);
    std::strcpy(item.outPath, directory);
    AudioConfig(false).addDumpItem(item);  // written by the destructor

    // The destructor cannot report a failure, so read the item back.
    if (AudioConfig(true).getDumpItem(tag, USAGE) == nullptr) {
        std::fprintf(stderr, "diagnostics: cannot write the settings; see the log\n");
        return 1;
    }
    std::printf("dump %s %s\n", tag, directory);
    return 0;
}

int off() {
    AudioConfig config(false);
    config.clearDumpItem();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    hideLibraryLog(argc, argv);
    // Limits every wait for a server that dies or hangs. Set before the first object is created.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    if (argc == 1) return show();
    if (argc == 4 && std::strcmp(argv[1], "dump") == 0) return dump(argv[2], argv[3]);
    if (argc == 2 && std::strcmp(argv[1], "off") == 0) return off();
    std::fprintf(stderr, "usage: diagnostics [-v] [dump TAG DIR | off]\n");
    return 2;
}
