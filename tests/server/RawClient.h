// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"
#include "wire/Frame.h"
#include "wire/Stream.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

namespace cabinaudio::test {

using Bytes = std::vector<std::uint8_t>;

template <typename Record>
Bytes bytesOf(const Record& record) {
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

template <typename Record>
Record recordOf(const Bytes& bytes) {
    if (bytes.size() != sizeof(Record)) throw std::runtime_error("reply of another size");
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

/// A client of the development server without the library: what it sends and gets, byte by byte.
/// Every wait is bounded; what takes longer throws std::runtime_error.
class RawClient {
public:
    /// Connects to the server of this test's instance.
    RawClient();
    /// Connects and registers.
    RawClient(audio_connect_type type, const std::string& name);

    [[nodiscard]] std::uint32_t handle() const { return mHandle; }

    void send(const Bytes& bytes);

    /// Sends the header of a request and as many bytes behind it.
    void sendRequest(const Bytes& payload);

    /// Sends a registration and returns the handle.
    std::uint32_t registerAs(audio_connect_type type, const std::string& name);

    /// The header that registerAs() sends.
    [[nodiscard]] static audio_param registration(audio_connect_type type, const std::string& name);
    /// The header in front of a payload of `length` bytes.
    [[nodiscard]] audio_param requestHeader(std::size_t length) const;

    /// Sends a request and returns the body of the reply, which has to have `size` bytes.
    Bytes call(const Bytes& payload, std::size_t size);
    template <typename Reply, typename Request>
    Reply call(const Request& request) {
        return recordOf<Reply>(call(bytesOf(request), sizeof(Reply)));
    }
    /// A request without arguments.
    template <typename Reply, typename Function>
    Reply ask(Function function) {
        return call<Reply>(wire::FunctionRequest{static_cast<std::uint32_t>(function)});
    }
    /// A request without arguments whose reply is a status.
    template <typename Function>
    std::int32_t status(Function function) {
        return ask<wire::StatusReply>(function).status;
    }
    wire::CreateReply create(std::uint32_t tag, const AudioFormatDesc& format);
    wire::CreateReply createCapture(std::uint32_t tag, const AudioFormatDesc& format);

    /// The next notification, also one that came before a reply.
    SocketFrameHeader notification();
    /// Whether a notification is there already or comes within the time.
    bool hasNotification(int timeoutMs);

    /// Waits for the server to close the connection; whatever comes before that is dropped.
    [[nodiscard]] bool isClosedByServer();

    [[nodiscard]] int fd() const { return mFd.get(); }

private:
    wire::CreateReply createWith(std::uint32_t function, std::uint32_t tag,
                                 const AudioFormatDesc& format);
    SocketFrameHeader receiveHeader();
    Bytes receive(std::size_t size);

    server::UniqueFd mFd;
    audio_connect_type mType = AUDIO_CONNECT_UNKNOWN;
    std::uint32_t mHandle = 0;
    std::deque<SocketFrameHeader> mNotifications;
};

/// Linear PCM.
AudioFormatDesc pcm(std::uint32_t rate, unsigned channels, unsigned bits);

}  // namespace cabinaudio::test
