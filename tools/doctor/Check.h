// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/ServerQuery.h"
#include "tools/StandardDescriptors.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// One finding of the doctor.
struct Check {
    std::string name;
    bool ok = false;             // a warning is ok, too
    Json value = nullptr;        // the finding as one word or number, for programs
    std::string detail = {};     // the finding in words
    std::string cure = {};       // remedy; empty when nothing is wrong
    Json more = Json::object();  // further figures, units in the keys
    bool warning = false;        // worth a look; may be intended
};

/// Whether library and server answer within `bound`.
[[nodiscard]] Check checkServer(const ServerQuery& query, std::chrono::milliseconds bound);
/// Whether this program and the loaded library match.
[[nodiscard]] Check checkVersions(const ServerQuery& query);
/// Whether the server is this user's.
[[nodiscard]] Check checkServerUser(const ServerQuery& query);
/// Whether the library's threads may have real-time scheduling, or the stand-in replaces it.
[[nodiscard]] Check checkRealTime();
[[nodiscard]] Check checkLogLibrary();
[[nodiscard]] Check checkSharedMemory();
[[nodiscard]] Check checkPhysicalMemory();
[[nodiscard]] Check checkCache();
[[nodiscard]] Check checkCLibrary();
/// Whether programs that speak ALSA, or GStreamer, find the plug-in and can load it. Where it is
/// not installed, all is well. Call only while this process has one thread.
[[nodiscard]] Check checkAlsaPlugin();
[[nodiscard]] Check checkGStreamerPlugin();
[[nodiscard]] Check checkDescriptors(const ClosedDescriptors& closed);

}  // namespace cabinaudio::tool
