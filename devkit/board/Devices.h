// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::board {

/// Opens the file that stands for the memory device, and creates it when it does not exist. Of
/// `flags`, the access mode and O_CLOEXEC are used, as for a device. Places taken by other users
/// are skipped.
/// @return a descriptor, or -1 with errno; EACCES when other users have taken every
///         place
int openPhysicalMemory(int flags) noexcept;

/// Opens an object that accepts the cache requests. Of `flags`, O_CLOEXEC is used.
/// @return a descriptor, or -1 with errno.
int openCache(int flags) noexcept;

/// Whether `descriptor` came from openCache(), in this process or in one that passed it on by dup,
/// fork, exec or a socket. Preserves errno.
bool isCache(int descriptor) noexcept;

}  // namespace cabinaudio::board
