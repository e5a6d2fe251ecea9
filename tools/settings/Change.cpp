// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Change.h"

#include "tools/settings/Amplitude.h"
#include "tools/settings/Numbers.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string_view>

namespace cabinaudio::tool {

namespace {

using Scale = Change::Scale;

[[noreturn]] void refuseChange(const std::string& why) {
    throw std::invalid_argument(why);
}

bool isNumeric(const Type& type) {
    if (type.low > type.high) return false;  // words only
    return type.kind == Kind::Gain || type.kind == Kind::Real || type.kind == Kind::Integer;
}

/// Removes the unit. @return the scale of the number that is left
Scale takeScale(const Type& type, std::string_view& text) {
    if (type.kind != Kind::Gain) {
        takeUnit(text, type.unit);
        return Scale::Own;
    }
    if (takeUnit(text, type.unit)) return Scale::Own;
    return takeUnit(text, "%") ? Scale::Percent : Scale::Steps;
}

bool isWhole(const Type& type, Scale scale) {
    return scale == Scale::Steps || type.kind == Kind::Integer;
}

double parsedNumber(const Type& type, std::string_view text) {
    const std::string_view whole = text;
    if (!text.empty() && isSign(text.front()))
        refuseChange("an amount has no sign of its own: write 3+ or 3- for a change by 3");
    const bool mustBeWhole = isWhole(type, takeScale(type, text));
    std::int64_t integer = 0;
    double number = 0;
    if (mustBeWhole && parseNumber(text, integer)) return static_cast<double>(integer);
    if (!mustBeWhole && parseNumber(text, number) && std::isfinite(number)) return number;
    refuseChange("'" + std::string(whole) + "' is no amount of a change" +
                 (type.kind == Kind::Gain ? "; a number without dB or % is a volume step" : ""));
}

/// @param parts  amounts without the sign of the change
Change parsedParts(const Type& type, const std::vector<std::string>& parts,
                   const std::string& signs) {
    Change change;
    for (std::size_t i = 0; i < type.count; ++i) {
        const std::size_t part = parts.size() == 1 ? 0 : i;  // one for all
        std::string_view unit = parts[part];
        const Scale scale = takeScale(type, unit);
        if (i > 0 && scale != change.scale)
            refuseChange("must be all in dB, all in steps or all in %");
        change.scale = scale;
        const double number = parsedNumber(type, parts[part]);
        change.amounts.push_back(signs[part] == '-' ? -number : number);
    }
    return change;
}

void checkCount(const Type& type, std::size_t count) {
    if (count != 1 && count != type.count)
        refuseChange("must be one amount, or " + std::to_string(type.count) + " of them");
}

/// A value that is clamped to a range, and whether it had to be.
class Limits {
public:
    Limits(double low, double high) : mLow(low), mHigh(high) {}

