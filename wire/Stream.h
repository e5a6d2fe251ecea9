// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "wire/Layout.h"

#include <cstddef>
#include <cstdint>

// Requests and notifications of streams. Every request payload begins with the function id, every
// reply body with the status. Playback and capture number their requests differently.
namespace cabinaudio::wire {

/// Function ids on the connection of a playback stream.
enum class StreamFunction : std::uint32_t {
    Start = 6,
    Stop = 7,
    InitCheck = 8,
    WriteDone = 12,
    SourceDeactivated = 19,  // a sink has released its ring
    GetShareMemory = 20,
    Create = 21,
    SetKeyShift = 22,
};

/// Function ids on the connection of a capture stream.
enum class CaptureFunction : std::uint32_t {
    Create = 2,
    Start = 6,
    Stop = 7,
    SetVolume = 8,
    GetVolume = 9,
    InitCheck = 10,
    GetShareMemory = 18,     // uplink
    RemoveShareMemory = 19,  // uplink
};

/// Notifications to a track.
enum class TrackEvent : std::uint32_t {
    RingReady = 3,
    Finished = 4,
    Removed = 255,
};

/// Notifications to a sink. The numbers differ from those of a track.
enum class SinkEvent : std::uint32_t {
    SourceActivated = 3,
    SourceDeactivated = 4,
    Finished = 5,
    Removed = 255,
};

/// Notifications to a capture stream.
enum class CaptureEvent : std::uint32_t {
    RingState = 2,  // uplink; value 0: the ring is gone, else it is ready
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
    std::uint32_t function;    // 0   StreamFunction::Create or CaptureFunction::Create
    std::uint32_t tag;         // 4   AudioTagType
    AudioFormatDesc format;    // 8
    std::int32_t streamParam;  // 32  the application's, forwarded unchanged
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
    std::int32_t status;          // 0   0 = accepted
    std::uint32_t spare4;         // 4
    std::uint32_t ringSize;       // 8   bytes; for a ring that is not announced
    std::int32_t perLoopSize;     // 12  bytes per server period
    std::int32_t perLoopTime;     // 16  ms; capture only
    std::int32_t perLoopSamples;  // 20  frames; capture only
    std::uint32_t spare24;        // 24
};
static_assert(Layout<CreateReply>);
static_assert(sizeof(CreateReply) == 28);
static_assert(offsetof(CreateReply, status) == 0);
static_assert(offsetof(CreateReply, spare4) == 4);
static_assert(offsetof(CreateReply, ringSize) == 8);
static_assert(offsetof(CreateReply, perLoopSize) == 12);
static_assert(offsetof(CreateReply, perLoopTime) == 16);
static_assert(offsetof(CreateReply, perLoopSamples) == 20);
static_assert(offsetof(CreateReply, spare24) == 24);

/// Reply to GetShareMemory of playback and capture.
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

/// A float has no unique representation, so this record does not satisfy Layout; it has no padding.
struct KeyShiftRequest {
    std::uint32_t function;  // 0   StreamFunction::SetKeyShift
    float key;               // 4   0.8 to 1.2
};
static_assert(sizeof(KeyShiftRequest) == 8);
static_assert(offsetof(KeyShiftRequest, function) == 0);
static_assert(offsetof(KeyShiftRequest, key) == 4);
static_assert(sizeof(float) == 4);

/// CaptureFunction::SetVolume; its reply is a status.
struct VolumeRequest {
    std::uint32_t function;  // 0
    std::int32_t volume;     // 4   0 to 100
};
static_assert(Layout<VolumeRequest>);
static_assert(sizeof(VolumeRequest) == 8);
static_assert(offsetof(VolumeRequest, function) == 0);
static_assert(offsetof(VolumeRequest, volume) == 4);

/// Reply to CaptureFunction::GetVolume.
struct VolumeReply {
    std::int32_t status;  // 0
    std::int32_t volume;  // 4
};
static_assert(Layout<VolumeReply>);
static_assert(sizeof(VolumeReply) == 8);
static_assert(offsetof(VolumeReply, status) == 0);
static_assert(offsetof(VolumeReply, volume) == 4);

}  // namespace cabinaudio::wire
