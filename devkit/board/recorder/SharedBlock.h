// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/RecordHeader.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio::recorder {

/// Type of a block that readers skip: the upper half of the numbers is for local use.
constexpr std::uint32_t SHARED_BLOCK = 0x80000CAB;

/// A block of the capture that all recording processes change, under a lock of the file.
struct SharedBlock {
    std::uint32_t type;            // 0   SHARED_BLOCK
    std::uint32_t length;          // 4   of the block
    std::uint32_t lastConnection;  // 8   number of the newest connection
    std::uint32_t trailer;         // 12  = length
};
static_assert(sizeof(SharedBlock) == 16);
static_assert(offsetof(SharedBlock, lastConnection) == 8);
static_assert(offsetof(SharedBlock, trailer) == 12);

/// The beginning of a capture that the launcher writes and the recorder continues.
struct CaptureBeginning {
    trace::SectionBlock section = trace::SECTION;
    trace::InterfaceBlock interface = trace::INTERFACE;
    SharedBlock shared = {SHARED_BLOCK, sizeof(SharedBlock), 0, sizeof(SharedBlock)};
};
static_assert(sizeof(CaptureBeginning) == 76);
static_assert(offsetof(CaptureBeginning, shared) == 60);

}  // namespace cabinaudio::recorder
