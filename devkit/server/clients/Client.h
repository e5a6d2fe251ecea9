// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/clients/Admission.h"
#include "devkit/server/loop/EventLoop.h"
#include "wire/Frame.h"

#include <cstddef>
#include <cstdint>
#include <optional>
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
    /// The client is in the middle of a message: it wants to be looked at, see Client::look().
    virtual void unfinished(const Client& /*client*/) {}

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
    /// Seconds for the registration, and for the rest of a message.
    static constexpr int PATIENCE = 10;

    /// @param admitted  without it the client has no known process, and no limits
    Client(EventLoop& loop, UniqueFd socket, ClientOwner& owner,
           std::optional<Admitted> admitted = {});
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// 0 until it is registered.
    [[nodiscard]] std::uint32_t handle() const { return mHandle; }
    [[nodiscard]] audio_connect_type type() const { return mType; }
    /// As the client gave it.
    [[nodiscard]] const std::string& name() const { return mName; }
    /// The client's process as the kernel knows it, whatever the client says; the log gets one line
    /// when the two differ.
    [[nodiscard]] std::int32_t process(std::int32_t claimed);
    /// For log lines: handle, kind and name.
    [[nodiscard]] std::string title() const;

    /// Sends header and body in one piece, as the client reads them.
    void reply(std::span<const std::uint8_t> body);
    void notify(std::uint32_t event, std::uint32_t param);

    /// Logs why and closes the connection.
    void fail(const std::string& reason);
    [[nodiscard]] bool isOpen() const { return static_cast<bool>(mSocket); }
    /// To be called once a second: closes the connection when it has not registered, or has been in
    /// the middle of one message, for PATIENCE looks. Looks are counted instead of seconds: after a
    /// pause of this process the rest may be there, and has not been read yet.
    /// @return whether it wants to be looked at again
    bool look();

    /// Tells a client that is not let in, as far as its socket takes that: a registration that is
    /// answered with handle 0, before it was sent. A client that is just closed would wait for
    /// ever.
    static void refuse(const UniqueFd& socket);

private:
    void onReadable();
    bool receive(std::size_t end);
    void awaitRest();
    void handleRegistration(const audio_param& header);
    void handleRequest(const audio_param& header, std::span<const std::uint8_t> payload);
    [[nodiscard]] std::string complaint(const audio_param& header) const;
    void send(std::span<const std::uint8_t> bytes);
    void close();
    [[nodiscard]] bool isUnfinished() const { return mHandle == 0 || !mInput.empty(); }

    EventLoop& mLoop;
    ClientOwner& mOwner;
    std::optional<Admitted> mAdmitted;
    UniqueFd mSocket;
    std::vector<std::uint8_t> mInput;  // the message under way
    int mLooks = 0;                    // at it, see look()
    bool mIsLiar = false;              // and that was logged
    std::uint32_t mHandle = 0;
    audio_connect_type mType = AUDIO_CONNECT_UNKNOWN;
    std::string mName;
};

}  // namespace cabinaudio::server
