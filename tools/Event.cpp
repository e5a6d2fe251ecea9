// SPDX-License-Identifier: Apache-2.0
#include "tools/Event.h"

#include "tools/Failure.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

namespace cabinaudio::tool {

Event::Event() : mDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (mDescriptor < 0)
        throw Failure(std::string("cannot make an event: ") + std::strerror(errno));
}

Event::~Event() {
    close(mDescriptor);
}

void Event::set() const noexcept {
    const int error = errno;
    const std::uint64_t one = 1;
    // A full counter means that the event is already set.
    [[maybe_unused]] const ssize_t written = write(mDescriptor, &one, sizeof one);
    errno = error;
}

void Event::clear() const noexcept {
    std::uint64_t count;
    [[maybe_unused]] const ssize_t got = read(mDescriptor, &count, sizeof count);
}

bool Event::isSet() const noexcept {
    struct pollfd entry = {mDescriptor, POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

void waitForAny(std::initializer_list<const Event*> events, std::chrono::nanoseconds bound) {
    std::vector<struct pollfd> entries;
    for (const Event* event : events)
        entries.push_back({event->descriptor(), POLLIN, 0});
    bound = std::max(bound, std::chrono::nanoseconds::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(bound);
    const struct timespec limit = {static_cast<time_t>(seconds.count()),
                                   static_cast<long>((bound - seconds).count())};
    ppoll(entries.data(), entries.size(), &limit, nullptr);
}

}  // namespace cabinaudio::tool