    double clamp(double number) {
        const double inside = std::clamp(number, mLow, mHigh);
        mWasNeeded = mWasNeeded || inside != number;
        return inside;
    }
    [[nodiscard]] bool wereNeeded() const { return mWasNeeded; }

private:
    double mLow;
    double mHigh;
    bool mWasNeeded = false;
};

ChangedValue changedGains(const Type& type, const Reals& present, const Change& change) {
    Limits limits(type.low, type.high);
    Limits amplitudes(0, percentOfGain(type.high, type.low));
    Reals gains;
    for (std::size_t i = 0; i < change.amounts.size(); ++i) {
        const double dB = decimal(present.at(i));
        if (change.scale != Scale::Percent) {
            gains.push_back(static_cast<float>(limits.clamp(dB + change.amounts[i])));
            continue;
        }
        const double percent = amplitudes.clamp(percentOfGain(dB, type.low) + change.amounts[i]);
        gains.push_back(static_cast<float>(limits.clamp(gainOfPercent(percent, type.low))));
    }
    return {gains, limits.wereNeeded() || amplitudes.wereNeeded()};
}

ChangedValue changedSteps(const Type& type, const Steps& present, const Change& change) {
    Limits limits(0, largestStep(type));
    Steps steps;
    for (std::size_t i = 0; i < change.amounts.size(); ++i)
        steps.steps.push_back(
            static_cast<std::uint8_t>(limits.clamp(present.steps.at(i) + change.amounts[i])));
    return {steps, limits.wereNeeded()};
}

ChangedValue changedIntegers(const Type& type, const Integers& present, const Change& change) {
    Limits limits(type.low, type.high);
    Integers numbers;
    for (std::size_t i = 0; i < change.amounts.size(); ++i) {
        const double sum = static_cast<double>(present.at(i)) + change.amounts[i];
        numbers.push_back(static_cast<std::int64_t>(limits.clamp(sum)));
    }
    return {numbers, limits.wereNeeded()};
}

/// The ways to write the number behind a sign that means nothing.
std::string waysToWrite(const Setting& setting, Scale scale, const std::string& part) {
    const bool isUp = part.front() == '+';
    const std::string bare = part.substr(1);
    std::vector<std::string> ways;
    if (isUp) ways.push_back(bare + (scale == Scale::Steps ? " for the step" : " for the value"));
    if (scale == Scale::Steps) ways.push_back(part + setting.type.unit + " for a gain");
    if (setting.get)
        ways.push_back(bare + part.front() + " for " + bare + (isUp ? " more" : " less"));
    std::string text;
    for (const std::string& way : ways)
        text += (text.empty() ? "" : ", ") + way;
    return text;
}

void refuseSign(const Setting& setting, Scale scale, const std::string& part) {
    std::string why = "must be " + rangeText(setting.type);
    const char* const what = scale == Scale::Steps     ? "a step"
                             : scale == Scale::Percent ? "a percentage"
                                                       : "this value";
    const std::string ways = waysToWrite(setting, scale, part);
    if (!ways.empty()) why += std::string("; ") + what + " has no sign: write " + ways;
    refuseChange(why);
}

}  // namespace

std::optional<Change> parsedChange(const Type& type, const std::string& text) {
    if (type.kind == Kind::Switch && (text == "!" || isSameWord(text, "toggle")))
        return Change{Scale::Toggle, {}};
    if (!isNumeric(type)) return std::nullopt;
    std::vector<std::string> parts = split(text, ',');
    const auto isChange = [](const std::string& part) {
        return part.size() > 1 && isSign(part.back());
    };
    const auto changes = std::count_if(parts.begin(), parts.end(), isChange);
    if (changes == 0) return std::nullopt;
    if (static_cast<std::size_t>(changes) != parts.size())
        refuseChange("must be all values, or all changes");
    checkCount(type, parts.size());
    std::string signs;
    for (std::string& part : parts) {
        signs += part.back();
        part.pop_back();
    }
    return parsedParts(type, parts, signs);
}

Change parsedAmount(const Type& type, const std::string& text, char sign) {
    if (!isNumeric(type))
        refuseChange(std::string("is no number, and takes no ") + sign + "=: it must be " +
                     rangeText(type));
    const std::vector<std::string> parts = split(text, ',');
    checkCount(type, parts.size());
    return parsedParts(type, parts, std::string(parts.size(), sign));
}

void refuseStraySign(const Setting& setting, const std::string& text) {
    const Type& type = setting.type;
    if (!isNumeric(type)) return;
    for (const std::string& part : split(text, ',')) {
        if (part.size() < 2 || !isSign(part.front())) continue;
        std::string_view bare = std::string_view(part).substr(1);
        const Scale scale = takeScale(type, bare);
        // On these scales the sign belongs to the number.
        if (scale == Scale::Own && type.low < 0) continue;
        std::int64_t integer = 0;
        double number = 0;
        const bool isNumber =
            isWhole(type, scale) ? parseNumber(bare, integer) : parseNumber(bare, number);
        if (isNumber) refuseSign(setting, scale, part);
    }
}

ChangedValue changedValue(const Type& type, const Value& present, const Change& change) {
    if (change.scale == Scale::Toggle) return {!std::get<bool>(present), false};
    if (change.scale == Scale::Steps) return changedSteps(type, std::get<Steps>(present), change);
    if (type.kind == Kind::Integer)
        return changedIntegers(type, std::get<Integers>(present), change);
    return changedGains(type, std::get<Reals>(present), change);
}

std::vector<std::string> exampleChanges(const Setting& setting) {
    if (!setting.get || !setting.set) return {};
    const Type& type = setting.type;
    if (type.kind == Kind::Switch) return {"toggle", "!"};
    if (!isNumeric(type)) return {};
    if (type.kind == Kind::Gain) return {"3dB+", "3dB-", "5+", "5-", "10%+", "10%-"};
    return {std::string("1") + type.unit + "+", std::string("1") + type.unit + "-"};
}

}  // namespace cabinaudio::tool
