// SPDX-License-Identifier: Apache-2.0
// Functions in front of those of the C library, in the server with breakages only: the dynamic
// linker finds a program's own functions first.
#include "tests/contract/broken/Breakage.h"

#include <dlfcn.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <string_view>

namespace cabinaudio::broken {
namespace {

using Recv = ssize_t(int, void*, std::size_t, int);
using Send = ssize_t(int, const void*, std::size_t, int);
using Unlink = int(const char*);

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

ssize_t sendNext(int fd, const Bytes& bytes, int flags) {
    static Send* const function = next<Send>("send");
    return function(fd, bytes.data(), bytes.size(), flags);
}

int unlinkNext(const char* name) {
    static Unlink* const function = next<Unlink>("shm_unlink");
    return function(name);
}

/// A client's connection and its unfinished message.
struct Connection {
    Conversation client;
    Bytes header;
    Bytes payload;
    std::size_t payloadSize = 0;
};

std::mutex gLock;
std::map<std::uint64_t, Connection> gConnections;  // by the number that the kernel gives a socket

bool isClients(int fd) {
    struct sockaddr_un address = {};
    socklen_t length = sizeof address;
    if (getsockname(fd, reinterpret_cast<struct sockaddr*>(&address), &length) != 0) return false;
    const auto begin = offsetof(struct sockaddr_un, sun_path);
    if (address.sun_family != AF_UNIX || length <= begin) return false;
    return std::string_view(address.sun_path + 1, length - begin - 1)
        .starts_with(wire::SERVER_SOCKET);
}

/// Null for a socket that is no client's, and without a breakage.
Connection* connectionOf(int fd) {
    if (chosenBreakages().empty() || !isClients(fd)) return nullptr;
    std::uint64_t number = 0;
    socklen_t length = sizeof number;
    if (getsockopt(fd, SOL_SOCKET, SO_COOKIE, &number, &length) != 0) return nullptr;
    return &gConnections[number];
}

void beginMessage(Connection& connection) {
    const auto header = contract::recordAt<audio_param>(connection.header);
    connection.header.clear();
    Conversation& client = connection.client;
    client.command = header.cmd;
    if (header.cmd == AUDIO_CMD_REGISTER) {
        client.type = header.type;
        client.name.assign(header.name, strnlen(header.name, sizeof header.name));
    } else {
        connection.payloadSize = header.length;
    }
}

void headerArrived(Connection& connection, std::uint8_t* bytes, std::size_t count) {
    const bool isWhole = connection.header.empty() && count == sizeof(audio_param);
    for (const Breakage* breakage : chosenBreakages()) {
        if (isWhole && breakage->onHeader) {
            auto header = contract::recordAt<audio_param>({bytes, bytes + count});
            breakage->onHeader(connection.client, header);
            std::memcpy(bytes, &header, sizeof header);
        }
        if (!isWhole && breakage->onPiece) breakage->onPiece();
    }
    contract::append(connection.header, bytes, count);
    if (connection.header.size() == sizeof(audio_param)) beginMessage(connection);
}

void payloadArrived(Connection& connection, std::uint8_t* bytes, std::size_t count) {
    contract::append(connection.payload, bytes, count);
    if (connection.payload.size() < connection.payloadSize) return;
    Conversation& client = connection.client;
    client.function = contract::recordAt<std::uint32_t>(connection.payload);
    client.arguments.assign(connection.payload.begin() + sizeof client.function,
                            connection.payload.end());
    ++client.requests;
    for (const Breakage* breakage : chosenBreakages())
        if (breakage->onPayload && count == connection.payloadSize)
            breakage->onPayload(client, connection.payload);
    if (count == connection.payloadSize) std::memcpy(bytes, connection.payload.data(), count);
    connection.payload.clear();
    connection.payloadSize = 0;
}

void arrived(Connection& connection, std::uint8_t* bytes, std::size_t count) {
    if (connection.payloadSize == 0)
        headerArrived(connection, bytes, count);
    else
        payloadArrived(connection, bytes, count);
}

/// Until the client has read everything, so that it cannot read both pieces at once.
void waitUntilRead(int fd) {
    constexpr int MOST = 2000;
    int left = 1;
    for (int i = 0; i < MOST && left > 0; ++i) {
        if (ioctl(fd, SIOCOUTQ, &left) != 0) return;
        usleep(1000);
    }
}

ssize_t sendFrame(int fd, const Outgoing& frame, int flags) {
    if (frame.isCut) {
        errno = EPIPE;
        return -1;
    }
    Bytes message = contract::join(frame.before, frame.header, frame.body);
    constexpr std::ptrdiff_t HALF = sizeof frame.header / 2;
    if (frame.isSplit) {
        (void)sendNext(fd, {message.begin(), message.begin() + HALF}, flags);
        waitUntilRead(fd);
        message.erase(message.begin(), message.begin() + HALF);
    }
    return sendNext(fd, message, flags);
}

/// The handle that the server gives counts, not the one that the client gets.
void noteHandle(Conversation& client, const Outgoing& frame) {
    if (client.requests == 0 && frame.isReply())
        client.handle = contract::recordAt<wire::RegistrationReply>(frame.body).handle;
}

ssize_t sent(Connection& connection, int fd, const Bytes& bytes, int flags) {
    Outgoing frame = {contract::recordAt<SocketFrameHeader>(bytes),
                      {bytes.begin() + sizeof(SocketFrameHeader), bytes.end()},
                      {}};
    noteHandle(connection.client, frame);
    for (const Breakage* breakage : chosenBreakages())
        if (breakage->onSend) breakage->onSend(connection.client, frame);
    const ssize_t result = sendFrame(fd, frame, flags);
    return result < 0 ? result : static_cast<ssize_t>(bytes.size());
}

/// Objects whose names stay until the server ends.
class Kept {
public:
    Kept() = default;
    ~Kept() {
        for (const std::string& name : mNames)
            (void)unlinkNext(name.c_str());
    }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

