// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Directory.h"

#include "devkit/text/Escape.h"
#include "tools/Failure.h"
#include "tools/settings/Numbers.h"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <set>

namespace cabinaudio::tool {

namespace {

const Texts& fixedNames(const std::string& placeholder) {
    static const Texts speakers(std::begin(LOUDSPEAKERS), std::end(LOUDSPEAKERS));
    static const Texts paths = {"main", "second", "alternative", "auxiliary"};
    static const Texts outputs = {"main", "alternative", "auxiliary"};
    static const Texts inputs = {"0", "1"};
    static const Texts none;
    if (placeholder == "<loudspeaker>") return speakers;
    if (placeholder == "<path>") return paths;
    if (placeholder == "<output>") return outputs;
    if (placeholder == "<input>") return inputs;
    return none;
}

/// The first placeholder of a pattern, with its brackets; empty if there is none.
std::string placeholderOf(const std::string& pattern) {
    const std::size_t begin = pattern.find('<');
    if (begin == std::string::npos) return "";
    return pattern.substr(begin, pattern.find('>') + 1 - begin);
}

/// The pattern with its first placeholder replaced by a name.
std::string filled(const std::string& pattern, const std::string& name) {
    const std::size_t begin = pattern.find('<');
    const std::string rest = pattern.substr(pattern.find('>') + 1);
    std::string word = text::escaped(name);
    // At the end a sign would read as a part of += or -=.
    if (rest.empty() && !word.empty() && isSign(word.back()))
        word.replace(word.size() - 1, 1, word.back() == '+' ? "%2B" : "%2D");
    return pattern.substr(0, begin) + word + rest;
}

bool isNumber(const std::string& text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool isTrackTag(const std::string& tag) {
    const Texts& tags = fixedNames("<output>");
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
}

std::size_t literalLength(const std::string& pattern) {
    std::size_t length = 0;
    bool isLiteral = true;
    for (const char letter : pattern) {
        if (letter == '<') isLiteral = false;
        length += isLiteral ? 1 : 0;
        if (letter == '>') isLiteral = true;
    }
    return length;
}

/// Edit distance: number of letters to insert, delete or change.
std::size_t distance(const std::string& left, const std::string& right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t change = diagonal + (left[i] != right[j] ? 1 : 0);
            diagonal = row[j + 1];
            row[j + 1] = std::min({change, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

/// The part after the last dot, which users are most likely to remember.
std::string lastPart(const std::string& name) {
    return name.substr(name.rfind('.') + 1);
}

std::vector<std::string> nearest(const std::vector<Named>& all, const std::string& name) {
    constexpr std::size_t MOST = 3;
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const Named& named : all) {
        std::size_t far = distance(name, named.name);
        if (named.name.find(name) != std::string::npos || lastPart(named.name) == lastPart(name))
            far = std::min<std::size_t>(far, 2);
        if (far <= std::max<std::size_t>(2, name.size() / 4)) near.emplace_back(far, named.name);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(MOST, near.size()); ++i)
        names.push_back(near[i].second);
    return names;
}

}  // namespace

bool isPattern(const std::string& text) {
    return text.find_first_of("*?[") != std::string::npos;
}

bool Directory::accepts(const std::string& placeholder, const std::string& text) const {
    if (const Texts& fixed = fixedNames(placeholder); !fixed.empty())
        return std::find(fixed.begin(), fixed.end(), text) != fixed.end();
    if (placeholder == "<number>") return isNumber(text);
    if (placeholder == "<type>" && mLive && !mLive->types.empty())
        return std::find(mLive->types.begin(), mLive->types.end(), text) != mLive->types.end();
    return !text.empty() && text.size() <= 63 && text.find('\0') == std::string::npos;
}

bool Directory::match(const std::string& pattern, const std::string& name, Names& names) const {
    const std::string placeholder = placeholderOf(pattern);
    if (placeholder.empty()) return pattern == name;
    const std::size_t begin = pattern.find('<');
    if (name.compare(0, begin, pattern, 0, begin) != 0) return false;
    const std::string rest = pattern.substr(begin + placeholder.size());
    // Names of streams and effects may contain dots, so the longest match counts.
    const bool mayHoldDots = placeholder == "<track>" || placeholder == "<effect>";
    for (std::size_t end = name.size(); end > begin; --end) {
        const std::string text = name.substr(begin, end - begin);
        if (!mayHoldDots && text.find('.') != std::string::npos) continue;
        const std::string plain = text::unescaped(text);
        if (!accepts(placeholder, plain)) continue;
        names.push_back(plain);
        if (match(rest, name.substr(end), names)) return true;
        names.pop_back();
    }
    return false;
}

void Directory::expand(const Setting& setting, std::vector<Named>& into) const {
    const std::string& pattern = setting.name;
    const std::string placeholder = placeholderOf(pattern);
    if (placeholder.empty()) {
        into.push_back({&setting, {}, pattern, false});
        return;
    }
    Texts names = fixedNames(placeholder);
    if (placeholder == "<type>" && mLive) names = mLive->types;
    for (const std::string& name : names)
        into.push_back({&setting, {name}, filled(pattern, name), false});
    if (!mLive || pattern.find("<track>") == std::string::npos) return;
    for (const auto& [tag, track] : mLive->tracks) {
        const std::string ofTag = "." + tag + ".<track>";
        if (placeholder == "<tag>" && isTrackTag(tag))
            into.push_back({&setting, {tag, track}, filled(filled(pattern, tag), track), false});
        else if (pattern.find(ofTag) != std::string::npos)
            into.push_back({&setting, {track}, filled(pattern, track), false});
    }
}

std::vector<Named> Directory::all() const {
    std::vector<Named> all;
    for (const Setting& setting : settings())
        expand(setting, all);
    return all;
}

std::optional<Named> Directory::find(const std::string& name) const {
    std::optional<Named> best;
    for (const Setting& setting : settings()) {
        Names names;
        if (!match(setting.name, name, names)) continue;
        // effect.main.reverb.parameter must not match an effect named "reverb.parameter".
        if (best && literalLength(best->setting->name) >= literalLength(setting.name)) continue;
        best = Named{&setting, names, setting.name, true};
        for (const std::string& text : names)
            best->name = filled(best->name, text);
    }
    return best;
}

void Directory::refuse(const std::string& name) const {
    std::string hint;
    for (const std::string& near : nearest(all(), name))
        hint += (hint.empty() ? "; did you mean " : ", ") + near;
    const std::string what = isPattern(name) ? "no setting matches '" : "unknown setting '";
    throw Failure(what + name + "'" + hint + " (try 'cabinaudio list')", ExitCode::Usage);
}

bool Directory::matches(const std::string& nameOrPattern) const {
    if (find(nameOrPattern)) return true;
    const std::vector<Named> names = all();
    return isPattern(nameOrPattern) &&
           std::any_of(names.begin(), names.end(), [&](const Named& named) {
               return fnmatch(nameOrPattern.c_str(), named.name.c_str(), 0) == 0;
           });
}

std::vector<Named> Directory::select(const std::string& nameOrPattern) const {
    if (auto named = find(nameOrPattern)) return {*named};
    std::vector<Named> found;
    if (isPattern(nameOrPattern))
        for (Named& named : all())
            if (fnmatch(nameOrPattern.c_str(), named.name.c_str(), 0) == 0)
                found.push_back(std::move(named));
    if (found.empty()) refuse(nameOrPattern);
    return found;
}

std::vector<Named> Directory::select(const std::vector<std::string>& namesOrPatterns) const {
    if (namesOrPatterns.empty()) return all();
    std::vector<Named> found;
    std::set<std::string> names;
    for (const std::string& text : namesOrPatterns)
        for (Named& named : select(text))
            if (names.insert(named.name).second) found.push_back(std::move(named));
    return found;
}

}  // namespace cabinaudio::tool
