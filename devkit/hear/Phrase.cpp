// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Phrase.h"

#include "devkit/hear/Channels.h"
#include "devkit/hear/Error.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

namespace cabinaudio::hear {
namespace {

struct Suffix {
    const char* text;
    double factor;
};

std::vector<Suffix> suffixesOf(Unit unit) {
    switch (unit) {
        case Unit::Decibel:
            return {{"dB", 1}, {"dBFS", 1}};
        case Unit::Hertz:
            return {{"Hz", 1}, {"kHz", 1000}};
        case Unit::Second:
            return {{"s", 1}, {"ms", 0.001}};
        case Unit::Ms:
            return {{"ms", 1}, {"s", 1000}};
    }
    return {};
}

/// A number, and the text behind it. The C library's functions would obey the locale, and take
/// hexadecimal numbers.
std::optional<std::pair<double, std::string>> split(const std::string& text) {
    const std::size_t end = std::min(text.find_first_not_of("+-.0123456789"), text.size());
    std::istringstream stream(text.substr(0, end));
    stream.imbue(std::locale::classic());
    double value = 0;
    if (!(stream >> value) || stream.peek() != std::istringstream::traits_type::eof()) return {};
    return std::pair{value, text.substr(end)};
}

constexpr const char* PLUS_MINUS[] = {"+-", "\u00b1"};

}  // namespace

Phrase::Phrase(const std::string& text) : mText(text) {
    Word word;
    bool isBegun = false;
    char quote = 0;
    const auto close = [&] {
        if (isBegun) mWords.push_back(word);
        word = {};
        isBegun = false;
    };
    for (const char letter : text) {
        if (quote != 0 && letter == quote) {
            quote = 0;
            if (letter == ']') close();
        } else if (quote != 0) {
            word.text += letter;
        } else if (letter == '\'' || letter == '"') {
            quote = letter;
            isBegun = true;
        } else if (letter == '[' && !isBegun) {
            quote = ']';
            isBegun = word.isRange = true;
        } else if (letter == ' ' || letter == '\t') {
            close();
        } else {
            word.text += letter;
            isBegun = true;
        }
    }
    if (quote != 0) fail(std::string("the closing ") + quote + " is missing");
    close();
    if (mWords.empty()) fail("a check is missing");
}

void Phrase::fail(const std::string& why) const {
    throw Error("check \"" + mText + "\": " + why);
}

void Phrase::fail(std::size_t word, const std::string& why) const {
    fail("word " + std::to_string(word + 1) + ", \"" + mWords[word].text + "\": " + why);
}

std::size_t Phrase::firstFree() const {
    const auto isFree = [](const Word& word) { return !word.isTaken && !word.isRange; };
    return static_cast<std::size_t>(std::find_if(mWords.begin(), mWords.end(), isFree) -
                                    mWords.begin());
}

bool Phrase::hasMore() const {
    return firstFree() < mWords.size();
}

std::string Phrase::next(const char* what) {
    const std::size_t index = firstFree();
    if (index == mWords.size()) fail(std::string(what) + " is missing at the end");
    if (mWords[index].text.empty()) fail(index, std::string(what) + " is empty");
    mWords[index].isTaken = true;
    mLast = index;
    return mWords[index].text;
}

bool Phrase::startsWithNumber() const {
    const std::size_t index = firstFree();
    if (index == mWords.size()) return false;
    const std::string& text = mWords[index].text;
    const auto isTolerance = [&](const std::string& sign) {
        return text.compare(0, sign.size(), sign) == 0;
    };
    return split(text) && std::none_of(std::begin(PLUS_MINUS), std::end(PLUS_MINUS), isTolerance);
}

double Phrase::numberIn(const std::string& text, const char* what, Unit unit) const {
    return number(mLast, text, unit, what);
}

double Phrase::nextNumber(const char* what, Unit unit) {
    const std::size_t index = firstFree();
    return number(index, next(what), unit, what);
}

std::pair<std::string, std::string> Phrase::nextPair(const char* what, char sign, bool atLast) {
    const std::size_t index = firstFree();
    const std::string text = next(what);
    const std::size_t place = atLast ? text.rfind(sign) : text.find(sign);
    if (place == std::string::npos || place == 0 || place + 1 == text.size())
        fail(index, std::string("must be ") + what);
    return {text.substr(0, place), text.substr(place + 1)};
}

void Phrase::expect(const char* word) {
    const std::size_t index = firstFree();
    if (index == mWords.size()) fail("\"" + std::string(word) + "\" is missing at the end");
    if (mWords[index].text != word) fail(index, "must be \"" + std::string(word) + '"');
    mWords[index].isTaken = true;
}

double Phrase::number(std::size_t word, const std::string& text, Unit unit,
                      const std::string& what) const {
    const auto parts = split(text);
    const std::vector<Suffix> suffixes = suffixesOf(unit);
    const std::string units = suffixes[0].text + std::string(" or ") + suffixes[1].text;
    if (!parts) fail(word, what + " must be a number, in " + units);
    if (parts->second.empty()) return parts->first;
    for (const Suffix& suffix : suffixes)
        if (parts->second == suffix.text) return parts->first * suffix.factor;
    fail(word, "the unit of " + what + " must be " + units);
}

std::size_t Phrase::findOption(const std::string& name) const {
    const auto isIt = [&](const Word& word) {
        return !word.isTaken && word.text.compare(0, name.size() + 1, name + '=') == 0;
    };
    return static_cast<std::size_t>(std::find_if(mWords.begin(), mWords.end(), isIt) -
                                    mWords.begin());
}

bool Phrase::takeWord(const std::string& text) {
    const auto it = std::find_if(mWords.begin(), mWords.end(), [&](const Word& word) {
        return !word.isTaken && word.text == text;
    });
    if (it == mWords.end()) return false;
    it->isTaken = true;
    return true;
}

std::optional<std::string> Phrase::word(const char* name) {
    const std::size_t index = findOption(name);
    if (index == mWords.size()) return {};
    mWords[index].isTaken = true;
    return mWords[index].text.substr(std::string(name).size() + 1);
}

std::optional<double> Phrase::optional(const char* name, Unit unit) {
    const std::size_t index = findOption(name);
    const std::optional<std::string> text = word(name);
    if (!text) return {};
    return number(index, *text, unit, name);
}

double Phrase::option(const char* name, double otherwise, Unit unit) {
    return optional(name, unit).value_or(otherwise);
}

double Phrase::tolerance(double otherwise, Unit unit) {
    return optionalTolerance(unit).value_or(otherwise);
}

std::optional<double> Phrase::optionalTolerance(Unit unit) {
    std::optional<double> value = optional("tol", unit);
    for (std::size_t i = 0; i < mWords.size() && !value; ++i) {
        for (const std::string sign : PLUS_MINUS) {
            if (mWords[i].isTaken || mWords[i].text.compare(0, sign.size(), sign) != 0) continue;
            mWords[i].isTaken = true;
            value = number(i, mWords[i].text.substr(sign.size()), unit, "the tolerance");
        }
    }
    if (value && *value < 0) fail("the tolerance must not be negative");
    return value;
}

std::optional<unsigned> Phrase::channel() {
    std::size_t index = findOption("on");
    std::optional<std::string> text = word("on");
    if (!text) {
        const auto isOn = [](const Word& word) { return !word.isTaken && word.text == "on"; };
        const auto on = std::find_if(mWords.begin(), mWords.end(), isOn);
        if (on == mWords.end()) return {};
        on->isTaken = true;
        index = static_cast<std::size_t>(on - mWords.begin()) + 1;
        if (index == mWords.size() || mWords[index].isTaken)
            fail("a loudspeaker is missing after \"on\"");
        mWords[index].isTaken = true;
        text = mWords[index].text;
    }
    const std::optional<unsigned> channel = channelOf(*text);
    if (!channel) fail(index, "must be a loudspeaker: LF, RF, LS, RS, CF or L1, or 0 to 7");
    return channel;
}

std::optional<Place> Phrase::place(std::size_t word, const std::string& text) const {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string::npos) return {};
    const std::string trimmed = text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
    Place place;
    place.isFrame = trimmed.back() == 'f';
    if (place.isFrame) {
        const auto parts = split(trimmed.substr(0, trimmed.size() - 1));
        if (!parts || !parts->second.empty() || parts->first != std::floor(parts->first))
            fail(word, "frames must be a whole number before the f");
        place.value = parts->first;
    } else {
        place.value = number(word, trimmed, Unit::Second, "a place");
    }
    if (place.value < 0) fail(word, "a place must not be negative");
    return place;
}

Range Phrase::range() {
    Range range;
    bool isThere = false;
    for (std::size_t i = 0; i < mWords.size(); ++i) {
        if (!mWords[i].isRange) continue;
        if (isThere) fail(i, "a second range");
        isThere = mWords[i].isTaken = true;
        const std::string& text = mWords[i].text;
        const std::size_t dots = text.find("..");
        if (dots == std::string::npos)
            fail(i, "a range must be [FROM..TO], in s, or frames with f");
        range = {place(i, text.substr(0, dots)), place(i, text.substr(dots + 2))};
        if (range.from && range.to && range.from->isFrame == range.to->isFrame &&
            range.from->value >= range.to->value)
            fail(i, "the range ends before it begins");
    }
    return range;
}

void Phrase::end(const char* form) const {
    for (std::size_t i = 0; i < mWords.size(); ++i)
        if (!mWords[i].isTaken) fail(i, std::string("is not understood; the check is: ") + form);
}

}  // namespace cabinaudio::hear
