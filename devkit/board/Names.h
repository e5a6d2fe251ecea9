// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/Text.h"

#include <sys/types.h>

#include <cstddef>

/// How the board's names are mapped to names on this machine. Nothing here is
/// interposed and nothing has state, so that the launcher uses the same code to
/// remove what an instance has left behind.
namespace cabinaudio::board {

constexpr std::size_t kInstanceLength = 32;

/// Directory of the shared-memory objects and of the physical-memory file.
constexpr char kObjectDirectory[] = "/dev/shm";

/// True for a name of 1 to kInstanceLength allowed characters.
bool isInstanceName(const char* name) noexcept;

/// The instance in the environment: "" for the common one, nullptr if not allowed.
const char* instanceInEnvironment() noexcept;

/// Names that the file behind the memory device may have: another user can take
/// one of them before its owner does.
constexpr unsigned kPhysicalMemoryPlaces = 64;

/// The file behind the memory device, in one of its places. Independent of every
/// environment variable but the instance, so that server and clients agree always.
void physicalMemoryPath(const char* instance, uid_t user, unsigned place, PathText& path) noexcept;

/// The directory that stands for kConfigDirectory.
/// @return false with errno ENOENT when neither the configuration home nor the
///         home directory is known, ENAMETOOLONG when the path is too long.
bool configDirectory(const char* instance, PathText& path) noexcept;

/// What every object name of an instance begins with, without the slash.
void sharedMemoryPrefix(const char* instance, NameText& prefix) noexcept;

/// The name, with its slash, that stands for the object `name`, which may begin
/// with slashes itself. Unchanged for the common instance and for an empty name.
/// @return false with errno ENAMETOOLONG when it is too long to exist.
bool sharedMemoryName(const char* instance, const char* name, NameText& mapped) noexcept;

}  // namespace cabinaudio::board