    void add(const std::string& name) { mNames.push_back(name); }

private:
    std::vector<std::string> mNames;
};

/// A breakage that does not work ends the server: the test must see it.
[[noreturn]] void giveUp(const std::exception& error) {
    std::fprintf(stderr, "breakage %s: %s\n", chosenBreakages().front()->rule.c_str(),
                 error.what());
    _exit(70);
}

}  // namespace
}  // namespace cabinaudio::broken

using namespace cabinaudio::broken;

extern "C" {

ssize_t recv(int fd, void* buffer, std::size_t size, int flags) {
    static Recv* const function = next<Recv>("recv");
    const ssize_t count = function(fd, buffer, size, flags);
    const std::lock_guard lock(gLock);
    Connection* const connection = count > 0 ? connectionOf(fd) : nullptr;
    try {
        if (connection != nullptr)
            arrived(*connection, static_cast<std::uint8_t*>(buffer),
                    static_cast<std::size_t>(count));
    } catch (const std::exception& error) {
        giveUp(error);
    }
    return count;
}

ssize_t send(int fd, const void* buffer, std::size_t size, int flags) {
    const auto* const begin = static_cast<const std::uint8_t*>(buffer);
    const Bytes bytes(begin, begin + size);
    const std::lock_guard lock(gLock);
    Connection* const connection = size >= sizeof(SocketFrameHeader) ? connectionOf(fd) : nullptr;
    if (connection == nullptr) return sendNext(fd, bytes, flags);
    try {
        return sent(*connection, fd, bytes, flags);
    } catch (const std::exception& error) {
        giveUp(error);
    }
}

int shm_unlink(const char* name) {
    static Kept kept;
    const std::string object = name + std::strspn(name, "/");
    const auto& chosen = chosenBreakages();
    const bool isKept = std::any_of(chosen.begin(), chosen.end(), [&](const Breakage* breakage) {
        return breakage->keepsObject && breakage->keepsObject(object);
    });
    if (!isKept) return unlinkNext(name);
    kept.add(name);
    return 0;
}
}
