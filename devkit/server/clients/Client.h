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

/// Damage that is done to a reply on purpose.
enum class ReplyDamage { None, Short, WrongMagic };

/// Receives a client's messages. Called on the event loop's thread.
class ClientOwner {
public:
    /// The client registers. @return its handle, or 0 to refuse it
    virtual std::uint32_t registerClient(Client& client) = 0;
    /// A request with at least a function id has arrived. Must answer with reply(), or disconnect
    /// the client with fail().
    virtual void request(Client& client, std::span<const std::uint8_t> payload) = 0;
    /// A notification was sent to the client.
    virtual void notified(const Client& client, std::uint32_t event, std::uint32_t param) = 0;
    /// The connection has ended. The client may be destroyed after the caller has returned to the
    /// event loop, not before.
    virtual void disconnected(Client& client) = 0;
    /// The client is in the middle of a message: checkProgress() must be called from now on.
    virtual void unfinished(const Client& /*client*/) {}
    /// A message has arrived; called before it is handled.
    /// @param isWhole  whether it is a message; else these bytes end the connection
    virtual void received(const Client& /*client*/, std::span<const std::uint8_t> /*message*/,
                          bool /*isWhole*/) {}
    /// A header, and the body of a reply, were sent, as far as the socket has taken them.
    virtual void sent(const Client& /*client*/, std::span<const std::uint8_t> /*message*/) {}

protected:
    ~ClientOwner() = default;
};

/// One connection: assembles messages from the socket's bytes, checks their headers, and sends
/// replies and notifications. Sending never blocks: a client that does not read is disconnected.
/// One waiting message is read at a time, so that other clients get their turn in between.
class Client {
public:
    /// Larger payloads are invalid; the largest real payload is a few KiB.
    static constexpr std::uint32_t MAXIMUM_PAYLOAD = 1 << 20;
    /// Seconds allowed for the registration, and for the rest of a message.
    static constexpr int PATIENCE = 10;

    /// @param admitted  if empty, the client has no known process and no limits
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
    /// The client's process as the kernel reports it, not as the client claims; the log gets one
    /// line when the two differ.
    [[nodiscard]] std::int32_t process(std::int32_t claimed);
    /// The same, if the kernel has reported it; else 0.
    [[nodiscard]] std::int32_t process() const { return mAdmitted ? mAdmitted->peer.process : 0; }
    /// The registration and the reply to it, as they were on the wire; empty before.
    [[nodiscard]] std::span<const std::uint8_t> registration() const { return mRegistration; }
    [[nodiscard]] std::span<const std::uint8_t> registrationReply() const {
        return mRegistrationReply;
    }
    /// For log lines: handle, kind and name.
    [[nodiscard]] std::string title() const;

    /// Sends header and body in one call, because the client reads them as one piece.
    /// @param damage  Short: the second half of the body is missing
    void reply(std::span<const std::uint8_t> body, ReplyDamage damage = ReplyDamage::None);
    void notify(std::uint32_t event, std::uint32_t param);

    /// Logs the reason and closes the connection.
    void fail(const std::string& reason);
    [[nodiscard]] bool isOpen() const { return static_cast<bool>(mSocket); }
    /// Must be called once a second: closes the connection when it has stayed unregistered, or in
    /// the middle of one message, for PATIENCE calls. Calls are counted instead of time: after a
    /// pause of this process the rest may have arrived but not been read yet.
    /// @return whether checkProgress() must be called again
    bool checkProgress();

    /// Refuses a client, as far as its socket accepts the bytes: sends the answer to a
    /// registration, with handle 0, before the client has registered. A client that is merely
    /// disconnected would wait forever.
    static void refuse(const UniqueFd& socket);

private:
    void onReadable();
    bool receive(std::size_t end);
    void waitForRest();
    void handleRegistration(const audio_param& header);
    void handleRequest(const audio_param& header, std::span<const std::uint8_t> payload);
    [[nodiscard]] std::string complaint(const audio_param& header) const;
    void send(std::span<const std::uint8_t> bytes);
    void failByInput(const std::string& reason);
    void close();
    [[nodiscard]] bool isUnfinished() const { return mHandle == 0 || !mInput.empty(); }

    EventLoop& mLoop;
    ClientOwner& mOwner;
    std::optional<Admitted> mAdmitted;
    UniqueFd mSocket;
    std::vector<std::uint8_t> mInput;  // being received
    int mChecks = 0;                   // calls of checkProgress() during this message
    bool mHasFalseProcess = false;     // its claimed process was wrong, and that was logged
    std::uint32_t mHandle = 0;
    audio_connect_type mType = AUDIO_CONNECT_UNKNOWN;
    std::string mName;
    std::vector<std::uint8_t> mRegistration;
    std::vector<std::uint8_t> mRegistrationReply;
};

}  // namespace cabinaudio::server
