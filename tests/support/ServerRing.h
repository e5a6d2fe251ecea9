// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "tests/support/ScriptedServer.h"

#include <cstdint>
#include <memory>

namespace cabinaudio::test {

/// Where tests let the data of physical rings lie.
constexpr unsigned RING_ADDRESS = 0x100000;

/// The server's end of a ring in one shared-memory object: its creator, which reads or writes as
/// the test likes and wakes a client that asked for it. Must go before another one of the same name
/// is made, whose name it would remove.
[[nodiscard]] std::unique_ptr<ShareMemoryEx> posixRing(const char* name, unsigned size);

/// The same for a ring whose data lies in physical memory.
[[nodiscard]] std::unique_ptr<ShareMemoryEx> physicalRing(const char* name, unsigned size,
                                                          unsigned address = RING_ADDRESS);

/// Puts all of `bytes` into the ring in one write. @return whether there was room
[[nodiscard]] bool put(ShareMemoryEx& ring, const Bytes& bytes);

/// `count` bytes of which neighbours differ.
[[nodiscard]] Bytes pattern(std::size_t count, unsigned start = 0);

/// Little-endian bytes of 32-bit words.
[[nodiscard]] Bytes bytesOf(std::initializer_list<std::uint32_t> words);

}  // namespace cabinaudio::test
