// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "wire/Layout.h"

#include <cstddef>
#include <cstdint>

// Requests and notifications of playback streams. Every request payload begins with the function
// id, every reply body with the status.
namespace cabinaudio::wire {

/// Function ids on the connection of a playback stream.
enum class StreamFunction : std::uint32_t {
    Start = 6,
    Stop = 7,
    InitCheck = 8,
    WriteDone = 12,
    GetShareMemory = 20,
    Create = 21,
    SetKeyShift = 22,
};

/// Notifications to a track.
enum class TrackEvent : std::uint32_t {
    RingReady = 3,
    Finished = 4,
    Removed = 255,
};

/// A request that is a function id and nothing else.
struct FunctionRequest {
    std::uint32_t function;  // 0
};
static_assert(Layout<FunctionRequest>);
static_assert(sizeof(FunctionRequest) == 4);

/// A reply that is a status and nothing else.
struct StatusReply {
    std::int32_t status;  // 0
};
static_assert(Layout<StatusReply>);
static_assert(sizeof(StatusReply) == 4);

struct CreateRequest {
    std::uint32_t function;    // 0   StreamFunction::Create
    std::uint32_t tag;         // 4   AudioTagType
    AudioFormatDesc format;    // 8
    std::int32_t streamParam;  // 32  the application's, forwarded as it is
    std::int32_t pid;          // 36  of the requesting process
};
static_assert(Layout<CreateRequest>);
static_assert(sizeof(CreateRequest) == 40);
static_assert(offsetof(CreateRequest, function) == 0);
static_assert(offsetof(CreateRequest, tag) == 4);
static_assert(offsetof(CreateRequest, format) == 8);
static_assert(offsetof(CreateRequest, streamParam) == 32);
static_assert(offsetof(CreateRequest, pid) == 36);

struct CreateReply {
    std::int32_t status;       // 0   0 = accepted
    std::uint32_t spare4;      // 4
    std::uint32_t ringSize;    // 8   bytes; read by alternative tracks
    std::int32_t perLoopSize;  // 12  bytes per write step
    std::uint32_t spare16[3];  // 16
};
static_assert(Layout<CreateReply>);
static_assert(sizeof(CreateReply) == 28);
static_assert(offsetof(CreateReply, status) == 0);
static_assert(offsetof(CreateReply, spare4) == 4);
static_assert(offsetof(CreateReply, ringSize) == 8);
static_assert(offsetof(CreateReply, perLoopSize) == 12);
static_assert(offsetof(CreateReply, spare16) == 16);

/// Reply to GetShareMemory.
struct ShareMemoryReply {
    std::int32_t status;    // 0
    std::uint32_t address;  // 4   physical address of the ring's data
    std::uint32_t size;     // 8   bytes
};
static_assert(Layout<ShareMemoryReply>);
static_assert(sizeof(ShareMemoryReply) == 12);
static_assert(offsetof(ShareMemoryReply, status) == 0);
static_assert(offsetof(ShareMemoryReply, address) == 4);
static_assert(offsetof(ShareMemoryReply, size) == 8);

/// A float has no unique representation, so this one is not a Layout; it holds no padding.
struct KeyShiftRequest {
    std::uint32_t function;  // 0   StreamFunction::SetKeyShift
    float key;               // 4   0.8 to 1.2
};
static_assert(sizeof(KeyShiftRequest) == 8);
static_assert(offsetof(KeyShiftRequest, function) == 0);
static_assert(offsetof(KeyShiftRequest, key) == 4);
static_assert(sizeof(float) == 4);

}  // namespace cabinaudio::wire
