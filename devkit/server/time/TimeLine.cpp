// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/TimeLine.h"

namespace cabinaudio::server {
namespace {

constexpr char NOT_OWNED[] =
    "error: time passes by itself; only --time lockstep and stepped take commands";

}  // namespace

void TimeLine::run(Milliseconds, const Later& later) {
    later(NOT_OWNED);
}

std::string TimeLine::stop(std::optional<Milliseconds>) {
    return NOT_OWNED;
}

std::string TimeLine::go() {
    return NOT_OWNED;
}

std::string TimeLine::await(const std::string&, std::optional<Milliseconds>) {
    return NOT_OWNED;
}

std::string TimeLine::hold(std::uint32_t) {
    return NOT_OWNED;
}

void TimeLine::settle(const Later& later) {
    later(NOT_OWNED);
}

std::string TimeLine::until(const std::string&) {
    return NOT_OWNED;
}

std::string TimeLine::at(Milliseconds, const std::string&) {
    return NOT_OWNED;
}

}  // namespace cabinaudio::server
