// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>
#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include <atomic>
#include <cstdint>

class AudioConnection;
namespace cabinaudio {
struct RemoteCallAccess;
}  // namespace cabinaudio

/// The request/reply channel of one client object: registers the client with the server, carries
/// its requests, and delivers the server's notifications, in order, on a thread of its own
/// (AS-RCNotifier), so that the receive thread never runs client code.
///
/// Threads   One request at a time: the owner serialises rcalloc() to rcfree(). A second rcalloc()
///           in between is refused.
/// Blocking  A request waits for its reply without a time limit; destroying the object ends the
///           wait.
/// Lifetime  Do not destroy an object while a call to it is in progress; only a blocked request is
///           ended safely.
/// Errors    No call throws.
class CABINAUDIO_API RemoteCall {
public:
    /// Called on the notifier thread. (opaque, 255, 0) reports that the server is gone. May make
    /// requests; must not destroy the RemoteCall.
    using Notify = void (*)(void* opaque, std::uint32_t event, std::uint32_t param);

    /// Connects and registers; blocks until the server has answered. A failure is reported by
    /// initCheck(). Notifications can arrive before the constructor has returned.
    ///
    /// @param type    connection type of the client
    /// @param notify  may be null: notifications are then dropped
    /// @param opaque  passed to `notify`
    /// @param name    the client's name, truncated to 63 characters; null registers as "unkn"
    RemoteCall(audio_connect_type type, Notify notify, void* opaque, const char* name);

    /// Disconnects, joins both threads, and drops undelivered notifications. A request block that
    /// is still outstanding is not freed.
    ~RemoteCall();
    RemoteCall(const RemoteCall&) = delete;
    RemoteCall& operator=(const RemoteCall&) = delete;

    /// @retval AUDIO_NO_ERROR       registered with the server
    /// @retval AUDIO_NOT_CONNECTED  the server gave no handle
    [[nodiscard]] std::int32_t initCheck();

    /// Allocates a request block of `reqLen` bytes (with room for the header in front of it) and a
    /// reply block of `retLen` bytes. Neither is initialised. Free them with rcfree().
    /// @retval AUDIO_NO_ERROR
    /// @retval AUDIO_BAD_SEQUENCE  a block is outstanding already
    /// @retval AUDIO_NO_MEMORY     the size is too large
    [[nodiscard]] std::int32_t rcalloc(std::uint8_t** req, std::uint32_t reqLen, std::uint8_t** ret,
                                       std::uint32_t retLen);

    /// Sends the first `reqLen` bytes of the outstanding request block and waits for the reply, of
    /// which at most `retLen` bytes are stored. May be repeated on one block.
    /// @param req     the request block from rcalloc()
    /// @param reqLen  bytes of it to send, at most as many as allocated
    /// @param ret     gets the reply, which begins with its status
    /// @param retLen  size of `ret` in bytes
    /// @param flag    selects the command word; the reply is awaited either way
    /// @retval 0                done; `ret` holds the reply
    /// @retval 1                not connected, not sent, or no reply
    /// @retval AUDIO_BAD_VALUE  `req` is not the outstanding block
    [[nodiscard]] std::int32_t call(std::uint8_t* req, std::uint32_t reqLen, std::uint8_t* ret,
                                    std::uint32_t retLen, bool flag);

    /// Releases the outstanding blocks.
    /// @retval AUDIO_NO_ERROR
    /// @retval AUDIO_BAD_SEQUENCE  null, or not the outstanding blocks; nothing is freed
    [[nodiscard]] std::int32_t rcfree(void* req, void* ret);

    /// Complete requests with a function id and up to three numbers.
    /// @return the server's status; 1 when the request did not go through; AUDIO_NO_MEMORY when a
    ///         request is outstanding already
    [[nodiscard]] std::int32_t callFuncId(std::uint32_t id, bool flag);
    /// As above, with a number.
    [[nodiscard]] std::int32_t callFuncId(std::uint32_t id, std::int32_t a, bool flag);
    /// As above, with two numbers.
    [[nodiscard]] std::int32_t callFuncId(std::uint32_t id, std::int32_t a, std::int32_t b,
                                          bool flag);
    /// As above, with three numbers.
    [[nodiscard]] std::int32_t callFuncId(std::uint32_t id, std::int32_t a, std::int32_t b,
                                          std::int32_t c, bool flag);
    /// As above; stores the number of the reply in `out` whenever the request went through,
    /// whatever its status.
    [[nodiscard]] std::int32_t callFuncId(std::uint32_t id, std::int32_t* out, bool flag);

    /// Callback of the connection, with this object as `opaque`: queues the notification. Receive
    /// thread only.
    static void notifyCbk(void* opaque, std::uint32_t event, std::uint32_t param);

    /// Fills the 88-byte header of a message at `record`; a null name becomes "unkn".
    static void init_audio_param(std::uint8_t* record, std::int32_t cmd, audio_connect_type type,
                                 std::int32_t handle, std::int32_t length, const char* name);

private:
    friend struct cabinaudio::RemoteCallAccess;
    class CABINAUDIO_LOCAL RemoteCallNotifierWorker;

    /// The owner is about to be destroyed: requests stop waiting for a server that is gone.
    CABINAUDIO_LOCAL void _abandon();

    // Has its own synchronization.
    std::atomic<AudioConnection*> mConn;  // null when not connected, and in the destructor
    // Set at construction.
    audio_connect_type mType;
    // Has its own synchronization.
    std::atomic<std::uint32_t> mHandle;      // 0 when not registered
    std::atomic<std::uint8_t*> mReqPayload;  // null when no block is outstanding
    // Used only by the thread that has claimed mReqPayload.
    std::uint8_t* mReqBlock;  // mReqPayload - 88
    std::uint8_t* mRetBlock;
    // Set at construction.
    RemoteCallNotifierWorker* mNotifier;
};
