// SPDX-License-Identifier: Apache-2.0
#include "tests/hostile/HostileServer.h"

#include <cabinaudio/foundation/AudioConnectType.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace cabinaudio::test {

namespace {

/// A scripted server keeps each request and client; it is replaced after so many clients.
constexpr std::size_t MOST_CLIENTS = 500;

Bytes reply(std::initializer_list<std::uint32_t> words) {
    Bytes bytes = ScriptedServer::frame(HEADER_REPLY);
    const Bytes body = bytesOf(words);
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

bool captures(std::uint32_t type) {
    return type == AUDIO_CONNECT_UPLINK || type == AUDIO_CONNECT_INPUT0;
}

/// Of a ring in physical memory.
Bytes announcement(std::uint32_t type) {
    if (type == AUDIO_CONNECT_UPLINK) return ScriptedServer::frame(HEADER_NOTIFY, 2, 1);
    if (type == AUDIO_CONNECT_MAIN || type == AUDIO_CONNECT_AUXILIARY)
        return ScriptedServer::frame(HEADER_NOTIFY, 3, 0);
    return {};
}

Bytes goodAnswer(std::uint32_t type, std::uint32_t function) {
    constexpr std::uint32_t RING = RING_SIZE;
    if (type >= AUDIO_CONNECT_APP_SETTING) return reply({0});  // the clients miss no more
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

}  // namespace

Plan cutAfter(std::size_t budget, Move::End end) {
    const auto left = std::make_shared<std::size_t>(budget);
    return [left, end](std::size_t, const Bytes& good) -> Move {
        const std::size_t count = std::min(*left, good.size());
        *left -= count;
        const auto stop = good.begin() + static_cast<std::ptrdiff_t>(count);
        return {Bytes(good.begin(), stop), count < good.size() ? end : Move::End::GoesOn};
    };
}

void HostileServer::renew() {
    mServer.reset();
    mConversations.clear();
    mServer = std::make_unique<ScriptedServer>();
    mServer->onRegistration([this](const Request& request) { return answer(request); });
    mServer->onOther([this](const Request& request) { return answer(request); });
}

void HostileServer::plan(const std::string& name, Plan plan) {
    if (mServer->clients() >= MOST_CLIENTS) renew();
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

Answer HostileServer::answer(const Request& request) {
    Conversation& talk = mConversations[request.client];
    if (talk.isOver) return Answer::none();
    Bytes good = reply({0, 7});
    if (talk.messages == 0)
        talk.plan = planOf(std::string(request.header.name, strnlen(request.header.name, 63)));
    else
        good = goodAnswer(request.header.type, request.function());
    const Move move = talk.plan(talk.messages++, good);
    talk.isOver = move.end != Move::End::GoesOn;
    Answer answer = Answer::raw(move.bytes);
    if (move.end == Move::End::Closes) answer.thenClose();
    return answer;
}

}  // namespace cabinaudio::test
