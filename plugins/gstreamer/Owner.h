// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>
#include <unistd.h>

namespace cabinaudio::gstreamer {

/// The process that made an element. The child of a fork() has neither its threads nor a connection
/// of its own, so it must leave the element's stream alone, even at the end.
class Owner {
public:
    [[nodiscard]] bool isThisProcess() const { return getpid() == mProcess; }

private:
    const pid_t mProcess = getpid();
};

}  // namespace cabinaudio::gstreamer
