// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::board {

/// Opens the file that stands for the memory device, and makes it when it is not
/// there. Of `flags` the access mode and O_CLOEXEC count, as for a device. Places
/// that another user has taken are passed over.
/// @return a descriptor, or -1 with errno; EACCES when other users have taken every
///         place.
int openPhysicalMemory(int flags) noexcept;

/// Opens an object that answers the cache requests. Of `flags` O_CLOEXEC counts.
/// @return a descriptor, or -1 with errno.
int openCache(int flags) noexcept;

/// Whether `descriptor` came from openCache(), in this process or in one that
/// handed it over by dup, fork, exec or a socket. Leaves errno alone.
bool isCache(int descriptor) noexcept;

}  // namespace cabinaudio::board
