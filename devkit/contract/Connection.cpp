// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Connection.h"

#include "devkit/contract/Outcome.h"
#include "wire/Settings.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace cabinaudio::contract {

namespace {

int connectedSocket() {
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    constexpr std::size_t LENGTH = sizeof wire::SERVER_SOCKET - 1;
    std::memcpy(address.sun_path + 1, wire::SERVER_SOCKET, LENGTH);
    constexpr auto SIZE =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + 1 + LENGTH);
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (made >= 0 && connect(made, reinterpret_cast<const struct sockaddr*>(&address), SIZE) == 0)
        return made;
    const int error = errno;
    if (made >= 0) close(made);
    throw NoServer(std::string("no connection to the server: ") + std::strerror(error));
}

std::string numberText(std::uint32_t number) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", number);
    return text.data();
}

}  // namespace

Connection::Connection(const Session& session)
    : mSession(session), mDescriptor(connectedSocket()) {}

Connection::Connection(const Session& session, std::uint32_t type, const std::string& name)
    : Connection(session) {
    require(registerAs(type, name) != 0, "a handle for connection type " + std::to_string(type),
            "handle 0, a refusal");
}

Connection::~Connection() {
    close(mDescriptor);
}

std::size_t Connection::sendSome(const Bytes& bytes) const {
    const ssize_t sent =
        ::send(mDescriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return sent < 0 ? 0 : static_cast<std::size_t>(sent);
}

void Connection::send(const Bytes& bytes) const {
    if (sendSome(bytes) == bytes.size()) return;
    throw Broken("a server that reads its socket", errno == EPIPE || errno == ECONNRESET
                                                       ? "the end of the connection"
                                                       : "a socket that takes no message");
}

audio_param Connection::registration(std::uint32_t type, const std::string& name) {
    audio_param header = {};
    header.cmd = AUDIO_CMD_REGISTER;
    header.type = type;
    header.handle = AUDIO_REGISTER_WORD;
    header.length = sizeof header.name;
    header.timestamp = clockUs(CLOCK_MONOTONIC);
    name.copy(header.name, sizeof header.name - 1);
    return header;
}

audio_param Connection::header(std::size_t length, std::uint32_t command) const {
    audio_param header = {};
    header.cmd = command;
    header.type = mType;
    header.handle = mHandle;
    header.length = static_cast<std::uint32_t>(length);
    header.timestamp = clockUs(CLOCK_MONOTONIC);
    std::memcpy(header.name, wire::NAME_UNKNOWN, sizeof wire::NAME_UNKNOWN);
    return header;
}

std::uint32_t Connection::registerAs(std::uint32_t type, const std::string& name) {
    mType = type;
    send(join(registration(type, name)));
    mHandle = recordAt<wire::RegistrationReply>(reply(sizeof(wire::RegistrationReply))).handle;
    return mHandle;
}

void Connection::sendRequest(const Bytes& payload, std::uint32_t command) const {
    send(join(header(payload.size(), command), payload));
}

Bytes Connection::reply(std::size_t size) {
    SocketFrameHeader header = frame();
    while (header.headerId == HEADER_NOTIFY) {
        mNotifications.push_back(header);
        header = frame();
    }
    require(header.headerId == HEADER_REPLY, "a reply, header id 1",
            "header id " + std::to_string(header.headerId));
    Bytes body = receiveOnce(size);
    // A body in several pieces breaks a rule of its own.
    while (!body.empty() && body.size() < size) {
        if (!mSession.waitFor(mDescriptor, mSession.deadline())) break;
        const Bytes more = receiveOnce(size - body.size());
        if (more.empty()) break;
        append(body, more);
    }
    require(body.size() == size, "a reply of " + std::to_string(size) + " bytes",
            std::to_string(body.size()) + " bytes");
    return body;
}

Bytes Connection::request(const Bytes& payload, std::size_t size, std::uint32_t command) {
    sendRequest(payload, command);
    return reply(size);
}

std::int32_t Connection::status(const Bytes& payload, std::uint32_t command) {
    return recordAt<std::int32_t>(request(payload, sizeof(std::int32_t), command));
}

void Connection::accept(const Bytes& payload, const std::string& what, std::uint32_t command) {
    const std::int32_t came = status(payload, command);
    require(came == 0, what + ": status 0", "status " + std::to_string(came));
}

SocketFrameHeader Connection::frame() {
    const auto header = recordAt<SocketFrameHeader>(receive(sizeof(SocketFrameHeader)));
    require(header.magic == FRAME_MAGIC, "a frame with the magic " + numberText(FRAME_MAGIC),
            numberText(header.magic));
    return header;
}

std::optional<SocketFrameHeader> Connection::notification(Clock::time_point deadline) {
    if (mNotifications.empty()) {
        if (!mSession.waitFor(mDescriptor, deadline)) return {};
        const SocketFrameHeader header = frame();
        require(header.headerId == HEADER_NOTIFY, "a notification, header id 0",
                "header id " + std::to_string(header.headerId));
        return header;
    }
    const SocketFrameHeader header = mNotifications.front();
    mNotifications.pop_front();
    return header;
}

SocketFrameHeader Connection::await(std::uint32_t event, const char* meaning) {
    const Clock::time_point deadline = mSession.deadline();
    std::string others;
    while (const auto header = notification(deadline)) {
        if (header->event == event) return *header;
        others += (others.empty() ? "event " : ", ") + std::to_string(header->event);
    }
    throw Broken("event " + std::to_string(event) + ", " + meaning,
                 (others.empty() ? "nothing" : others) + " for " + mSession.patienceText());
}

Bytes Connection::receiveOnce(std::size_t size) {
    if (!mSession.waitFor(mDescriptor, mSession.deadline()))
        throw Broken(std::to_string(size) + " bytes from the server",
                     "nothing for " + mSession.patienceText());
    Bytes bytes(size);
    const ssize_t count = recv(mDescriptor, bytes.data(), size, 0);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

Bytes Connection::receive(std::size_t size) {
    Bytes bytes;
    while (bytes.size() < size) {
        const Bytes more = receiveOnce(size - bytes.size());
        require(!more.empty(), std::to_string(size) + " bytes from the server",
                "the end of the connection");
        append(bytes, more);
    }
    return bytes;
}

bool Connection::isClosedByServer() const {
    const Clock::time_point deadline = mSession.deadline();
    std::array<char, 4096> dropped{};
    while (mSession.waitFor(mDescriptor, deadline))
        if (recv(mDescriptor, dropped.data(), dropped.size(), 0) <= 0) return true;
    return false;
}

void requireService(const Session& session, const std::string& after) {
    try {
        Connection other(session, AUDIO_CONNECT_VERSION_SETTING, wire::NAME_UNKNOWN);
        (void)other.request(join(idOf(wire::VersionFunction::GetServerVersions)),
                            sizeof(wire::VersionReply));
    } catch (const Broken& broken) {
        throw Broken("an answer to another client after " + after, broken.came());
    } catch (const NoServer& gone) {
        throw Broken("a server that still listens after " + after, gone.what());
    }
}

std::uint64_t clockUs(int clock) {
    struct timespec now = {};
    clock_gettime(clock, &now);
    constexpr std::uint64_t SECOND = 1000000;
    return static_cast<std::uint64_t>(now.tv_sec) * SECOND +
           static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

}  // namespace cabinaudio::contract
