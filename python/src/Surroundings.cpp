// SPDX-License-Identifier: Apache-2.0
#include "python/src/Surroundings.h"

#include <cabinaudio/link/LinkPolicy.h>

#include "python/src/Failure.h"
#include "python/src/Life.h"
#include "python/src/Reaper.h"

#include <android/log.h>
#include <sys/prctl.h>

#include <chrono>
#include <csignal>

namespace cabinaudio::python {

namespace {

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
    module.def("abandon_after_fork", [] {
        abandonAfterFork();
        forgetDestructions();
    });
    module.def("wait_for_destructions", &waitForDestructions,
               py::call_guard<py::gil_scoped_release>());
}

}  // namespace cabinaudio::python
