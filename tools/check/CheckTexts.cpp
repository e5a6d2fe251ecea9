// SPDX-License-Identifier: Apache-2.0
#include "tools/check/CheckTexts.h"

#include "devkit/hear/Error.h"
#include "devkit/hear/Judge.h"
#include "tools/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace cabinaudio::tool {

namespace {

void requireCheck(const std::string& text, const std::string& place) {
    constexpr unsigned ANY_RATE = 48000;
    try {
        (void)hear::neededSeconds(text, ANY_RATE);
    } catch (const hear::Error& error) {
        throw Failure(place + error.what(), ExitCode::Usage);
    }
}

void addFrom(const std::string& path, std::vector<std::string>& texts) {
    std::ifstream file(path);
    if (!file) throw Failure("cannot read '" + path + "': " + std::strerror(errno));
    std::size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const std::size_t begin = line.find_first_not_of(" \t");
        if (begin == std::string::npos || line[begin] == '#') continue;
        requireCheck(line, path + ":" + std::to_string(number) + ": ");
        texts.push_back(line);
    }
    if (file.bad()) throw Failure("cannot read '" + path + "'");
}

}  // namespace

std::vector<std::string> checkTexts(const CheckOptions& options) {
    const auto first = options.words.begin() + (options.isLive ? 0 : 1);
    std::vector<std::string> texts(first, options.words.end());
    for (const std::string& text : texts)
        requireCheck(text, "");
    if (!options.checksFile.empty()) addFrom(options.checksFile, texts);
    if (texts.empty()) throw Failure("'" + options.checksFile + "' has no check");
    return texts;
}

double neededSeconds(const std::vector<std::string>& checks, unsigned rate) {
    double seconds = 0;
    for (const std::string& check : checks) {
        const std::optional<double> needed = hear::neededSeconds(check, rate);
        if (!needed)
            throw Failure("--live needs --seconds, or a range [FROM..TO] in check \"" + check + '"',
                          ExitCode::Usage);
        seconds = std::max(seconds, *needed);
    }
    return seconds;
}

}  // namespace cabinaudio::tool
