// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/StreamName.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <mutex>
#include <set>

namespace cabinaudio::plugin {

namespace {

/// The library cuts names at 63 characters; a ring in physical memory appends "_0x12345678".
constexpr std::size_t LONGEST_NAME = 63 - 11;

std::mutex gLock;

/// Names in use; gLock is held.
std::set<std::string>& names() {
    static std::set<std::string> used;
    return used;
}

/// A slash does not fit into the name of a shared-memory object, nor a comma or an equals sign into
/// the name of a setting.
std::string cleaned(std::string name) {
    for (char& letter : name)
        if (std::isalnum(static_cast<unsigned char>(letter)) == 0 && letter != '.' &&
            letter != '_' && letter != '-')
            letter = '_';
    return name;
}

std::string cut(const std::string& name, const std::string& suffix = {}) {
    return name.substr(0, LONGEST_NAME - std::min(suffix.size(), LONGEST_NAME)) + suffix;
}

std::string reserveGiven(const std::string& given) {
    std::string name = cut(cleaned(given));
    for (int number = 2; !names().insert(name).second; ++number)
        name = cut(cleaned(given), "-" + std::to_string(number));
    return name;
}

std::string reserveNext(const std::string& kind) {
    static unsigned count = 0;  // gLock is held
    const std::string suffix = "-" + std::to_string(getpid()) + "-" + std::to_string(++count);
    std::string name = cut(kind + "-" + cleaned(program_invocation_short_name), suffix);
    names().insert(name);
    return name;
}

}  // namespace

StreamName::StreamName(const std::string& kind, const std::string& given) {
    const std::lock_guard lock(gLock);
    mText = given.empty() ? reserveNext(kind) : reserveGiven(given);
}

StreamName::~StreamName() {
    const std::lock_guard lock(gLock);
    names().erase(mText);
}

}  // namespace cabinaudio::plugin
