// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/clients/Client.h"

#include <cabinaudio/foundation/AudioTime.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/trace/ConnectType.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace cabinaudio::server {
namespace {

constexpr std::size_t PIECE = 4096;

SocketFrameHeader frameHeader(std::uint32_t id) {
    SocketFrameHeader header = {};
    header.magic = FRAME_MAGIC;
    header.headerId = id;
    header.sendTimeUs = AudioTime::now();
    return header;
}

std::span<const std::uint8_t> bytesOf(const SocketFrameHeader& header) {
    return {reinterpret_cast<const std::uint8_t*>(&header), sizeof header};
}

bool isTerminated(const char (&name)[64]) {
    return std::find(std::begin(name), std::end(name), '\0') != std::end(name);
}

}  // namespace

Client::Client(EventLoop& loop, UniqueFd socket, ClientOwner& owner,
               std::optional<Admitted> admitted)
    : mLoop(loop), mOwner(owner), mAdmitted(std::move(admitted)), mSocket(std::move(socket)) {
    mLoop.add(mSocket.get(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

Client::~Client() {
    mLoop.remove(mSocket.get());
}

std::string Client::title() const {
    if (mHandle == 0) return "client (not registered)";
    return format("client %u %s \"%s\"", mHandle, trace::connectTypeName(mType).c_str(),
                  printable(mName).c_str());
}

void Client::onReadable() {
    if (!receive(sizeof(audio_param))) return;
    audio_param header;
    std::memcpy(&header, mInput.data(), sizeof header);
    if (const std::string reason = complaint(header); !reason.empty()) {
        failByInput(reason);
        return;
    }
    // A registration's length field is the size of the name in it; no payload follows.
    const bool isRegistration = header.cmd == AUDIO_CMD_REGISTER;
    const std::size_t end = sizeof header + (isRegistration ? 0 : header.length);
    if (!receive(end)) return;
    mOwner.received(*this, mInput, true);
    if (isRegistration)
        handleRegistration(header);
    else
        handleRequest(header, std::span(mInput).subspan(sizeof header));
    mInput.clear();
    if (mInput.capacity() > PIECE) mInput.shrink_to_fit();
    mChecks = 0;
    if (mAdmitted) (void)mAdmitted->unfinishedBytes.resize(0);
}

/// Reads the message up to byte `end`. @return whether it is complete that far
bool Client::receive(std::size_t end) {
    while (mInput.size() < end) {
        std::array<std::uint8_t, PIECE> chunk;
        const std::size_t wanted = std::min(end - mInput.size(), chunk.size());
        const ssize_t count = recv(mSocket.get(), chunk.data(), wanted, 0);
        if (count > 0) {
            mInput.insert(mInput.end(), chunk.begin(), chunk.begin() + count);
            continue;
        }
        if (count == 0 && !mInput.empty())
            failByInput("ended in the middle of a message");
        else if (count == 0 || (errno != EAGAIN && errno != EINTR))
            close();
        else
            waitForRest();
        return false;
    }
    return true;
}

void Client::waitForRest() {
    if (mInput.empty()) return;
    if (mAdmitted && !mAdmitted->unfinishedBytes.resize(mInput.capacity())) {
        close();  // the quota has logged it for this user
    } else {
        mOwner.unfinished(*this);
    }
}

bool Client::checkProgress() {
    if (!isOpen() || !isUnfinished()) return false;
    if (++mChecks <= PATIENCE) return true;
    failByInput(mHandle == 0 ? "does not register" : "does not finish its message");
    return false;
}

std::int32_t Client::process(std::int32_t claimed) {
    if (!mAdmitted) return claimed;
    const std::int32_t process = mAdmitted->peer.process;
    if (process != claimed && !std::exchange(mHasFalseProcess, true)) {
        log::warning("%s says that it is process %d, but it is %d", title().c_str(), claimed,
                     process);
    }
    return process;
}

void Client::refuse(const UniqueFd& socket) {
    const SocketFrameHeader header = frameHeader(HEADER_REPLY);
    const wire::RegistrationReply body = {};
    std::vector<std::uint8_t> message(bytesOf(header).begin(), bytesOf(header).end());
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&body);
    message.insert(message.end(), bytes, bytes + sizeof body);
    (void)!::send(socket.get(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

std::string Client::complaint(const audio_param& header) const {
    if (!isTerminated(header.name)) return "the name is not terminated";
    switch (header.cmd) {
        case AUDIO_CMD_REGISTER:
            if (mHandle != 0) return "registers twice";
            if (header.handle != AUDIO_REGISTER_WORD)
                return format("register word 0x%08x", header.handle);
            if (header.length != sizeof header.name)
                return format("registration of length %u", header.length);
            return {};
        case AUDIO_CMD_CALL:
        case AUDIO_CMD_CALL_FLAG:
            if (mHandle == 0) return "sends a request before it has registered";
            if (header.handle != mHandle) return format("request with handle %u", header.handle);
            if (header.type != mType) return format("request with type %u", header.type);
            if (header.length > MAXIMUM_PAYLOAD)
                return format("payload of %u bytes", header.length);
            if (header.length < sizeof(std::uint32_t)) return "request without a function id";
            return {};
        default:
            return format("unknown command %u", header.cmd);
    }
}

void Client::handleRegistration(const audio_param& header) {
    mType = static_cast<audio_connect_type>(header.type);
    mName = header.name;
    mHandle = mOwner.registerClient(*this);
    mRegistration = mInput;

    wire::RegistrationReply body = {};
    body.handle = mHandle;
    // A refused client must get an answer too; otherwise it waits forever.
    reply({reinterpret_cast<const std::uint8_t*>(&body), sizeof body});
    if (mHandle == 0) fail(format("registers with unknown connection type %u", header.type));
}

void Client::handleRequest(const audio_param&, std::span<const std::uint8_t> payload) {
    mOwner.request(*this, payload);
}

void Client::reply(std::span<const std::uint8_t> body, ReplyDamage damage) {
    SocketFrameHeader header = frameHeader(HEADER_REPLY);
    if (damage == ReplyDamage::WrongMagic) header.magic = ~header.magic;
    if (damage == ReplyDamage::Short) body = body.first(body.size() / 2);
    std::vector<std::uint8_t> message(bytesOf(header).begin(), bytesOf(header).end());
    message.insert(message.end(), body.begin(), body.end());
    if (mRegistrationReply.empty()) mRegistrationReply = message;
    send(message);
}

void Client::notify(std::uint32_t event, std::uint32_t param) {
    SocketFrameHeader header = frameHeader(HEADER_NOTIFY);
    header.event = event;
    header.param = param;
    if (!isOpen()) return;
    mOwner.notified(*this, event, param);
    send(bytesOf(header));
}

void Client::send(std::span<const std::uint8_t> bytes) {
    if (!isOpen()) return;
    const ssize_t sent =
        ::send(mSocket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) mOwner.sent(*this, bytes.first(static_cast<std::size_t>(sent)));
    if (sent == static_cast<ssize_t>(bytes.size())) return;
    if (sent < 0 && (errno == EPIPE || errno == ECONNRESET))
        close();
    else
        fail("does not read its socket");
}

/// The bytes that were received are no message.
void Client::failByInput(const std::string& reason) {
    if (!mInput.empty()) mOwner.received(*this, mInput, false);
    fail(reason);
}

void Client::fail(const std::string& reason) {
    if (!isOpen()) return;
    log::warning("%s: %s; connection closed", title().c_str(), reason.c_str());
    close();
}

void Client::close() {
    if (!isOpen()) return;
    mLoop.remove(mSocket.get());
    mSocket.reset();
    mOwner.disconnected(*this);
}

}  // namespace cabinaudio::server
