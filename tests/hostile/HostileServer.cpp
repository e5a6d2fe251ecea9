// SPDX-License-Identifier: Apache-2.0
#include "tests/hostile/HostileServer.h"

#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/support/ServerRing.h"
#include "wire/Frame.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

namespace cabinaudio::test {

namespace {

constexpr int BACKLOG = 256;
constexpr std::uint32_t LONGEST_PAYLOAD = 1U << 16;

bool receive(int connection, void* to, std::size_t size) {
    return size == 0 || ::recv(connection, to, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool send(int connection, const Bytes& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

/// Until the client has gone.
void discard(int connection) {
    std::uint8_t chunk[1024];
    while (::recv(connection, chunk, sizeof chunk, 0) > 0) {
    }
}

Bytes reply(std::initializer_list<std::uint32_t> words) {
    Bytes bytes = ScriptedServer::frame(HEADER_REPLY);
    const Bytes body = bytesOf(words);
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

bool captures(std::uint32_t type) {
    return type == AUDIO_CONNECT_UPLINK || type == AUDIO_CONNECT_INPUT0;
}

/// A sink and an auxiliary track are told in one way, an uplink in another.
Bytes announcement(std::uint32_t type) {
    if (type == AUDIO_CONNECT_UPLINK) return ScriptedServer::frame(HEADER_NOTIFY, 2, 1);
    if (type == AUDIO_CONNECT_MAIN || type == AUDIO_CONNECT_AUXILIARY)
        return ScriptedServer::frame(HEADER_NOTIFY, 3, 0);
    return {};
}

Bytes goodAnswer(std::uint32_t type, std::uint32_t function) {
    constexpr std::uint32_t RING = HostileServer::RING_BYTES;
    if (type >= AUDIO_CONNECT_APP_SETTING) return reply({0});  // and no more is missed
    const bool isCapture = captures(type);
    if (function == (isCapture ? 2U : 21U)) return reply({0, 0, RING, 1024, 16, 256, 0});
    if (function == (isCapture ? 18U : 20U)) return reply({0, RING_ADDRESS, RING});
    if (isCapture && function == 9) return reply({0, 50});
    Bytes bytes = reply({0});
    if (function == 6) {
        const Bytes told = announcement(type);
        bytes.insert(bytes.end(), told.begin(), told.end());
    }
    return bytes;
}

/// For clients that nothing is planned for.
Move goodMove(std::size_t, const Bytes& good) {
    return {good};
}

}  // namespace

Plan cutAfter(std::size_t budget, Move::End end) {
    const auto left = std::make_shared<std::size_t>(budget);
    return [left, end](std::size_t, const Bytes& good) -> Move {
        const std::size_t count = std::min(*left, good.size());
        *left -= count;
        const auto stop = good.begin() + static_cast<std::ptrdiff_t>(count);
        return {Bytes(good.begin(), stop), count < good.size() ? end : Move::End::GOES_ON};
    };
}

HostileServer::HostileServer()
    : mOthers(goodMove), mListener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    constexpr std::size_t NAME = sizeof wire::SERVER_SOCKET - 1;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, wire::SERVER_SOCKET, NAME);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + NAME);
    if (mListener < 0 ||
        ::bind(mListener, reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        ::listen(mListener, BACKLOG) != 0)
        throw std::runtime_error("cannot listen");
    mThread = std::thread([this] { run(); });
}

HostileServer::~HostileServer() {
    {
        const std::lock_guard lock(mLock);
        mEnds = true;
        for (const int connection : mConnections)
            ::shutdown(connection, SHUT_RDWR);
    }
    ::shutdown(mListener, SHUT_RDWR);
    mThread.join();
    for (Serving& one : mServing)
        one.thread.join();
    ::close(mListener);
}

void HostileServer::plan(const std::string& name, Plan plan) {
    const std::lock_guard lock(mLock);
    mPlans[name] = std::move(plan);
}

void HostileServer::planOthers(Plan plan) {
    const std::lock_guard lock(mLock);
    mOthers = std::move(plan);
}

Plan HostileServer::planOf(const std::string& name) {
    const std::lock_guard lock(mLock);
    const auto found = mPlans.find(name);
    return found != mPlans.end() ? found->second : mOthers;
}

void HostileServer::run() {
    while (true) {
        const int connection = ::accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) return;
        {
            const std::lock_guard lock(mLock);
            mConnections.insert(connection);
            if (mEnds) ::shutdown(connection, SHUT_RDWR);
        }
        joinEnded();
        Serving& one = mServing.emplace_back();
        one.thread = std::thread([this, connection, &one] {
            serve(connection);
            one.isDone = true;
        });
    }
}

/// Their stacks would fill a small address space.
void HostileServer::joinEnded() {
    for (auto one = mServing.begin(); one != mServing.end();) {
        const bool isDone = one->isDone;
        if (isDone) one->thread.join();
        one = isDone ? mServing.erase(one) : std::next(one);
    }
}

void HostileServer::serve(int connection) {
    converse(connection);
    const std::lock_guard lock(mLock);
    mConnections.erase(connection);
    ::close(connection);
}

void HostileServer::converse(int connection) {
    Plan plan;
    audio_param header = {};
    for (std::size_t message = 0; receive(connection, &header, sizeof header); ++message) {
        Bytes good;
        if (message == 0) {
            header.name[sizeof header.name - 1] = '\0';
            plan = planOf(header.name);
            good = reply({0, 7});
        } else {
            if (header.length > LONGEST_PAYLOAD) return;
            Bytes payload(header.length);
            if (!receive(connection, payload.data(), payload.size())) return;
            std::uint32_t function = 0;
            std::memcpy(&function, payload.data(), std::min(payload.size(), sizeof function));
            good = goodAnswer(header.type, function);
        }
        const Move move = plan(message, good);
        if (!send(connection, move.bytes) || move.end == Move::End::CLOSES) return;
        if (move.end == Move::End::STALLS) return discard(connection);
    }
}

}  // namespace cabinaudio::test
