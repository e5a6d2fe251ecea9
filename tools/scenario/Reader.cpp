// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Reader.h"

#include "tools/Failure.h"
#include "tools/scenario/LineReader.h"
#include "tools/scenario/Words.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace cabinaudio::tool::scenario {

namespace {

std::string place(const std::string& file, unsigned line, const std::string& fault) {
    return file + ":" + std::to_string(line) + ": " + fault;
}

}  // namespace

Reading readScenario(std::istream& lines, const std::string& file) {
    Reading reading;
    LineReader reader(reading.scenario);
    reading.scenario.file = file;
    unsigned number = 0;
    for (std::string text; std::getline(lines, text);) {
        ++number;
        const Line line = splitLine(text);
        std::string fault = line.fault;
        if (fault.empty() && !line.words.empty()) fault = reader.take(number, line.words);
        if (!fault.empty()) reading.faults.push_back(place(file, number, fault));
    }
    if (const std::string fault = reader.end(); !fault.empty())
        reading.faults.push_back(place(file, std::max(number, 1u), fault));
    return reading;
}

Reading readScenario(const std::string& file) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        throw Failure("cannot read " + file + ": it is a directory", ExitCode::Usage);
    std::ifstream lines(file);
    if (!lines) throw Failure("cannot read " + file + ": " + std::strerror(errno), ExitCode::Usage);
    Reading reading = readScenario(lines, file);
    if (lines.bad()) throw Failure("cannot read " + file + ": " + std::strerror(errno));
    return reading;
}

}  // namespace cabinaudio::tool::scenario
