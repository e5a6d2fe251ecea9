// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/Names.h"

#include "devkit/board/Board.h"

#include <cerrno>
#include <cstdlib>

namespace cabinaudio::board {
namespace {

constexpr char TAKEN_BY_THE_CONFIG_FILE[] = "audio_config";

bool isInstanceCharacter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
}

/// Relative paths are ignored: they would name a different directory in each process.
const char* absolutePathInEnvironment(const char* variable) noexcept {
    const char* path = getenv(variable);
    return path != nullptr && path[0] == '/' ? path : nullptr;
}

bool completed(const PathText& path) noexcept {
    if (!path.fits()) errno = ENAMETOOLONG;
    return path.fits();
}

}  // namespace

bool isInstanceName(const char* name) noexcept {
    std::size_t length = 0;
    while (name[length] != '\0') {
        if (length == INSTANCE_LENGTH || !isInstanceCharacter(name[length])) return false;
        ++length;
    }
    return length != 0 && strcmp(name, TAKEN_BY_THE_CONFIG_FILE) != 0;
}

const char* instanceInEnvironment() noexcept {
    const char* instance = getenv(INSTANCE_VARIABLE);
    if (instance == nullptr || instance[0] == '\0') return "";
    return isInstanceName(instance) ? instance : nullptr;
}

void physicalMemoryPath(const char* instance, uid_t user, unsigned place, PathText& path) noexcept {
    path.append(OBJECT_DIRECTORY).append("/cabinaudio-physmem-");
    path.append(static_cast<unsigned long>(user));
    if (instance[0] != '\0') path.append("-").append(instance);
    if (place != 0) path.append(".").append(static_cast<unsigned long>(place));
}

bool configDirectory(const char* instance, PathText& path) noexcept {
    const char* given = getenv(CONFIG_DIRECTORY_VARIABLE);
    if (given != nullptr && given[0] != '\0') {
        path.append(given);
        return completed(path);
    }
    if (const char* configHome = absolutePathInEnvironment("XDG_CONFIG_HOME")) {
        path.append(configHome);
    } else if (const char* home = absolutePathInEnvironment("HOME")) {
        path.append(home).append("/.config");
    } else {
        errno = ENOENT;
        return false;
    }
    path.append("/cabinaudio");
    if (instance[0] != '\0') path.append("/").append(instance);
    return completed(path);
}

void sharedMemoryPrefix(const char* instance, NameText& prefix) noexcept {
    prefix.append("cabinaudio.").append(instance).append(".");
}

bool sharedMemoryName(const char* instance, const char* name, NameText& mapped) noexcept {
    const char* object = name + strspn(name, "/");
    if (instance[0] != '\0' && object[0] != '\0') {
        mapped.append("/");
        sharedMemoryPrefix(instance, mapped);
        mapped.append(object);
    } else {
        mapped.append(name);
    }
    if (!mapped.fits()) errno = ENAMETOOLONG;
    return mapped.fits();
}

}  // namespace cabinaudio::board
