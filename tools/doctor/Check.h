// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/ServerQuery.h"
#include "tools/StandardDescriptors.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// What the doctor has found out about one thing.
struct Check {
    std::string name;
    bool ok = false;
    Json value = nullptr;        // the finding in one word or number, for programs
    std::string detail = {};     // the finding, for people
    std::string cure = {};       // what to do about it; empty when all is well
    Json more = Json::object();  // further figures, units in the keys
};

/// The library's answer and the server's, within `bound`.
[[nodiscard]] Check checkServer(const ServerQuery& query, std::chrono::milliseconds bound);
/// This program and the library that it has loaded belong together.
[[nodiscard]] Check checkVersions(const ServerQuery& query);
/// The library's threads may have real-time scheduling, or the stand-in replaces it.
[[nodiscard]] Check checkRealTime();
[[nodiscard]] Check checkLogLibrary();
[[nodiscard]] Check checkSharedMemory();
[[nodiscard]] Check checkPhysicalMemory();
[[nodiscard]] Check checkCache();
[[nodiscard]] Check checkCLibrary();
[[nodiscard]] Check checkDescriptors(const ClosedDescriptors& closed);

}  // namespace cabinaudio::tool
