// SPDX-License-Identifier: Apache-2.0
// Used where FFTW or libsamplerate are missing.
#include "tools/scenario/Hearing.h"

namespace cabinaudio::tool::scenario {

struct Hearing::Inside {};

Hearing::Hearing(const PartFiles&, const std::vector<std::string>&) {}
Hearing::~Hearing() = default;
Hearing::Hearing(Hearing&&) noexcept = default;
Hearing& Hearing::operator=(Hearing&&) noexcept = default;

std::pair<bool, std::string> Hearing::verdict(const std::string&) const {
    return {false, "this build cannot make checks"};
}

void Hearing::draw() const {}

std::string checkFault(const std::string&) {
    return "this build cannot make checks: FFTW or libsamplerate were missing";
}

}  // namespace cabinaudio::tool::scenario
