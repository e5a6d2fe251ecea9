// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Moment.h"

#include "tools/scenario/Words.h"

#include <string_view>

namespace cabinaudio::tool::scenario {

namespace {

/// The first millisecond that begins at this frame or later. The frame of a millisecond is rounded
/// down.
std::uint64_t startedMs(std::uint64_t frame, unsigned rate) {
    return (frame * 1000 + rate - 1) / rate;
}

/// A frame that begins a millisecond has the shorter text.
std::string textOf(std::uint64_t frame, unsigned rate) {
    const std::uint64_t ms = startedMs(frame, rate);
    return ms * rate / 1000 == frame ? std::to_string(ms) : std::to_string(frame) + "f";
}

}  // namespace

std::optional<Moment> momentOf(const std::string& text, unsigned rate, const Moment& before) {
    std::string_view rest = text;
    const bool isRelative = rest.starts_with('+');
    if (isRelative) rest.remove_prefix(1);
    const bool isInFrames = rest.ends_with('f');
    if (isInFrames) rest.remove_suffix(1);
    const std::optional<std::uint64_t> number = numberOf<std::uint64_t>(std::string(rest));
    const std::uint64_t last = LONGEST_MS * rate / 1000;
    if (!number || *number > (isInFrames ? last : LONGEST_MS)) return std::nullopt;
    // Milliseconds are added before they become frames: rounded twice, the sum may be another frame
    // than that of the whole number.
    std::uint64_t sum = *number;
    if (isRelative) sum += isInFrames ? before.frame : startedMs(before.frame, rate);
    const std::uint64_t frame = isInFrames ? sum : sum * rate / 1000;
    if (frame > last) return std::nullopt;
    return Moment{frame, textOf(frame, rate)};
}

std::uint64_t milliseconds(const Moment& moment, unsigned rate) {
    return moment.frame * 1000 / rate;
}

}  // namespace cabinaudio::tool::scenario
