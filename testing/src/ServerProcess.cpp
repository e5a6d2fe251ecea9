// SPDX-License-Identifier: Apache-2.0
#include "testing/src/ServerProcess.h"

#include <cabinaudio/testing/Failure.h>

#include "testing/src/Text.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

namespace cabinaudio::testing {
namespace {

constexpr char CONTROL_SOCKET[] = "/tmp/cabinaudio_control";
constexpr std::chrono::minutes UNTIL_READY{1};

std::pair<Descriptor, Descriptor> makePipe() {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw Failure(withReason("pipe"));
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

/// Whether there are bytes, or the end of the stream.
bool isReadable(int descriptor, std::chrono::steady_clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry = {descriptor, POLLIN, 0};
        const int found = poll(&entry, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
        if (found >= 0 || errno != EINTR) return found > 0;
    }
}

/// By the whole name of the instance's socket, which the board stand-in leaves as it is.
Descriptor connectTo(const std::string& instance) {
    const std::string name = CONTROL_SOCKET + (instance.empty() ? "" : "." + instance);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof address.sun_path)
        throw Failure("instance name too long: " + instance);
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    Descriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!descriptor ||
        connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0)
        throw Failure(withReason("the server does not listen for commands"));
    return descriptor;
}

}  // namespace

ServerProcess::ServerProcess(std::vector<std::string> words, std::string instance,
                             const std::string& logPath, std::chrono::milliseconds patience)
    : mInstance(std::move(instance)) {
    auto [ready, readyOfChild] = makePipe();
    const std::string program = words.front();
    words.insert(words.begin() + 1, {"--ready-fd", std::to_string(READY_FD)});
    Start start;
    start.words = std::move(words);
    start.environment = {{"CABINAUDIO_INSTANCE", mInstance}};
    start.outPath = logPath;
    start.errPath = logPath;
    start.readyFd = readyOfChild.get();
    mChild = std::make_unique<Child>(start);
    readyOfChild.reset();

    std::array<char, 8> text = {};
    const auto deadline = std::chrono::steady_clock::now() + UNTIL_READY + patience;
    if (isReadable(ready.get(), deadline) && read(ready.get(), text.data(), text.size()) > 0)
        return;
    mChild->kill();
    removePhysicalMemory(mInstance);
    throw Failure(program + " did not come up: " + contentsOf(logPath));
}

ServerProcess::~ServerProcess() {
    if (!mChild->isRunning()) return;
    mChild->kill();
    removePhysicalMemory(mInstance);
}

std::string ServerProcess::ask(const std::string& line, std::chrono::milliseconds bound) const {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    const Descriptor socket = connectTo(mInstance);
    const std::string request = line + "\n";
    std::string answer;
    if (::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL) < 0)
        throw Failure(withReason("command '" + line + "'"));
    while (answer.empty() || answer.back() != '\n') {
        std::array<char, 4096> chunk = {};
        if (!isReadable(socket.get(), deadline))
            throw Failure("command '" + line + "': no answer within " +
                          std::to_string(bound.count()) + " ms");
        const ssize_t count = recv(socket.get(), chunk.data(), chunk.size(), 0);
        if (count <= 0) throw Failure("command '" + line + "': the server ended without an answer");
        answer.append(chunk.data(), static_cast<std::size_t>(count));
    }
    answer.pop_back();
    return answer;
}

int ServerProcess::wait(std::chrono::milliseconds bound) const {
    const int status = mChild->waitFor(bound) ? *mChild->waitFor({}) : mChild->kill();
    if (!WIFEXITED(status)) removePhysicalMemory(mInstance);
    return status;
}

void removePhysicalMemory(const std::string& instance) {
    // The common instance's may belong to another server.
    if (instance.empty()) return;
    const std::string file = "/dev/shm/cabinaudio-physmem-" + std::to_string(geteuid()) + "-";
    unlink((file + instance).c_str());
}

}  // namespace cabinaudio::testing
