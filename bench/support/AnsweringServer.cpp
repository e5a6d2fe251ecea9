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

/// A frame header and the longest body behind it.
struct Answer {
    SocketFrameHeader header;
    std::uint8_t body[sizeof(wire::VersionReply)];
};

template <typename Reply>
std::size_t put(Answer& answer, const Reply& reply) {
    static_assert(sizeof reply <= sizeof answer.body);
    std::memcpy(answer.body, &reply, sizeof reply);
    return sizeof(SocketFrameHeader) + sizeof reply;
}

/// Fills the body. @return bytes of the whole answer
std::size_t answerTo(const Request& request, Answer& answer) {
    if (request.header.cmd == AUDIO_CMD_REGISTER) return put(answer, wire::RegistrationReply{0, 1});
    if (request.header.type == AUDIO_CONNECT_VERSION_SETTING)
        return put(answer, wire::VersionReply{0, {1, 2, 3}, {4, 5, 6}, 7});
    const bool isStream = request.header.type <= AUDIO_CONNECT_OUTPUT_INVOCATION;
    if (isStream && request.payload[0] == static_cast<std::uint32_t>(wire::StreamFunction::Create))
        return put(answer, wire::CreateReply{0, 0, RING_BYTES, PER_LOOP_BYTES, {}});
    return put(answer, wire::StatusReply{0});
}

void serve(int connection) {
    Request request{};
    Answer answer{};
    answer.header.magic = FRAME_MAGIC;
    answer.header.headerId = HEADER_REPLY;
    // A client sends each message in one piece and waits for its answer.
    while (recv(connection, &request, sizeof request, 0) >= ssize_t{sizeof(audio_param)}) {
        const std::size_t length = answerTo(request, answer);
        answer.header.sendTimeUs = nowUs();
        if (send(connection, &answer, length, MSG_NOSIGNAL) < 0) return;
    }
}

[[noreturn]] void serveForEver(int listener) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    becomeRealTime();  // whoever measures says whether that is permitted
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
