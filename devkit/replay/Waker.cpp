// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Waker.h"

#include "devkit/replay/Error.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace cabinaudio::replay {

namespace {

constexpr std::chrono::milliseconds LONGEST{60000};

int millisecondsUntil(Clock::time_point until) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
    return static_cast<int>(std::clamp(rest, std::chrono::milliseconds(0), LONGEST).count());
}

}  // namespace

Waker::Waker(int interruption)
    : mInterruption(interruption), mEvent(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!mEvent)
        throw Error(Error::Cause::System,
                    std::string("cannot make an event: ") + std::strerror(errno));
}

void Waker::wake() const {
    // A full counter has woken everybody.
    (void)!eventfd_write(mEvent.get(), 1);
}

void Waker::wait(std::vector<pollfd>& descriptors, Clock::time_point until) {
    const std::size_t own = descriptors.size();
    descriptors.push_back({mEvent.get(), POLLIN, 0});
    descriptors.push_back({mInterruption, POLLIN, 0});
    const int ready =
        poll(descriptors.data(), static_cast<nfds_t>(descriptors.size()), millisecondsUntil(until));
    const bool isInterrupted = ready > 0 && (descriptors[own + 1].revents & POLLIN) != 0;
    if (ready > 0 && (descriptors[own].revents & POLLIN) != 0) {
        eventfd_t count = 0;
        (void)!eventfd_read(mEvent.get(), &count);
    }
    descriptors.resize(own);
    if (ready <= 0)
        for (pollfd& descriptor : descriptors)
            descriptor.revents = 0;
    if (isInterrupted) throw Error(Error::Cause::Interrupted, "interrupted");
}

}  // namespace cabinaudio::replay
