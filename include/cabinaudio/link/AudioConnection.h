// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <atomic>
#include <cstdint>

struct AudioSocket;

/// One connection to the audio server over a local stream socket, with a receive thread of its own
/// (AS-SktWorker). Notifications go to a callback on that thread; the body of a reply is left in
/// the socket for the thread that made the request.
///
/// Threads   One thread at a time makes a request: send(), then recv(). disconnect() may be called
///           from any thread and wakes a requester.
/// Errors    No call throws; send(), recv() and disconnect() return 0 or 1.
/// A lost connection is never re-established: create a new object.
class CABINAUDIO_API AudioConnection {
public:
    /// Called on the receive thread with (opaque, event, param); must not block and must not
    /// disconnect or destroy the connection. (opaque, 255, 0) reports that the connection has
    /// ended: at most once per connection, not after disconnect(), and not when an unknown frame
    /// ended the receive thread. A notification from the server can have the same values.
    using Callback = void (*)(void* opaque, std::uint32_t event, std::uint32_t param);

    /// Stores its arguments and connects. A failure is not reported here: every later operation
    /// then logs and returns 1.
    ///
    /// @param path      abstract socket name without the leading zero byte, at most 107 characters;
    ///                  not copied, must outlive the object
    /// @param port      stored, not used
    /// @param callback  may be null
    /// @param opaque    passed to the callback
    AudioConnection(const char* path, std::int32_t port, Callback callback, void* opaque);

    /// Disconnects. Blocks until the receive thread has ended and a requester that waits for a
    /// reply has returned.
    ~AudioConnection();
    AudioConnection(const AudioConnection&) = delete;
    AudioConnection& operator=(const AudioConnection&) = delete;

    /// Connects, with up to 11 attempts and no pause in between. The constructor calls this; it has
    /// no effect on a connected object. Must not be called from two threads at once.
    /// @retval 0  connected, even if the receive thread could not be started
    /// @retval 1  out of memory
    /// @retval 2  no attempt succeeded
    std::int32_t connect();

    /// Sends `length` bytes as one message. Blocks for at most 10 s per attempt when the server
    /// does not read, with up to 10 more attempts 10 ms apart. A partial send counts as sent, and
    /// the rest is dropped.
    /// @retval 0  sent
    /// @retval 1  not connected, or not sent
    [[nodiscard]] std::int32_t send(const std::uint8_t* data, std::int32_t length);

    /// Waits, without a time limit, for the next reply and reads its body with at most `length`
    /// bytes. A shorter body leaves the rest of `data` unchanged.
    /// @retval 0  read
    /// @retval 1  not connected, disconnected during the wait, or not readable
    [[nodiscard]] std::int32_t recv(std::uint8_t* data, std::int32_t length);

    /// Closes the connection, wakes a waiting requester, and joins the receive thread. Must not be
    /// called from the callback.
    /// @retval 0  closed
    /// @retval 1  was not connected
    std::int32_t disconnect();

private:
    friend class RemoteCall;

    /// The owner is being destroyed: a requester stops waiting for a server that is gone. Otherwise
    /// the requester would hold the owner's lock forever and block the destructor.
    CABINAUDIO_LOCAL void _abandon();
    /// Ends requests in progress: shuts the socket down without closing it.
    CABINAUDIO_LOCAL void _interrupt();

    // Set at construction.
    const char* mPath;
    std::int32_t mPort;
    // Has its own synchronization: null when not connected; the low bits count the threads that use
    // the record.
    std::atomic<AudioSocket*> mSocketRecord;
    // Set at construction.
    Callback mCallback;
    void* mOpaque;
};
