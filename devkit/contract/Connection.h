// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/contract/Bytes.h"
#include "devkit/contract/Session.h"
#include "wire/Frame.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace cabinaudio::contract {

/// A connection to the server on which any bytes can be sent. Every wait is bounded by the
/// session's patience.
class Connection {
public:
    /// Connects. @throws NoServer
    explicit Connection(const Session& session);
    /// Connects and registers. @throws Broken when the server refuses it
    Connection(const Session& session, std::uint32_t type, const std::string& name);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] std::uint32_t handle() const { return mHandle; }
    [[nodiscard]] int descriptor() const { return mDescriptor; }

    /// @throws Broken when the server has closed the connection, or reads nothing in time
    void send(const Bytes& bytes) const;
    /// Sends as much as the socket takes. @return the bytes that were sent
    std::size_t sendSome(const Bytes& bytes) const;

    /// The header of a registration.
    [[nodiscard]] static audio_param registration(std::uint32_t type, const std::string& name);
    /// The header of a request with `length` bytes of payload.
    [[nodiscard]] audio_param header(std::size_t length,
                                     std::uint32_t command = AUDIO_CMD_CALL_FLAG) const;
    /// Sends a registration and takes the reply. @return the handle, 0 when it is refused
    std::uint32_t registerAs(std::uint32_t type, const std::string& name);

    /// Sends header and payload in one piece.
    void sendRequest(const Bytes& payload, std::uint32_t command = AUDIO_CMD_CALL_FLAG) const;
    /// Takes the reply to the request before. @throws Broken unless its body has `size` bytes
    Bytes reply(std::size_t size);
    Bytes request(const Bytes& payload, std::size_t size,
                  std::uint32_t command = AUDIO_CMD_CALL_FLAG);
    /// A request whose reply is a status.
    std::int32_t status(const Bytes& payload, std::uint32_t command = AUDIO_CMD_CALL_FLAG);
    /// @throws Broken unless the status is 0. @param what  for the message, such as "start"
    void accept(const Bytes& payload, const std::string& what,
                std::uint32_t command = AUDIO_CMD_CALL_FLAG);

    /// The next frame header; the magic must be right.
    SocketFrameHeader frame();
    /// The next notification, also one that came before a reply. Empty when none came in time.
    std::optional<SocketFrameHeader> notification(Clock::time_point deadline);
    /// Waits for a notification of this number. Earlier ones of other numbers are dropped.
    /// @param meaning  for the message, such as "the ring is ready"
    SocketFrameHeader await(std::uint32_t event, const char* meaning);

    /// Reads exactly `size` bytes.
    Bytes receive(std::size_t size);
    /// Reads at most `size` bytes with one call, once there are some. Empty: the server has closed
    /// the connection.
    Bytes receiveOnce(std::size_t size);
    /// Drops what comes. @return whether the server closes the connection in time
    [[nodiscard]] bool isClosedByServer() const;

private:
    const Session& mSession;
    int mDescriptor;
    std::uint32_t mType = AUDIO_CONNECT_UNKNOWN;
    std::uint32_t mHandle = 0;
    std::deque<SocketFrameHeader> mNotifications;
};

/// Whether the server answers a new client. @throws Broken if it does not
void requireService(const Session& session, const std::string& after);

/// Now, as the server's frames give times.
[[nodiscard]] std::uint64_t clockUs(int clock);

}  // namespace cabinaudio::contract
