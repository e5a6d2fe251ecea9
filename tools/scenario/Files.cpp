// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Files.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace cabinaudio::tool::scenario {

std::string contentsOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string lastLine(const std::string& file) {
    std::istringstream lines(contentsOf(file));
    std::string last;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty()) last = line;
    return last;
}

}  // namespace cabinaudio::tool::scenario
