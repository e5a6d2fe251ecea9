// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <functional>

namespace cabinaudio::test {

/// While it lives, this function of the test is what this thread reads every clock with; one at a
/// time. It returns what clock_gettime() is to return.
class OwnClock {
public:
    explicit OwnClock(std::function<int(struct timespec&)> read);
    ~OwnClock();
    OwnClock(const OwnClock&) = delete;
    OwnClock& operator=(const OwnClock&) = delete;

private:
    std::function<int(struct timespec&)> mRead;
};

}  // namespace cabinaudio::test
