// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Value.h"

#include "devkit/text/Escape.h"
#include "tools/settings/Amplitude.h"
#include "tools/settings/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace cabinaudio::tool {

const char* const LOUDSPEAKERS[6] = {"LF", "RF", "LS", "RS", "CF", "L1"};

namespace {

[[noreturn]] void refuseValue(const std::string& why) {
    throw std::invalid_argument(why);
}

template <typename Number>
std::string numberText(Number number) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

/// For ranges: -103.5, not -103.500000.
std::string limitText(const Type& type, double limit) {
    const std::string number = type.kind == Kind::Integer
                                   ? numberText(static_cast<std::int64_t>(limit))
                                   : numberText(limit);
    return number + type.unit;
}

template <typename Items, typename Text>
std::string joined(const Items& items, const char* separator, Text textOf) {
    std::string text;
    for (const auto& item : items)
        text += (text.empty() ? "" : separator) + textOf(item);
    return text;
}

std::string expected(const Type& type) {
    return "must be " + rangeText(type);
}

bool parseInteger(std::string_view text, std::int64_t& number) {
    if (text.rfind("0x", 0) != 0) return parseNumber(text, number);
    const auto [end, error] =
        std::from_chars(text.data() + 2, text.data() + text.size(), number, 16);
    return error == std::errc() && end == text.data() + text.size() && text.size() > 2 &&
           number >= 0;
}

float parseReal(const Type& type, std::string_view text) {
    takeUnit(text, type.unit);
    float number = 0;
    // NaN is in no range.
    if (!parseNumber(text, number) || !(number >= type.low && number <= type.high))
        refuseValue(expected(type));
    return number;
}

/// A percentage of the amplitude.
float parsePercent(const Type& type, std::string_view number) {
    double percent = 0;
    // NaN is in no range.
    if (!parseNumber(number, percent) || !(percent >= 0)) refuseValue(expected(type));
    const double dB = gainOfPercent(percent, type.low);
    if (!(dB <= type.high)) refuseValue(expected(type) + "; 100% is 0dB, 200% is 6.02dB");
    return static_cast<float>(dB);
}

Value parseGains(const Type& type, const std::vector<std::string>& parts) {
    Reals gains;
    Steps steps;
    for (const std::string& part : parts) {
        std::string_view bare = part;
        if (takeUnit(bare, type.unit)) {
            gains.push_back(parseReal(type, part));
            continue;
        }
        if (takeUnit(bare, "%")) {
            gains.push_back(parsePercent(type, bare));
            continue;
        }
        int step = 0;
        if (!parseNumber(bare, step) || step < 0 || step > largestStep(type)) {
            float number = 0;
            if (parseNumber(bare, number))
                refuseValue(expected(type) + "; a number without dB is a volume step");
            refuseValue(expected(type));
        }
        steps.steps.push_back(static_cast<std::uint8_t>(step));
    }
    if (!gains.empty() && !steps.steps.empty())
        refuseValue("must be all gains in dB or %, or all steps");
    if (!gains.empty()) return gains;
    return steps;
}

std::int64_t parseWordOrInteger(const Type& type, const std::string& part) {
    for (const auto& [word, number] : type.words)
        if (part == word) return number;
    std::string_view bare = part;
    takeUnit(bare, type.unit);
    std::int64_t number = 0;
    if (!parseInteger(bare, number) || static_cast<double>(number) < type.low ||
        static_cast<double>(number) > type.high)
        refuseValue(expected(type));
    return number;
}

bool parseSwitch(const Type& type, const std::string& text) {
    const auto isOneOf = [&](std::initializer_list<const char*> words) {
        return std::any_of(words.begin(), words.end(),
                           [&](const char* word) { return isSameWord(text, word); });
    };
    if (isOneOf({"on", "true", "1"})) return true;
    if (!isOneOf({"off", "false", "0"})) refuseValue(expected(type));
    return false;
}

std::int64_t parseLoudspeakers(const Type& type, const std::string& text) {
    if (text == "none") return 0;
    std::int64_t mask = 0;
    for (const std::string& name : split(text, '+')) {
        const auto found = std::find(std::begin(LOUDSPEAKERS), std::end(LOUDSPEAKERS), name);
        if (found == std::end(LOUDSPEAKERS)) refuseValue(expected(type));
        mask |= std::int64_t{1} << (found - std::begin(LOUDSPEAKERS));
    }
    return mask;
}

std::string loudspeakersText(std::int64_t mask) {
    Texts names;
    for (std::size_t i = 0; i < std::size(LOUDSPEAKERS); ++i)
        if ((mask >> i & 1) != 0) names.emplace_back(LOUDSPEAKERS[i]);
    return names.empty() ? "none"
                         : joined(names, "+", [](const std::string& name) { return name; });
}

Octets parseHex(const std::string& text) {
    if (text.size() % 2 != 0) refuseValue("has an odd number of hex digits");
    Octets bytes(text.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char* digits = text.data() + 2 * i;
        if (std::from_chars(digits, digits + 2, bytes[i], 16).ptr != digits + 2)
            refuseValue("must be hex digits, or @ and the name of a file");
    }
    return bytes;
}

Octets readFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    if (!file) refuseValue("cannot open file " + name);
    Octets bytes{std::istreambuf_iterator<char>(file), {}};
    if (file.bad()) refuseValue("cannot read file " + name);
    return bytes;
}

