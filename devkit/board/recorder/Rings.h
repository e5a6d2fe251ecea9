// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/recorder/Ring.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

/// The rings that the application has mapped. A ring is recognised by the names and addresses in
/// the conversations.
namespace cabinaudio::recorder {

/// The application has opened a shared-memory object.
void noteObject(int descriptor, const char* name) noexcept;

/// The descriptor will be closed.
void forgetObject(int descriptor) noexcept;

/// The application has mapped pages of a file, shared.
void noteMapping(void* at, std::size_t length, int descriptor, off64_t offset) noexcept;

/// The application will unmap pages.
void endMapping(const void* at) noexcept;

/// The application has cleaned or invalidated the cache for a piece of memory. Waits for no file.
/// @param start  lower half of the address in the application's mapping
void noteCacheRequest(std::uint32_t start, std::uint32_t length) noexcept;

/// A call that posts a semaphore or waits for it has ended.
/// @param waitedUs  0 for a post
void noteSemaphoreCall(const void* semaphore, trace::RingEvent event,
                       std::uint64_t waitedUs) noexcept;

/// Whether there is any ring: otherwise the functions above have nothing to do.
[[nodiscard]] bool hasRings() noexcept;

/// Samples, and writes sound and summaries that are due.
void recordRings(bool isLast) noexcept;

/// In the child of a fork: the rings are the parent's.
void dropRings() noexcept;

}  // namespace cabinaudio::recorder
