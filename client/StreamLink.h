// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/ThreadSafety.h>
#include <cabinaudio/link/RemoteCall.h>

#include "foundation/Make.h"
#include "foundation/UseGate.h"

namespace cabinaudio {

/// State of a playback stream or an uplink besides the fields of its class. Programs may allocate
/// those objects by the documented fields, so no field can be added there.
struct StreamExtras {
    /// The operations of a sink queue here for its lock, so that an application that writes without
    /// a pause does not starve them. Taken before the stream's lock.
    AudioMutex turn{false};
    /// Serialises requests that are made without the stream's lock. Taken after the stream's lock.
    AudioMutex requestLock{false};
    /// Threads that read the ring without the stream's lock.
    UseGate ringVisitors;
    /// Threads in a read of an uplink.
    UseGate readers;
};

/// Takes the lock of a stream whose operations queue for it.
class CABINAUDIO_SCOPED_CAPABILITY InTurn {
public:
    InTurn(AudioMutex& turn, AudioMutex& lock) CABINAUDIO_ACQUIRE(turn, lock)
        : mTurn(turn), mLock(lock) {
        mTurn.lock();
        mLock.lock();
    }
    /// Unlocks the turn first: a destructor that waits for the stream's lock deletes the turn.
    ~InTurn() CABINAUDIO_RELEASE() {
        mTurn.unlock();
        mLock.unlock();
    }
    InTurn(const InTurn&) = delete;
    InTurn& operator=(const InTurn&) = delete;

private:
    AudioMutex& mTurn;
    AudioMutex& mLock;
};

/// The RemoteCall of a stream, with the stream's extras: the stream's mRc points to it.
class StreamLink final : public StreamExtras, public RemoteCall {
public:
    /// Connects and registers, as a RemoteCall does. Notifications can arrive before this returns:
    /// `rc` is set by then and gives access to the extras, but must not be used for a request yet.
    static void open(RemoteCall*& rc, audio_connect_type type, Notify notify, void* stream,
                     const char* name) {
        // The constructor stores the pointer in `rc` itself, before it registers.
        (void)make<StreamLink>(rc, type, notify, stream, name);
    }

    [[nodiscard]] static StreamLink& of(RemoteCall* rc) { return static_cast<StreamLink&>(*rc); }

    /// Ends the notifications, then releases the extras.
    static void close(RemoteCall* rc) { delete static_cast<StreamLink*>(rc); }

    StreamLink(RemoteCall*& rc, audio_connect_type type, Notify notify, void* stream,
               const char* name)
        : RemoteCall((rc = this, type), notify, stream, name) {}
};

}  // namespace cabinaudio
