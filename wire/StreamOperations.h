// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "wire/Stream.h"

#include <array>
#include <tuple>

// Catalogue of the operations on the connections of streams. The library does not use it: it is for
// tools, servers and tests that need the records of a function at run time.
namespace cabinaudio::wire {

/// An operation with its records.
template <auto FUNCTION, typename RequestRecord, typename ReplyRecord>
struct StreamOperation {
    using Request = RequestRecord;
    using Reply = ReplyRecord;
    static constexpr auto ID = FUNCTION;

    const char* name;     // in traces
    const char* meaning;  // for the documents
    bool hasFlag = true;  // sent under the command word with the flag
};

constexpr bool UNFLAGGED = false;

/// Connection types of each kind of stream.
inline constexpr std::array SINK_CONNECTIONS{AUDIO_CONNECT_MAIN};
inline constexpr std::array TRACK_CONNECTIONS{AUDIO_CONNECT_ALTERNATIVE, AUDIO_CONNECT_AUXILIARY,
                                              AUDIO_CONNECT_OUTPUT_INVOCATION};
inline constexpr std::array CAPTURE_CONNECTIONS{AUDIO_CONNECT_INPUT0, AUDIO_CONNECT_INPUT1,
                                                AUDIO_CONNECT_INPUT2,
                                                AUDIO_CONNECT_INPUT_FRONT_FEEDBACK};
inline constexpr std::array UPLINK_CONNECTIONS{AUDIO_CONNECT_UPLINK};

inline constexpr std::tuple SINK_OPERATIONS{
    StreamOperation<StreamFunction::Start, FunctionRequest, StatusReply>{"start",
                                                                         "starts the stream"},
    StreamOperation<StreamFunction::Stop, FunctionRequest, StatusReply>{"stop", "stops the stream"},
    StreamOperation<StreamFunction::WriteDone, FunctionRequest, StatusReply>{
        "writeDone", "no more data follows"},
    StreamOperation<StreamFunction::SourceDeactivated, FunctionRequest, StatusReply>{
        "sourceDeactivated", "acknowledges the withdrawal of the source"},
    StreamOperation<StreamFunction::GetShareMemory, FunctionRequest, ShareMemoryReply>{
        "getShareMemory", "address of the ring"},
    StreamOperation<StreamFunction::Create, CreateRequest, CreateReply>{"create",
                                                                        "creates the stream"},
};

inline constexpr std::tuple TRACK_OPERATIONS{
    StreamOperation<StreamFunction::Start, FunctionRequest, StatusReply>{"start",
                                                                         "starts the stream"},
    StreamOperation<StreamFunction::Stop, FunctionRequest, StatusReply>{"stop", "stops the stream"},
    StreamOperation<StreamFunction::InitCheck, FunctionRequest, StatusReply>{
        "initCheck", "whether the stream is usable", UNFLAGGED},
    StreamOperation<StreamFunction::WriteDone, FunctionRequest, StatusReply>{
        "writeDone", "no more data follows"},
    StreamOperation<StreamFunction::GetShareMemory, FunctionRequest, ShareMemoryReply>{
        "getShareMemory", "address of the ring"},
    StreamOperation<StreamFunction::Create, CreateRequest, CreateReply>{"create",
                                                                        "creates the stream"},
    StreamOperation<StreamFunction::SetKeyShift, KeyShiftRequest, StatusReply>{
        "setKeyShift", "shifts the key, 0.8 to 1.2"},
};

inline constexpr std::tuple CAPTURE_OPERATIONS{
    StreamOperation<CaptureFunction::Create, CreateRequest, CreateReply>{"create",
                                                                         "creates the stream"},
    StreamOperation<CaptureFunction::Start, FunctionRequest, StatusReply>{"start",
                                                                          "starts the stream"},
    StreamOperation<CaptureFunction::Stop, FunctionRequest, StatusReply>{"stop",
                                                                         "stops the stream"},
    StreamOperation<CaptureFunction::SetVolume, VolumeRequest, StatusReply>{"setVolume",
                                                                            "volume, 0 to 100"},
    StreamOperation<CaptureFunction::GetVolume, FunctionRequest, VolumeReply>{
        "getVolume", "volume, 0 to 100", UNFLAGGED},
    StreamOperation<CaptureFunction::InitCheck, FunctionRequest, StatusReply>{
        "initCheck", "whether the stream is usable", UNFLAGGED},
};

inline constexpr std::tuple UPLINK_OPERATIONS{
    StreamOperation<CaptureFunction::Create, CreateRequest, CreateReply>{"create",
                                                                         "creates the stream"},
    StreamOperation<CaptureFunction::Start, FunctionRequest, StatusReply>{"start",
                                                                          "starts the stream"},
    StreamOperation<CaptureFunction::Stop, FunctionRequest, StatusReply>{"stop", "stops the stream",
                                                                         UNFLAGGED},
    StreamOperation<CaptureFunction::InitCheck, FunctionRequest, StatusReply>{
        "initCheck", "whether the stream is usable", UNFLAGGED},
    StreamOperation<CaptureFunction::GetShareMemory, FunctionRequest, ShareMemoryReply>{
        "getShareMemory", "address of the ring", UNFLAGGED},
    StreamOperation<CaptureFunction::RemoveShareMemory, FunctionRequest, StatusReply>{
        "removeShareMemory", "acknowledges the withdrawal of the ring", UNFLAGGED},
};

}  // namespace cabinaudio::wire
