// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/RecordTime.h"

#include "devkit/text/Format.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace cabinaudio::trace {
namespace {

constexpr std::uint64_t SECOND = 1'000'000'000;
constexpr std::uint8_t IS_POWER_OF_TWO = 0x80;
constexpr unsigned LARGEST_TEN = 19;  // power of ten in 64 bits
constexpr unsigned LARGEST_TWO = 63;

std::uint64_t powerOfTen(unsigned exponent) {
    std::uint64_t value = 1;
    for (unsigned i = 0; i < exponent; ++i)
        value *= 10;
    return value;
}

/// Units per second; 0 if the unit is too small to count in 64 bits.
std::uint64_t unitsPerSecond(std::uint8_t resolution) {
    const unsigned exponent = resolution & (IS_POWER_OF_TWO - 1U);
    if ((resolution & IS_POWER_OF_TWO) != 0)
        return exponent <= LARGEST_TWO ? std::uint64_t{1} << exponent : 0;
    return exponent <= LARGEST_TEN ? powerOfTen(exponent) : 0;
}

/// Part of a second in nanoseconds. A double is not exact for whole times, but is for a part.
std::uint64_t partOf(std::uint64_t units, std::uint64_t perSecond) {
    if (perSecond <= SECOND && SECOND % perSecond == 0) return units * (SECOND / perSecond);
    const auto share = static_cast<long double>(units) / static_cast<long double>(perSecond);
    return static_cast<std::uint64_t>(std::floor(share * static_cast<long double>(SECOND)));
}

}  // namespace

std::uint64_t nanosecondsOf(std::uint64_t units, std::uint8_t resolution, std::int64_t offset) {
    const std::uint64_t perSecond = unitsPerSecond(resolution);
    const std::uint64_t added = static_cast<std::uint64_t>(offset) * SECOND;
    if (perSecond == 0) return added;
    return added + units / perSecond * SECOND + partOf(units % perSecond, perSecond);
}

std::string isoTime(std::uint64_t nanoseconds) {
    const auto seconds = static_cast<std::time_t>(nanoseconds / SECOND);
    struct tm utc = {};
    gmtime_r(&seconds, &utc);
    char date[64];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
    return text::format("%s.%09uZ", date, static_cast<unsigned>(nanoseconds % SECOND));
}

std::uint64_t nanosecondsNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace cabinaudio::trace
