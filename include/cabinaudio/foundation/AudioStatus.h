// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

/// Result of every client operation, 32 bits on every build. A status from the server may be any
/// other number and is returned unchanged.
///
/// The low-level link calls (AudioConnection, RemoteCall::call) return 0 or 1 instead.
enum AudioStatus : std::int32_t {
    /// Done.
    AUDIO_NO_ERROR = 0,
    /// The server gave this client no handle when it registered.
    AUDIO_NOT_CONNECTED = -1000,
    /// A request or reply block could not be allocated.
    AUDIO_NO_MEMORY = -1990,
    /// Space, data or the ring itself did not appear in time.
    AUDIO_TIMED_OUT = -2000,
    /// A request block is already outstanding, or the block to free is not the outstanding one.
    AUDIO_BAD_SEQUENCE = -2992,
    /// An argument is null, out of range, or not the outstanding block.
    AUDIO_BAD_VALUE = -3000,
    /// A write is refused: another write is blocked, or the end of the data was announced.
    AUDIO_INVALID_OPERATION = -8000,
    /// Not allowed in the stream's current state, or the state changed during a wait.
    AUDIO_INVALID_STATE = -9998,
};
