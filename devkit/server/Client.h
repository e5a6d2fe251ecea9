// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/server/EventLoop.h"
#include "devkit/server/UniqueFd.h"
#include "wire/Frame.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::server {

class Client;

/// What becomes of a client's messages. Called on the event loop's thread.
class ClientOwner {
public:
    /// A client names itself. @return its handle, 0 to refuse it
    virtual std::uint32_t registerClient(Client& client) = 0;
    /// A request with at least a function id has arrived. Answers with reply(), or ends the client
    /// with fail().
    virtual void request(Client& client, std::span<const std::uint8_t> payload) = 0;
    /// The client has been sent a notification.
    virtual void notified(const Client& client, std::uint32_t event, std::uint32_t param) = 0;
    /// The connection is over. The client may be destroyed once the caller has returned to the
    /// event loop, not before.
    virtual void disconnected(Client& client) = 0;

protected:
    ~ClientOwner() = default;
};

/// One connection: puts messages together from the bytes of the socket, checks their headers, and
/// sends replies and notifications. Sending never blocks: who does not read loses the connection.
/// Of messages that wait one is read at a time, so that other clients have their turn in between.
class Client {
public:
    /// Larger payloads are taken for garbage; the largest real one is a few KiB.
    static constexpr std::uint32_t MAXIMUM_PAYLOAD = 1 << 20;

    Client(EventLoop& loop, UniqueFd socket, ClientOwner& owner);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// 0 until it is registered.
    [[nodiscard]] std::uint32_t handle() const { return mHandle; }
    [[nodiscard]] audio_connect_type type() const { return mType; }
    /// As the client gave it.
    [[nodiscard]] const std::string& name() const { return mName; }
    /// For log lines: handle, kind and name.
    [[nodiscard]] std::string title() const;

    /// Sends header and body in one piece, as the client reads them.
    void reply(std::span<const std::uint8_t> body);
    void notify(std::uint32_t event, std::uint32_t param);

    /// Logs why and closes the connection.
    void fail(const std::string& reason);
    [[nodiscard]] bool isOpen() const { return static_cast<bool>(mSocket); }
    /// Whether it has not registered yet although it connected `limit` ago or earlier.
    [[nodiscard]] bool isHalfOpen(std::chrono::seconds limit) const;

private:
    void onReadable();
    bool receive(std::size_t end);
    void handleRegistration(const audio_param& header);
    void handleRequest(const audio_param& header, std::span<const std::uint8_t> payload);
    [[nodiscard]] std::string complaint(const audio_param& header) const;
    void send(std::span<const std::uint8_t> bytes);
    void close();

    EventLoop& mLoop;
    ClientOwner& mOwner;
    UniqueFd mSocket;
    std::vector<std::uint8_t> mInput;  // the message under way
    const std::chrono::steady_clock::time_point mSince = std::chrono::steady_clock::now();
    std::uint32_t mHandle = 0;
    audio_connect_type mType = AUDIO_CONNECT_UNKNOWN;
    std::string mName;
};

}  // namespace cabinaudio::server
