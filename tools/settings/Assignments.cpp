// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Assignments.h"

#include "tools/Failure.h"
#include "tools/settings/Line.h"
#include "tools/settings/Numbers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace cabinaudio::tool {

namespace {

[[noreturn]] void refuse(const std::string& why) {
    throw Failure(why + "; nothing was set (try 'cabinaudio set --help')", ExitCode::Usage);
}

std::string trimmed(const std::string& line) {
    constexpr char BLANKS[] = " \t\r";
    const std::size_t begin = line.find_first_not_of(BLANKS);
    if (begin == std::string::npos) return "";
    return line.substr(begin, line.find_last_not_of(BLANKS) + 1 - begin);
}

void add(const std::string& word, std::vector<std::string>& into) {
    if (!word.empty() && word.front() != '#') into.push_back(word);
}

/// An empty file is an error: its writer may have failed, such as get on a full disk.
void addLines(std::istream& stream, const std::string& name, std::vector<std::string>& into) {
    const std::size_t before = into.size();
    std::string line;
    errno = 0;
    while (std::getline(stream, line))
        add(trimmed(line), into);
    if (stream.bad())
        throw Failure("cannot read " + name + ": " + std::strerror(errno) + "; nothing was set");
    if (into.size() == before) throw Failure(name + " has no NAME=VALUE; nothing was set");
}

/// NAME=VALUE, NAME+=AMOUNT or NAME-=AMOUNT.
struct Words {
    std::string name;
    std::string value;
    char sign = 0;  // '+', '-', or 0
};

Words wordsOf(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) refuse("'" + word + "' is no NAME=VALUE");
    Words words = {word.substr(0, equals), word.substr(equals + 1)};
    if (!words.name.empty() && isSign(words.name.back())) {
        words.sign = words.name.back();
        words.name.pop_back();
    }
    return words;
}

void requirePresentValue(const Named& named, const Change& change) {
    const Setting& setting = *named.setting;
    if (!setting.get)
        refuse(onlySetText(named) + ", and a change needs the present value; write NAME=VALUE");
    if (change.scale == Change::Scale::Steps && !setting.getSteps)
        refuse(named.name + ": cannot be read in steps; write a change in dB");
}

Assignment parse(const Directory& directory, const std::string& word) {
    const Words words = wordsOf(word);
    const auto named = directory.find(words.name);
    if (!named) directory.refuse(words.name);
    const Setting& setting = *named->setting;
    if (!setting.set) refuse(named->name + " can only be read");
    Assignment result = {.named = *named, .text = word};
    try {
        result.change = words.sign != 0 ? parsedAmount(setting.type, words.value, words.sign)
                                        : parsedChange(setting.type, words.value);
        if (!result.change) {
            refuseStraySign(setting, words.value);
            result.value = parsedValue(setting.type, words.value);
        }
    } catch (const std::invalid_argument& error) {
        refuse(named->name + ": " + error.what());
    }
    if (result.change) requirePresentValue(*named, *result.change);
    return result;
}

/// Merges two related settings into one request.
bool join(Assignment& first, const Assignment& second) {
    const char* partner = first.named.setting->partner;
    if (partner == nullptr || first.partner || second.named.name != partner) return false;
    if (first.change || second.change) return false;
    first.partner = second.value;
    first.text += " " + second.text;
    return true;
}

}  // namespace

std::vector<std::string> readAssignments(const std::vector<std::string>& words,
                                         const std::vector<std::string>& files) {
    std::vector<std::string> all;
    for (const std::string& word : words) {
        if (word == "-")
            addLines(std::cin, "standard input", all);
        else
            add(word, all);
    }
    for (const std::string& name : files) {
        std::ifstream file(name);
        if (!file) throw Failure("cannot open file " + name + ": " + std::strerror(errno));
        addLines(file, "file " + name, all);
    }
    return all;
}

std::vector<Assignment> parseAssignments(const Directory& directory,
                                         const std::vector<std::string>& words) {
    std::vector<Assignment> all;
    for (const std::string& word : words) {
        Assignment next = parse(directory, word);
        const bool isJoined = std::any_of(all.begin(), all.end(),
                                          [&](Assignment& before) { return join(before, next); });
        if (!isJoined) all.push_back(std::move(next));
    }
    return all;
}

}  // namespace cabinaudio::tool
