// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Setting.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

/// Helpers for the rows of the table.
namespace cabinaudio::tool::rows {

inline constexpr double LOWEST_GAIN = -103.5;

/// A volume: up to 24 dB, or 0 to 148 steps.
inline Type gain() {
    return {.kind = Kind::Gain, .low = LOWEST_GAIN, .high = 24, .unit = "dB"};
}
/// An attenuation: up to 0 dB, or 0 to 100 steps.
inline Type attenuation(std::size_t count = 1) {
    return {.kind = Kind::Gain, .count = count, .low = LOWEST_GAIN, .high = 0, .unit = "dB"};
}
inline Type real(double low, double high, const char* unit, std::size_t count = 1) {
    return {.kind = Kind::Real, .count = count, .low = low, .high = high, .unit = unit};
}
inline Type integer(double low, double high, const char* unit = "", std::size_t count = 1) {
    return {.kind = Kind::Integer, .count = count, .low = low, .high = high, .unit = unit};
}
/// Any number; its meaning is the server's own.
inline Type anyInteger(std::size_t count = 1) {
    return integer(std::numeric_limits<std::int32_t>::min(),
                   std::numeric_limits<std::int32_t>::max(), "", count);
}
inline Type anyUnsigned(std::size_t count = 1) {
    return integer(0, std::numeric_limits<std::uint32_t>::max(), "", count);
}
/// Meters. The unit is that of JSON.
inline Type level(std::size_t count = 1) {
    return {.kind = Kind::Meter,
            .count = count,
            .high = std::numeric_limits<std::uint32_t>::max(),
            .unit = "millionth"};
}
/// A setting that triggers an action.
inline Type action(const char* word) {
    return {.kind = Kind::Integer, .low = 1, .high = 0, .words = {{word, 1}}};
}
inline Type onOff() {
    return {.kind = Kind::Switch};
}
inline Type text() {
    return {.kind = Kind::Text};
}
inline Type bytes(std::size_t most) {
    return {.kind = Kind::Bytes, .count = most};
}
inline Type list() {
    return {.kind = Kind::List};
}
inline Type loudspeakers() {
    return {.kind = Kind::Loudspeakers};
}

/// A number in the library's type.
template <typename Number>
Number integerOf(const Value& value, std::size_t index = 0) {
    return static_cast<Number>(std::get<Integers>(value)[index]);
}
inline float realOf(const Value& value, std::size_t index = 0) {
    return std::get<Reals>(value)[index];
}

/// A placeholder's text as a number; names have been validated before.
inline long long numberOf(const std::string& name) {
    return std::stoll(name);
}
/// The loudspeaker with this name.
inline audio::audio_channel_idx_e channelOf(const std::string& name) {
    int bit = 0;
    while (LOUDSPEAKERS[bit] != name)
        ++bit;
    return static_cast<audio::audio_channel_idx_e>(1 << bit);
}

// Readings from the library's getters. `call` takes the result by reference.
template <typename Call>
Reading readReal(Call call) {
    float number = 0;
    const int status = call(number);
    return {status, Reals{number}};
}
template <typename Call>
Reading readTwoReals(Call call) {
    float first = 0;
    float second = 0;
    const int status = call(first, second);
    return {status, Reals{first, second}};
}
template <typename Call>
Reading readStep(Call call) {
    std::uint8_t step = 0;
    const int status = call(step);
    return {status, Steps{{step}}};
}
template <typename Number, typename Call>
Reading readInteger(Call call) {
    Number number{};
    const int status = call(number);
    return {status, Integers{static_cast<std::int64_t>(number)}};
}
template <typename Call>
Reading readSwitch(Call call) {
    bool isOn = false;
    const int status = call(isOn);
    return {status, isOn};
}

/// Passes a gain to the operation for gains, or to the one for steps.
template <typename Call>
int setGain(const Value& value, Call call) {
    if (const auto* steps = std::get_if<Steps>(&value)) return call(steps->steps.front());
    return call(std::get<Reals>(value).front());
}

}  // namespace cabinaudio::tool::rows
