// SPDX-License-Identifier: Apache-2.0
#include "bench/support/AnsweringServer.h"

#include <cabinaudio/foundation/AudioConnectType.h>

#include "bench/support/Clock.h"
#include "bench/support/Errors.h"
#include "bench/support/Machine.h"
#include "bench/support/ServerAddress.h"
#include "wire/Frame.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace cabinaudio::bench {

namespace {

struct Request {
    audio_param header;
    std::uint32_t payload[42];
};

/// A frame header, followed by space for the longest body, or for a status and a notification.
struct Answer {
    SocketFrameHeader header;
    std::uint8_t rest[sizeof(wire::StatusReply) + sizeof(SocketFrameHeader)];
};

template <typename Reply>
std::size_t put(Answer& answer, const Reply& reply) {
    static_assert(sizeof reply <= sizeof answer.rest);
    std::memcpy(answer.rest, &reply, sizeof reply);
    return sizeof(SocketFrameHeader) + sizeof reply;
}

/// A status of success, followed by the notification of the stream's ring in the same send.
std::size_t putWithNotification(Answer& answer, std::uint32_t event, std::uint32_t value) {
    const std::size_t length = put(answer, wire::StatusReply{0});
    SocketFrameHeader notification{};
    notification.magic = FRAME_MAGIC;
    notification.headerId = HEADER_NOTIFY;
    notification.event = event;
    notification.sendTimeUs = nowUs();
    notification.param = value;
    std::memcpy(answer.rest + sizeof(wire::StatusReply), &notification, sizeof notification);
    return length + sizeof notification;
}

template <typename Function>
constexpr std::uint32_t id(Function function) {
    return static_cast<std::uint32_t>(function);
}

std::size_t answerPlayback(std::uint32_t function, std::uint32_t type, Answer& answer) {
    using wire::StreamFunction;
    if (function == id(StreamFunction::Create))
        return put(answer, wire::CreateReply{0, 0, RING_BYTES, PER_LOOP_BYTES, 0, 0, 0});
    if (function == id(StreamFunction::GetShareMemory))
        return put(answer, wire::ShareMemoryReply{0, ringAddress(type), RING_BYTES});
    if (function == id(StreamFunction::Start) && type == AUDIO_CONNECT_MAIN)
        return putWithNotification(answer, id(wire::SinkEvent::SourceActivated), 0);
    return put(answer, wire::StatusReply{0});
}

std::size_t answerCapture(std::uint32_t function, std::uint32_t type, Answer& answer) {
    using wire::CaptureFunction;
    if (function == id(CaptureFunction::Create))
        return put(answer, wire::CreateReply{0, 0, RING_BYTES, PER_LOOP_BYTES, PER_LOOP_MS,
                                             PER_LOOP_SAMPLES, 0});
    if (function == id(CaptureFunction::GetShareMemory))
        return put(answer, wire::ShareMemoryReply{0, ringAddress(type), RING_BYTES});
    if (function == id(CaptureFunction::Start) && type == AUDIO_CONNECT_UPLINK)
        return putWithNotification(answer, id(wire::CaptureEvent::RingState), 1);
    return put(answer, wire::StatusReply{0});
}

/// A status and a value.
struct ValueReply {
    std::int32_t status;
    std::int32_t value;
};

std::size_t answerVolume(std::uint32_t function, Answer& answer) {
    if (function == id(wire::VolumeFunction::GetMasterGain)) return put(answer, ValueReply{0, 0});
    return put(answer, wire::StatusReply{0});
}

/// Fills in the part after the header. @return bytes of the complete answer
std::size_t answerTo(const Request& request, Answer& answer) {
    const std::uint32_t type = request.header.type;
    if (request.header.cmd == AUDIO_CMD_REGISTER) return put(answer, wire::RegistrationReply{0, 1});
    if (type == AUDIO_CONNECT_VERSION_SETTING)
        return put(answer, wire::VersionReply{0, {1, 2, 3}, {4, 5, 6}, 7});
    if (type == AUDIO_CONNECT_VOLUME_SETTING) return answerVolume(request.payload[0], answer);
    if (type <= AUDIO_CONNECT_OUTPUT_INVOCATION)
        return answerPlayback(request.payload[0], type, answer);
    if (type >= AUDIO_CONNECT_INPUT0 && type <= AUDIO_CONNECT_INPUT_FRONT_FEEDBACK)
        return answerCapture(request.payload[0], type, answer);
    return put(answer, wire::StatusReply{0});
}

void serve(int connection) {
    Request request{};
    Answer answer{};
    answer.header.magic = FRAME_MAGIC;
    answer.header.headerId = HEADER_REPLY;
    // A client sends each message in one piece and waits for the reply.
    while (recv(connection, &request, sizeof request, 0) >= ssize_t{sizeof(audio_param)}) {
        const std::size_t length = answerTo(request, answer);
        answer.header.sendTimeUs = nowUs();
        if (send(connection, &answer, length, MSG_NOSIGNAL) < 0) return;
    }
}

[[noreturn]] void serveForEver(int listener) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    becomeRealTime();  // the measuring program reports whether it is permitted
    for (;;) {
        const int connection = accept(listener, nullptr, nullptr);
        if (connection < 0) _exit(1);
        serve(connection);
        close(connection);
    }
}

int listenOnServerSocket() {
    const int listener =
        checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket of the server");
    const ServerAddress address;
    checked(bind(listener, address.get(), address.length()), "bind of the server's socket");
    checked(listen(listener, 16), "listen");
    return listener;
}

}  // namespace

AnsweringServer::AnsweringServer(int connections) {
    const int listener = listenOnServerSocket();
    for (int i = 0; i < connections; ++i) {
        const pid_t process = checked(fork(), "fork");
        if (process == 0) serveForEver(listener);
        mProcesses.push_back(process);
    }
    close(listener);
}

AnsweringServer::~AnsweringServer() {
    for (const pid_t process : mProcesses) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

}  // namespace cabinaudio::bench