Octets parseBytes(const Type& type, const std::string& text) {
    const bool isFile = !text.empty() && text.front() == '@';
    Octets bytes = isFile ? readFile(text.substr(1)) : parseHex(text);
    if (bytes.size() > type.count)
        refuseValue("has " + std::to_string(bytes.size()) + " bytes; " +
                    std::to_string(type.count) + " is the most");
    return bytes;
}

std::string hexText(const Octets& bytes) {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += {DIGITS[byte / 16], DIGITS[byte % 16]};
    return text;
}

/// In tenths of a dB; empty for silence.
std::optional<double> levelInDb(std::int64_t millionths) {
    if (millionths <= 0) return std::nullopt;
    const double dB = 20 * std::log10(static_cast<double>(millionths) / 1e6);
    return std::round(dB * 10) / 10 + 0.0;  // no -0
}

std::string levelText(std::int64_t millionths) {
    const std::optional<double> dB = levelInDb(millionths);
    return dB ? numberText(*dB) + "dB" : "silence";
}

std::string integerText(const Type& type, std::int64_t number) {
    if (type.kind == Kind::Meter) return levelText(number);
    if (type.kind == Kind::Loudspeakers) return loudspeakersText(number);
    for (const auto& [word, meant] : type.words)
        if (number == meant) return word;
    return numberText(number) + type.unit;
}

template <typename Items, typename Convert>
Json listJson(const Type& type, const Items& items, Convert convert) {
    if (type.count == 1 && items.size() == 1) return convert(items.front());
    Json list = Json::array();
    for (const auto& item : items)
        list.push_back(convert(item));
    return list;
}

}  // namespace

int largestStep(const Type& type) {
    return type.high > 0 ? 148 : 100;
}

const char* kindName(Kind kind) {
    switch (kind) {
        case Kind::Gain:
            return "gain";
        case Kind::Real:
            return "number";
        case Kind::Integer:
            return "integer";
        case Kind::Loudspeakers:
            return "loudspeakers";
        case Kind::Switch:
            return "switch";
        case Kind::Text:
            return "text";
        case Kind::Bytes:
            return "bytes";
        case Kind::Meter:
            return "level";
        case Kind::List:
            break;
    }
    return "list";
}

std::string rangeText(const Type& type) {
    const std::string times = type.count > 1 ? std::to_string(type.count) + " x " : "";
    switch (type.kind) {
        case Kind::Gain:
            return times + limitText(type, type.low) + " to " + limitText(type, type.high) +
                   ", or 0 to " + std::to_string(largestStep(type));
        case Kind::Real:
            return times + limitText(type, type.low) + " to " + limitText(type, type.high);
        case Kind::Integer: {
            std::string text = joined(type.words, " or ",
                                      [](const auto& word) { return std::string(word.first); });
            if (type.low > type.high) return text;
            if (!text.empty()) text += ", or ";
            return text + times + limitText(type, type.low) + " to " + limitText(type, type.high);
        }
        case Kind::Loudspeakers:
            return "none, or some of LF+RF+LS+RS+CF+L1";
        case Kind::Switch:
            return "on or off";
        case Kind::Text:
            return "a text of at most 63 bytes";
        case Kind::Bytes:
            return "hex digits of at most " + std::to_string(type.count) + " bytes, or @FILE";
        case Kind::Meter:
            return times + "dB of full scale, or silence";
        case Kind::List:
            break;
    }
    return "a list";
}

