// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/Peer.h"

#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "wire/Frame.h"
#include "wire/Settings.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace cabinaudio::fuzz {

namespace {

constexpr auto SETTINGS = wire::settingRows();

/// One step of a xorshift generator; 0 is not in its cycle.
std::uint32_t step(std::uint32_t& state) {
    if (state == 0) state = 0x9e3779b9;
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

/// Mostly answers in full, because those that end the connection take long.
Manner mannerOf(std::uint16_t choice) {
    const int of4096 = choice % 4096;
    if (of4096 < 3072) return Manner::Whole;
    if (of4096 < 3840) return Manner::Short;
    if (of4096 < 4080) return Manner::Notified;
    if (of4096 < 4088) return Manner::ThenClosed;
    return of4096 < 4095 ? Manner::ThenNoise : Manner::ClosedBeforeBody;
}

bool closes(Manner manner) {
    return manner == Manner::ThenClosed || manner == Manner::ThenNoise ||
           manner == Manner::ClosedBeforeBody;
}

void appendFrame(Bytes& to, std::uint32_t id, std::uint32_t& seed) {
    SocketFrameHeader header{};
    header.magic = FRAME_MAGIC;
    header.headerId = id;
    header.event = step(seed);
    header.spare12 = step(seed);
    header.sendTimeUs = (std::uint64_t{step(seed)} << 32) | step(seed);
    header.param = step(seed);
    header.spare28 = step(seed);
    append(to, header);
}

void appendBody(Bytes& to, const Script& script, std::uint32_t size, std::uint32_t& seed) {
    const std::size_t begin = to.size();
    to.resize(begin + size);
    const std::size_t head = std::min<std::size_t>(size, sizeof script.head);
    std::memcpy(to.data() + begin, script.head, head);
    for (std::size_t i = begin + head; i < to.size(); ++i)
        to[i] = static_cast<std::uint8_t>(step(seed) >> 24);
}

bool receive(int connection, void* to, std::size_t size) {
    if (size == 0) return true;
    return ::recv(connection, to, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

/// Takes one message of the client. @return false at the end of the connection
bool receiveMessage(int connection, audio_param& header, Bytes& payload) {
    if (!receive(connection, &header, sizeof header)) return false;
    payload.resize(header.cmd == AUDIO_CMD_REGISTER ? 0 : header.length);
    return receive(connection, payload.data(), payload.size());
}

std::uint32_t wordOf(const Bytes& payload, std::size_t at) {
    std::uint32_t word = 0;
    demand(payload.size() >= at + sizeof word, "a request has all its fields");
    std::memcpy(&word, payload.data() + at, sizeof word);
    return word;
}

/// Bytes of the reply that the client wants.
std::uint32_t bodySize(std::uint32_t type, const Bytes& payload) {
    for (const wire::SettingRow& row : SETTINGS) {
        if (row.connection != type || row.id != wordOf(payload, 0)) continue;
        const auto size = static_cast<std::uint32_t>(row.replySize);
        return row.returnsBlock ? size + wordOf(payload, offsetof(wire::EffectRequest, size))
                                : size;
    }
    demand(false, "the catalogue has every function that is asked for");
    return 0;
}

}  // namespace

int Listener::accept() const {
    const int connection = ::accept(mSocket.get(), nullptr, nullptr);
    demand(connection >= 0, "a client is accepted");
    return connection;
}

Script::Script(Input& input) : manner(mannerOf(input.number<std::uint16_t>())) {
    for (std::uint8_t& byte : head)
        byte = input.byte();
    seed = input.number<std::uint32_t>();
}

Peer::Peer(const Listener& listener) : mThread([this, &listener] { run(listener); }) {}

Peer::~Peer() {
    mThread.join();
}

void Peer::prepare(const Script& script, bool mayClose) {
    const std::lock_guard lock(mLock);
    mScript = script;
    mMayClose = mayClose;
    mFunctions.clear();
}

unsigned Peer::answered() const {
    const std::lock_guard lock(mLock);
    return static_cast<unsigned>(mFunctions.size());
}

std::vector<Function> Peer::functions() const {
    const std::lock_guard lock(mLock);
    return mFunctions;
}

bool Peer::isClosing() const {
    const std::lock_guard lock(mLock);
    return mIsClosing;
}

void Peer::run(const Listener& listener) {
    const int connection = listener.accept();
    audio_param header{};
    while (!isClosing() && receiveMessage(connection, header, mPayload)) {
        mAnswer.clear();
        if (header.cmd == AUDIO_CMD_REGISTER) {
            std::uint32_t seed = 1;
            appendFrame(mAnswer, HEADER_REPLY, seed);
            append(mAnswer, wire::RegistrationReply{0, 1});
        } else {
            answer(header.type);
        }
        if (::send(connection, mAnswer.data(), mAnswer.size(), MSG_NOSIGNAL) < 0) break;
    }
    ::close(connection);
}

/// Answers a request, with what comes before and behind.
void Peer::answer(std::uint32_t type) {
    const std::lock_guard lock(mLock);
    const std::uint32_t size = bodySize(type, mPayload);
    mFunctions.emplace_back(type, wordOf(mPayload, 0));
    Manner manner = mScript.manner;
    if (closes(manner) && !mMayClose) manner = Manner::Whole;
    mIsClosing = closes(manner);

    std::uint32_t seed = mScript.seed;
    if (manner == Manner::Notified)
        for (std::uint32_t left = 1 + step(seed) % 3; left != 0; --left)
            appendFrame(mAnswer, HEADER_NOTIFY, seed);
    appendFrame(mAnswer, HEADER_REPLY, seed);
    if (manner == Manner::ClosedBeforeBody) return;
    appendBody(mAnswer, mScript, manner == Manner::Short ? 1 + step(seed) % size : size, seed);
    if (manner == Manner::ThenNoise) appendBody(mAnswer, mScript, sizeof(SocketFrameHeader), seed);
}

}  // namespace cabinaudio::fuzz
