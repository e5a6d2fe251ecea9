// SPDX-License-Identifier: Apache-2.0
#include "tools/server/ControlLine.h"

#include "devkit/board/ServerOwner.h"
#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/ServerSocket.h"
#include "tools/Terminal.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <thread>

namespace cabinaudio::tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char CONTROL_SOCKET[] = "/tmp/cabinaudio_control";
constexpr std::chrono::milliseconds POLL_PAUSE{2};

void connectToServer(int descriptor) {
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Abstract: the first byte is zero and the name is not terminated.
    std::memcpy(address.sun_path + 1, CONTROL_SOCKET, sizeof CONTROL_SOCKET - 1);
    constexpr auto LENGTH =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + sizeof CONTROL_SOCKET);
    if (connect(descriptor, reinterpret_cast<const struct sockaddr*>(&address), LENGTH) == 0)
        return;
    // EAGAIN: the server listens, but its backlog is full.
    if (errno == EAGAIN) throw Failure("the server is busy: too many wait for it");
    // The head unit's server has no control socket.
    if (serverListens()) throw Failure("the server takes no commands; it is not cabinaudio-server");
    throw Failure(noServerText(), ExitCode::NoServer);
}

class ControlLine {
public:
    explicit ControlLine(std::chrono::milliseconds bound)
        : mBound(bound), mDeadline(Clock::now() + bound) {}

    void send(const std::string& line) const {
        mSocket.warnOfForeignServer();
        mSocket.send(line + "\n");
    }

    [[nodiscard]] std::string receiveLine() const {
        std::string line;
        while (line.empty() || line.back() != '\n') {
            const std::optional<std::string> part = receiveSome("answer");
            if (!part) throw Failure("the server is gone; it has not answered", ExitCode::NoServer);
            line += *part;
        }
        line.pop_back();
        return line;
    }

    /// Waits until the server's sockets are all closed: a dying process closes them one by one, and
    /// a client that connects meanwhile waits for an answer that never comes.
    void waitForServerEnd() const {
        while (receiveSome("end")) {
        }
        while (serverListens()) {
            if (Clock::now() >= mDeadline) throwTimeOut("end");
            std::this_thread::sleep_for(POLL_PAUSE);
        }
    }

private:
    /// @return empty once the server has closed the connection
    [[nodiscard]] std::optional<std::string> receiveSome(const char* awaited) const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(mDeadline - Clock::now());
        struct pollfd entry = {mSocket.descriptor(), POLLIN, 0};
        if (left.count() <= 0 || poll(&entry, 1, static_cast<int>(left.count())) == 0)
            throwTimeOut(awaited);
        std::array<char, 4096> part;
        const ssize_t got = recv(mSocket.descriptor(), part.data(), part.size(), 0);
        if (got > 0) return std::string(part.data(), static_cast<std::size_t>(got));
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) return std::string();
        return std::nullopt;
    }

    [[noreturn]] void throwTimeOut(const char* awaited) const {
        throw Failure(
            "timed out after " + secondsText(mBound) + " waiting for the server's " + awaited,
            ExitCode::TimedOut);
    }

    const std::chrono::milliseconds mBound;
    const Clock::time_point mDeadline;
    const ControlSocket mSocket;
};

}  // namespace

ControlSocket::ControlSocket()
    : mDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    if (mDescriptor < 0) throw Failure(std::string("no socket: ") + std::strerror(errno));
    try {
        connectToServer(mDescriptor);
    } catch (...) {
        close(mDescriptor);
        throw;
    }
}

ControlSocket::~ControlSocket() {
    close(mDescriptor);
}

void ControlSocket::warnOfForeignServer() const {
    const std::string warning = board::warningOfForeignServer(mDescriptor);
    if (!warning.empty()) complain(warning);
}

void ControlSocket::send(const std::string& line) const {
    if (::send(mDescriptor, line.data(), line.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(line.size()) &&
        errno != EPIPE && errno != ECONNRESET)
        throw Failure(std::string("cannot send the command: ") + std::strerror(errno));
}

std::string askServer(const std::string& line, std::chrono::milliseconds bound,
                      AfterCommand after) {
    const ControlLine control(bound);
    control.send(line);
    const std::string answer = control.receiveLine();
    if (after == AfterCommand::WaitForServerEnd && answer == SERVER_DONE)
        control.waitForServerEnd();
    return answer;
}

}  // namespace cabinaudio::tool
