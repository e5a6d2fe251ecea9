// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Session.h"

#include "devkit/contract/Bytes.h"
#include "devkit/contract/Outcome.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace cabinaudio::contract {

namespace {

constexpr std::chrono::milliseconds STEP{1};

/// Milliseconds for poll(), rounded up.
int msUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

}  // namespace

std::string Session::patienceText() const {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g s",
                  std::chrono::duration<double>(mPatience).count());
    return text.data();
}

bool Session::waitFor(int descriptor, Clock::time_point deadline) const {
    while (true) {
        std::array<struct pollfd, 2> polled{{{descriptor, POLLIN, 0}, {mStop, POLLIN, 0}}};
        const int left = msUntil(deadline);
        (void)poll(polled.data(), polled.size(), left);
        if (polled[1].revents != 0) throw Interrupted();
        if (polled[0].revents != 0) return true;
        if (left == 0) return false;
    }
}

void Session::pause() const {
    (void)waitFor(-1, Clock::now() + STEP);
}

std::string hexText(const Bytes& bytes) {
    constexpr std::size_t MOST = 32;
    std::string text;
    for (std::size_t i = 0; i < std::min(bytes.size(), MOST); ++i) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x ", bytes[i]);
        text += digits.data();
    }
    if (bytes.size() > MOST) return text + "...";
    if (!text.empty()) text.pop_back();
    return text.empty() ? "no bytes" : text;
}

}  // namespace cabinaudio::contract
