// SPDX-License-Identifier: Apache-2.0
#include "bench/support/HandOver.h"

#include "bench/support/Clock.h"
#include "bench/support/Errors.h"
#include "bench/support/PartTimes.h"
#include "bench/support/ServerAddress.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace cabinaudio::bench {

namespace {

int connectToServer() {
    const TimedPart timed(&PartTimes::connection);
    const int descriptor = checked(socket(AF_UNIX, SOCK_STREAM, 0), "socket");
    const ServerAddress address;
    checked(connect(descriptor, address.get(), address.length()), "connect");
    const timeval sendTimeout{10, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &sendTimeout, sizeof sendTimeout);
    return descriptor;
}

}  // namespace

HandOver::HandOver(audio_connect_type type, const char* name)
    : mSocket(connectToServer()), mType(type) {
    sem_init(&mReplySem, 0, 0);
    mReceiver.emplace("HandOver", receive, this);
    const TimedPart timed(&PartTimes::requests);
    audio_param registration;
    fillHeader(registration, AUDIO_CMD_REGISTER, AUDIO_REGISTER_WORD, sizeof registration.name,
               name);
    wire::RegistrationReply reply{};
    if (!exchange(&registration, sizeof registration, &reply, sizeof reply))
        raise(EPROTO, "registration");
    mHandle = reply.handle;
}

HandOver::~HandOver() {
    shutdown(mSocket, SHUT_RDWR);  // ends the receive thread
    mReceiver.reset();
    close(mSocket);
    sem_destroy(&mReplySem);
}

std::int32_t HandOver::request(std::initializer_list<std::uint32_t> words,
                               std::size_t replyLength) {
    const std::size_t payloadLength = words.size() * sizeof(std::uint32_t);
    auto* const message =
        static_cast<std::uint8_t*>(std::malloc(sizeof(audio_param) + payloadLength));
    auto* const reply = static_cast<std::uint8_t*>(std::malloc(replyLength));
    std::memcpy(message + sizeof(audio_param), words.begin(), payloadLength);
    std::memset(reply, 0, replyLength);
    fillHeader(*reinterpret_cast<audio_param*>(message), AUDIO_CMD_CALL_FLAG, mHandle,
               payloadLength, wire::NAME_UNKNOWN);
    std::int32_t result = -1;
    if (exchange(message, sizeof(audio_param) + payloadLength, reply, replyLength))
        std::memcpy(&result, reply, sizeof result);
    std::free(message);
    std::free(reply);
    return result;
}

void HandOver::fillHeader(audio_param& header, std::uint32_t command, std::uint32_t handle,
                          std::size_t length, const char* name) const {
    std::memset(&header, 0, sizeof header);
    header.cmd = command;
    header.type = mType;
    header.handle = handle;
    header.length = static_cast<std::uint32_t>(length);
    header.timestamp = nowUs();
    std::memcpy(header.name, name, std::min(std::strlen(name), sizeof header.name - 1));
}

bool HandOver::exchange(const void* message, std::size_t length, void* reply,
                        std::size_t replyLength) {
    if (send(mSocket, message, length, MSG_NOSIGNAL) < 0) return false;
    pthread_mutex_lock(&mReplyLock);
    while (!mReplyReady)
        pthread_cond_wait(&mReplyCond, &mReplyLock);
    mReplyReady = false;
    const ssize_t received = recv(mSocket, reply, replyLength, MSG_NOSIGNAL);
    sem_post(&mReplySem);
    pthread_mutex_unlock(&mReplyLock);
    return received == static_cast<ssize_t>(replyLength);
}

void* HandOver::receive(void* self) {
    static_cast<HandOver*>(self)->receiveFrames();
    return nullptr;
}

void HandOver::receiveFrames() {
    SocketFrameHeader header{};
    while (recv(mSocket, &header, sizeof header, MSG_NOSIGNAL) == ssize_t{sizeof header} &&
           header.magic == FRAME_MAGIC && header.headerId == HEADER_REPLY) {
        announceReply();
        sem_wait(&mReplySem);
    }
    announceReply();  // the requester then sees the end of the stream
}

void HandOver::announceReply() {
    pthread_mutex_lock(&mReplyLock);
    mReplyReady = true;
    pthread_cond_signal(&mReplyCond);
    pthread_mutex_unlock(&mReplyLock);
}

}  // namespace cabinaudio::bench