std::string limitsText(const Type& type) {
    std::string text =
        joined(type.words, ", ", [](const auto& word) { return std::string(word.first); });
    // Words only: the numbers have no range, or only the server knows it.
    if (type.low > type.high || (!text.empty() && type.high > 1e9)) return text;
    if (!text.empty()) text += ", ";
    if (type.count > 1) text += std::to_string(type.count) + " x ";
    return text + numberText(type.low) + ".." + limitText(type, type.high);
}

std::string valueText(const Type& type, const Value& value) {
    struct Writer {
        const Type& type;
        std::string operator()(const Reals& numbers) const {
            return joined(numbers, ",", [&](float n) { return numberText(n) + type.unit; });
        }
        std::string operator()(const Steps& steps) const {
            return joined(steps.steps, ",",
                          [](std::uint8_t step) { return std::to_string(unsigned{step}); });
        }
        std::string operator()(const Integers& numbers) const {
            return joined(numbers, ",", [&](std::int64_t n) { return integerText(type, n); });
        }
        std::string operator()(bool on) const { return on ? "on" : "off"; }
        std::string operator()(const std::string& text) const { return text::escaped(text); }
        std::string operator()(const Octets& bytes) const { return hexText(bytes); }
        std::string operator()(const Texts& texts) const {
            return joined(texts, ",", text::escaped);
        }
    };
    return std::visit(Writer{type}, value);
}

Json valueJson(const Type& type, const Value& value) {
    struct Writer {
        const Type& type;
        Json operator()(const Reals& numbers) const { return listJson(type, numbers, decimal); }
        Json operator()(const Steps& steps) const {
            return listJson(type, steps.steps, [](std::uint8_t step) { return unsigned{step}; });
        }
        Json operator()(const Integers& numbers) const {
            if (type.kind == Kind::Meter)
                return listJson(type, numbers, [](std::int64_t n) { return Json(n); });
            return listJson(type, numbers, [&](std::int64_t n) {
                const std::string text = integerText(type, n);
                return text == numberText(n) + type.unit ? Json(n) : Json(text);
            });
        }
        Json operator()(bool on) const { return on; }
        Json operator()(const std::string& text) const { return text; }
        Json operator()(const Octets& bytes) const { return hexText(bytes); }
        Json operator()(const Texts& texts) const { return texts; }
    };
    return std::visit(Writer{type}, value);
}

Json levelsInDb(const Type& type, const Value& value) {
    return listJson(type, std::get<Integers>(value), [](std::int64_t millionths) {
        const std::optional<double> dB = levelInDb(millionths);
        return dB ? Json(*dB) : Json(nullptr);
    });
}

Value parsedValue(const Type& type, const std::string& text) {
    std::vector<std::string> parts = split(text, ',');
    const bool isMeasure = type.kind == Kind::Gain || type.kind == Kind::Real;
    if (isMeasure && parts.size() == 1) parts.resize(type.count, parts.front());  // one for all
    const bool isCounted = isMeasure || type.kind == Kind::Integer;
    if (isCounted && parts.size() != type.count) refuseValue(expected(type));
    switch (type.kind) {
        case Kind::Gain:
            return parseGains(type, parts);
        case Kind::Real: {
            Reals numbers;
            for (const std::string& part : parts)
                numbers.push_back(parseReal(type, part));
            return numbers;
        }
        case Kind::Integer: {
            Integers numbers;
            for (const std::string& part : parts)
                numbers.push_back(parseWordOrInteger(type, part));
            return numbers;
        }
        case Kind::Loudspeakers:
            return Integers{parseLoudspeakers(type, text)};
        case Kind::Switch:
            return parseSwitch(type, text);
        case Kind::Text: {
            std::string plain = text::unescaped(text);
            if (plain.size() > 63 || plain.find('\0') != std::string::npos)
                refuseValue(expected(type));
            return plain;
        }
        case Kind::Bytes:
            return parseBytes(type, text);
        case Kind::Meter:
        case Kind::List:
            break;
    }
    refuseValue("can only be read");
}

}  // namespace cabinaudio::tool
