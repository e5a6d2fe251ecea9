// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Assignments.h"

#include "tools/Failure.h"

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

void addLines(std::istream& stream, std::vector<std::string>& into) {
    std::string line;
    while (std::getline(stream, line))
        add(trimmed(line), into);
}

Assignment parse(const Directory& directory, const std::string& word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) refuse("'" + word + "' is no NAME=VALUE");
    const std::string name = word.substr(0, equals);
    const auto named = directory.find(name);
    if (!named) directory.refuse(name);
    if (!named->setting->set) refuse(named->name + " can only be read");
    try {
        return {*named, parsedValue(named->setting->type, word.substr(equals + 1)), {}, word};
    } catch (const std::invalid_argument& error) {
        refuse(named->name + ": " + error.what());
    }
}

/// Merges two related settings into one request.
bool join(Assignment& first, const Assignment& second) {
    const char* partner = first.named.setting->partner;
    if (partner == nullptr || first.partner || second.named.name != partner) return false;
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
            addLines(std::cin, all);
        else
            add(word, all);
    }
    for (const std::string& name : files) {
        std::ifstream file(name);
        if (!file) throw Failure("cannot open file " + name + ": " + std::strerror(errno));
        addLines(file, all);
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
