// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace cabinaudio::tool {

/// Volume steps, as opposed to gains.
struct Steps {
    std::vector<std::uint8_t> steps;
};
using Reals = std::vector<float>;
using Integers = std::vector<std::int64_t>;
using Octets = std::vector<std::uint8_t>;
using Texts = std::vector<std::string>;

/// A setting's value. Single numbers are lists of one.
using Value = std::variant<Reals, Steps, Integers, bool, std::string, Octets, Texts>;

enum class Kind {
    Gain,          // Reals in dB, or Steps
    Real,          // Reals
    Integer,       // Integers
    Meter,         // Integers in millionths of full scale; as text in dB
    Loudspeakers,  // Integers: a mask of audio_channel_idx_e
    Switch,        // bool
    Text,          // std::string
    Bytes,         // Octets
    List,          // Texts
};

/// The values that a setting accepts, and their format.
struct Type {
    Kind kind = Kind::Text;
    std::size_t count = 1;  // of numbers; for bytes the maximum
    double low = 0;
    double high = 0;
    const char* unit = "";
    std::vector<std::pair<const char*, std::int64_t>> words = {};  // names for some integers
};

/// Names of the loudspeakers, in the order of their bits.
extern const char* const LOUDSPEAKERS[6];

/// The largest step of a gain.
[[nodiscard]] int largestStep(const Type& type);

/// A value in the form that users write: `-6.5dB`, `87`, `on`, `20ms,20ms`. Numbers have the fewest
/// digits that read back unchanged.
[[nodiscard]] std::string valueText(const Type& type, const Value& value);

/// The same for JSON: numbers, strings, lists of them. Bytes are hex digits.
[[nodiscard]] Json valueJson(const Type& type, const Value& value);

/// Levels in dB for JSON; null is silence.
[[nodiscard]] Json levelsInDb(const Type& type, const Value& value);

/// A value that does not depend on the present one; see Change.h for the others.
/// @throws std::invalid_argument with a text that completes "volume.master: ..."
[[nodiscard]] Value parsedValue(const Type& type, const std::string& text);

/// "-103.5dB to 24dB, or 0 to 148", "on or off", "4 x -103.5dB to 0dB, or ...".
[[nodiscard]] std::string rangeText(const Type& type);

/// Number ranges in their shortest form: "-103.5..24dB", "4 x 0..10ms", "off, 0..100%".
[[nodiscard]] std::string limitsText(const Type& type);

/// "gain", "integer" ...
[[nodiscard]] const char* kindName(Kind kind);

}  // namespace cabinaudio::tool
