// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>

/// Allocates `size` uninitialised bytes. Never returns null: when memory is exhausted it logs an
/// assertion and aborts the process, so callers need no failure path. Any thread. Release with
/// AudioNormalFree.
[[nodiscard]] CABINAUDIO_API void* AudioNormalMalloc(std::uint32_t size);

/// Resizes a block of AudioNormalMalloc (or null) to `size` bytes; aborts on exhaustion like
/// AudioNormalMalloc. `ptr` is invalid afterwards. Must not be called with size 0: the C library
/// then returns null, which counts as exhaustion.
[[nodiscard]] CABINAUDIO_API void* AudioNormalRealloc(void* ptr, std::uint32_t size);

/// Releases a block of AudioNormalMalloc or AudioNormalRealloc; null is allowed.
CABINAUDIO_API void AudioNormalFree(void* ptr);
