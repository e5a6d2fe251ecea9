// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Setting.h"

#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// A new value that depends on the present one.
struct Change {
    enum class Scale {
        Own,      // the numbers of the setting, in its unit
        Steps,    // volume steps; the present value must be in steps
        Percent,  // points of the amplitude
        Toggle,   // the other position of a switch
    };

    Scale scale = Scale::Own;
    std::vector<double> amounts = {};  // one for each number of the value; none for a toggle
};

/// Reads "3dB+", "5-,5-", "10%+", "toggle" or "!".
/// @return empty if the text is a value instead
/// @throws std::invalid_argument with a text that completes "volume.master: ..."
[[nodiscard]] std::optional<Change> parsedChange(const Type& type, const std::string& text);

/// Reads the amount behind += and -=: "3dB", "5", "10%".
/// @param sign  '+' or '-'
[[nodiscard]] Change parsedAmount(const Type& type, const std::string& text, char sign);

/// Refuses a leading sign where a value has none, and could be mistaken for a change.
void refuseStraySign(const Setting& setting, const std::string& text);

struct ChangedValue {
    Value value;
    bool isLimited = false;  // the change would have left the range
};

/// @param present  in steps for a change of steps
[[nodiscard]] ChangedValue changedValue(const Type& type, const Value& present,
                                        const Change& change);

/// Changes that the set command accepts for a setting, as examples; none if it has no present
/// value.
[[nodiscard]] std::vector<std::string> exampleChanges(const Setting& setting);

}  // namespace cabinaudio::tool
