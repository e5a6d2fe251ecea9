// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Signals.h"

#include <sys/wait.h>

#include <charconv>
#include <csignal>
#include <cstring>

namespace cabinaudio::tool::scenario {

std::optional<int> signalNumber(const std::string& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc() && end == text.data() + text.size())
        return number > 0 && number < NSIG ? std::optional(number) : std::nullopt;
    for (number = 1; number < NSIG; ++number)
        if (const char* name = sigabbrev_np(number);
            name != nullptr && (text == name || text == std::string("SIG") + name))
            return number;
    return std::nullopt;
}

std::string signalName(int signal) {
    const char* const name = sigabbrev_np(signal);
    return name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(signal);
}

std::string endText(int waitStatus) {
    if (WIFSIGNALED(waitStatus)) return signalName(WTERMSIG(waitStatus));
    return "status " + std::to_string(WEXITSTATUS(waitStatus));
}

}  // namespace cabinaudio::tool::scenario
