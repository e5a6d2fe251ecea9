// SPDX-License-Identifier: Apache-2.0
#include "tests/server/RawClient.h"

#include "tests/support/LocalSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace cabinaudio::test {
namespace {

constexpr int PATIENCE_MS = 60000;

}  // namespace

RawClient::RawClient() : mFd(connectTo(wire::SERVER_SOCKET)) {}

RawClient::RawClient(audio_connect_type type, const std::string& name) : RawClient() {
    registerAs(type, name);
}

void RawClient::send(const Bytes& bytes) {
    const ssize_t sent = ::send(mFd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(bytes.size())) throw std::runtime_error("send");
}

void RawClient::sendRequest(const Bytes& payload) {
    Bytes message = bytesOf(requestHeader(payload.size()));
    message.insert(message.end(), payload.begin(), payload.end());
    send(message);
}

audio_param RawClient::registration(audio_connect_type type, const std::string& name) {
    audio_param header = {};
    header.cmd = AUDIO_CMD_REGISTER;
    header.type = type;
    header.handle = AUDIO_REGISTER_WORD;
    header.length = sizeof header.name;
    name.copy(header.name, sizeof header.name - 1);
    return header;
}

audio_param RawClient::requestHeader(std::size_t length) const {
    audio_param header = {};
    header.cmd = AUDIO_CMD_CALL_FLAG;
    header.type = mType;
    header.handle = mHandle;
    header.length = static_cast<std::uint32_t>(length);
    std::memcpy(header.name, wire::NAME_UNKNOWN, sizeof wire::NAME_UNKNOWN);
    return header;
}

std::uint32_t RawClient::registerAs(audio_connect_type type, const std::string& name) {
    mType = type;
    send(bytesOf(registration(type, name)));
    if (receiveHeader().headerId != HEADER_REPLY) throw std::runtime_error("not a reply");
    mHandle = recordOf<wire::RegistrationReply>(receive(sizeof(wire::RegistrationReply))).handle;
    return mHandle;
}

Bytes RawClient::call(const Bytes& payload, std::size_t size) {
    sendRequest(payload);
    while (true) {
        const SocketFrameHeader header = receiveHeader();
        if (header.headerId == HEADER_REPLY) return receive(size);
        mNotifications.push_back(header);
    }
}

wire::CreateReply RawClient::create(std::uint32_t tag, const AudioFormatDesc& format) {
    return createWith(static_cast<std::uint32_t>(wire::StreamFunction::Create), tag, format);
}

wire::CreateReply RawClient::createCapture(std::uint32_t tag, const AudioFormatDesc& format) {
    return createWith(static_cast<std::uint32_t>(wire::CaptureFunction::Create), tag, format);
}

wire::CreateReply RawClient::createWith(std::uint32_t function, std::uint32_t tag,
                                        const AudioFormatDesc& format) {
    wire::CreateRequest request = {};
    request.function = function;
    request.tag = tag;
    request.format = format;
    request.pid = getpid();
    return call<wire::CreateReply>(request);
}

SocketFrameHeader RawClient::notification() {
    if (mNotifications.empty()) {
        const SocketFrameHeader header = receiveHeader();
        if (header.headerId != HEADER_NOTIFY) throw std::runtime_error("not a notification");
        return header;
    }
    const SocketFrameHeader header = mNotifications.front();
    mNotifications.pop_front();
    return header;
}

bool RawClient::hasNotification(int timeoutMs) {
    return !mNotifications.empty() || isReadable(mFd.get(), timeoutMs);
}

bool RawClient::isClosedByServer() {
    std::array<char, 4096> chunk;
    while (isReadable(mFd.get(), PATIENCE_MS)) {
        const ssize_t count = recv(mFd.get(), chunk.data(), chunk.size(), 0);
        if (count == 0 || (count < 0 && errno == ECONNRESET)) return true;
        if (count < 0) return false;
    }
    return false;
}

SocketFrameHeader RawClient::receiveHeader() {
    const auto header = recordOf<SocketFrameHeader>(receive(sizeof(SocketFrameHeader)));
    if (header.magic != FRAME_MAGIC) throw std::runtime_error("frame without magic");
    return header;
}

Bytes RawClient::receive(std::size_t size) {
    Bytes bytes(size);
    std::size_t done = 0;
    while (done < size) {
        if (!isReadable(mFd.get(), PATIENCE_MS)) throw std::runtime_error("nothing received");
        const ssize_t count = recv(mFd.get(), bytes.data() + done, size - done, 0);
        if (count <= 0) throw std::runtime_error("connection closed");
        done += static_cast<std::size_t>(count);
    }
    return bytes;
}

AudioFormatDesc pcm(std::uint32_t rate, unsigned channels, unsigned bits) {
    AudioFormatDesc format = {};
    format.sampleRate = rate;
    format.channelMap = static_cast<AudioChannelMapType>(channels);
    format.bitDepth = static_cast<AudioBitDepthType>(bits);
    return format;
}

}  // namespace cabinaudio::test
