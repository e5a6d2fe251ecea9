// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/Text.h"

#include <sys/types.h>

#include <cstddef>

/// Mapping of the board's names to names on this machine. Nothing here is interposed or has state,
/// so the launcher uses the same code to remove an instance's leftovers.
namespace cabinaudio::board {

constexpr std::size_t INSTANCE_LENGTH = 32;

/// Directory of the shared-memory objects and of the physical-memory file.
constexpr char OBJECT_DIRECTORY[] = "/dev/shm";

/// True for a name of 1 to INSTANCE_LENGTH allowed characters.
bool isInstanceName(const char* name) noexcept;

/// The instance in the environment: "" for the common one, nullptr if not allowed.
const char* instanceInEnvironment() noexcept;

/// Number of names for the file behind the memory device: another user can take one of them before
/// its owner does.
constexpr unsigned PHYSICAL_MEMORY_PLACES = 64;

/// The file behind the memory device, in one of its places. Depends on no environment variable
/// except the instance, so that server and clients always agree.
void physicalMemoryPath(const char* instance, uid_t user, unsigned place, PathText& path) noexcept;

/// The directory that stands for CONFIG_DIRECTORY.
/// @return false with errno ENOENT when neither the configuration home nor the
///         home directory is known, ENAMETOOLONG when the path is too long.
bool configDirectory(const char* instance, PathText& path) noexcept;

/// Common prefix of all object names of an instance, without the slash.
void sharedMemoryPrefix(const char* instance, NameText& prefix) noexcept;

/// The name, with its slash, that stands for the object `name`, which may itself begin with
/// slashes. Unchanged for the common instance and for an empty name.
/// @return false with errno ENAMETOOLONG when it is too long for an object
bool sharedMemoryName(const char* instance, const char* name, NameText& mapped) noexcept;

}  // namespace cabinaudio::board
