// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/BuiltWith.h"

#include <dlfcn.h>

#include <algorithm>

namespace cabinaudio::text {
namespace {

constexpr std::size_t NAME_COLUMNS = 16;

std::string line(std::string name, const std::string& version) {
    name.resize(NAME_COLUMNS, ' ');
    return "\n" + name + version;
}

std::string compiler() {
    const std::string version = __VERSION__;
    // Clang's own text starts with its name.
    return version.find("lang") != std::string::npos ? version : "GCC " + version;
}

}  // namespace

std::string builtWith(const std::vector<Library>& libraries) {
    std::string text = line("compiler", compiler());
    for (const Library& library : libraries)
        text += line(library.name,
                     library.version.empty() ? "does not tell its version" : library.version);
    return text;
}

std::string versionOfOptional(const char* function) {
    using Version = const char*();
    auto* const version = reinterpret_cast<Version*>(dlsym(RTLD_DEFAULT, function));
    return version != nullptr ? versionIn(version()) : "left out";
}

std::string versionIn(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_of("0123456789"), text.size()));
    return std::string(text.substr(0, text.find(' ')));
}

std::string dotted(unsigned major, unsigned minor, unsigned patch) {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

}  // namespace cabinaudio::text
