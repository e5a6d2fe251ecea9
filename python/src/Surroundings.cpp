// SPDX-License-Identifier: Apache-2.0
#include "python/src/Surroundings.h"

#include <cabinaudio/link/LinkPolicy.h>

#include "python/src/Life.h"
#include "python/src/Reaper.h"
#include "wire/Frame.h"

#include <android/log.h>
#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <string>

namespace cabinaudio::python {

namespace {

constexpr char STAND_IN[] = "libcabinaudio-board.so";

/// What follows the server's name in the name of its socket. The stand-in adds it in the library's
/// calls; a stand-in that precedes the C library for the whole process adds it here, too.
std::string socketSuffix() {
    using Instance = const char*();
    if (dlsym(RTLD_DEFAULT, "cabinaudio_board_active") != nullptr) return "";
    void* const standIn = dlopen(STAND_IN, RTLD_LAZY | RTLD_NOLOAD);
    if (standIn == nullptr) return "";
    auto* const ask = reinterpret_cast<Instance*>(dlsym(standIn, "cabinaudio_board_instance"));
    dlclose(standIn);
    const char* const instance = ask != nullptr ? ask() : nullptr;
    return instance == nullptr || *instance == '\0' ? "" : "." + std::string(instance);
}

/// Without blocking. The server sees a connection that comes and goes.
bool serverListens() {
    const std::string name = wire::SERVER_SOCKET + socketSuffix();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Abstract: the first byte is zero.
    if (name.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return false;
    const bool listens =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), length) == 0 ||
        errno == EAGAIN;  // its backlog is full
    close(descriptor);
    return listens;
}

void setReplyTimeout(double seconds) {
    LinkPolicy policy = linkPolicy();
    policy.allowsOrdinaryThreads = true;
    policy.wakesOnServerLoss = true;
    policy.replyTimeout = std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    setLinkPolicy(policy);
}

double replyTimeout() {
    return std::chrono::duration<double>(linkPolicy().replyTimeout).count();
}

/// For a child process between fork and exec: it ends with the thread that has made it.
void dieWithParent() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

}  // namespace

void bindSurroundings(py::module_& module) {
    module.def("server_listens", &serverListens);
    module.def("set_reply_timeout", &setReplyTimeout, py::arg("seconds"));
    module.def("reply_timeout", &replyTimeout);
    module.def("set_log_priority", &__android_log_set_minimum_priority, py::arg("priority"));
    module.def("die_with_parent", &dieWithParent);
    module.def("abandon_after_fork", &abandonAfterFork);
    module.def("wait_for_destructions", &waitForDestructions,
               py::call_guard<py::gil_scoped_release>());
}

}  // namespace cabinaudio::python
