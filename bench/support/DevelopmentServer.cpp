// SPDX-License-Identifier: Apache-2.0
#include "bench/support/DevelopmentServer.h"

#include "bench/support/Clock.h"
#include "bench/support/Errors.h"
#include "bench/support/ServerAddress.h"

#include <sys/socket.h>
#include <unistd.h>

namespace cabinaudio::bench {

namespace {

bool doesAnswer() {
    const int descriptor = checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    const ServerAddress address;
    const bool isThere = connect(descriptor, address.get(), address.length()) == 0;
    close(descriptor);
    return isThere;
}

}  // namespace

DevelopmentServer::DevelopmentServer(const std::string& program, const std::string& directory)
    : mReport(directory + "/report.json"),
      mDaemon(
          {{program, "--output", "null", "--report", mReport, "--quiet"}, {}, directory + "/log"}) {
    mDaemon.waitFor(doesAnswer);
}

std::uint64_t DevelopmentServer::processorTime() const {
    return processorTimeOf(mDaemon.process());
}

}  // namespace cabinaudio::bench
