// SPDX-License-Identifier: Apache-2.0
// The XML that servers for continuous integration read.
#include "devkit/text/Printable.h"
#include "tools/Failure.h"
#include "tools/check/CheckReport.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace cabinaudio::tool {

namespace {

/// Text and attribute values. XML allows no control characters, not even escaped.
std::string xml(const std::string& text) {
    std::string result;
    for (const char letter : text::printable(text)) {
        switch (letter) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += letter;
        }
    }
    return result;
}

struct Counts {
    std::size_t tests = 0;
    std::size_t failures = 0;
    std::size_t errors = 0;
};

std::string suite(const std::string& file, const Counts& counts, const std::string& content) {
    const std::string numbers = " tests=\"" + std::to_string(counts.tests) + "\" failures=\"" +
                                std::to_string(counts.failures) + "\" errors=\"" +
                                std::to_string(counts.errors) + R"(" skipped="0")";
    return std::string(R"(<?xml version="1.0" encoding="UTF-8"?>)") + "\n<testsuites" + numbers +
           ">\n  <testsuite name=\"" + xml(file) + "\"" + numbers + ">\n" + content +
           "  </testsuite>\n</testsuites>\n";
}

/// @param element  "failure", "error", or empty
std::string testCase(const std::string& name, const char* element, const std::string& message) {
    const std::string begin =
        R"(    <testcase classname="cabinaudio.check" name=")" + xml(name) + '"';
    if (*element == '\0') return begin + "/>\n";
    return begin + ">\n      <" + element + " message=\"" + xml(message) + "\">" + xml(message) +
           "</" + element + ">\n    </testcase>\n";
}

void write(const std::string& path, const std::string& content) {
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file)
        throw Failure("cannot write '" + path + "'" +
                      (errno != 0 ? std::string(": ") + std::strerror(errno) : ""));
}

}  // namespace

void writeJunit(const std::string& path, const CheckReport& report) {
    std::string content;
    for (const hear::Verdict& verdict : report.verdicts)
        content += testCase(verdict.check, verdict.isMet ? "" : "failure", verdict.text);
    if (!report.picture.empty())
        content += "    <system-out>[[ATTACHMENT|" + xml(report.picture) + "]]</system-out>\n";
    write(path, suite(report.file, {report.verdicts.size(), report.failures(), 0}, content));
}

void writeJunitError(const std::string& path, const std::string& file,
                     const std::vector<std::string>& checks, const std::string& error) {
    std::string content;
    for (const std::string& check : checks)
        content += testCase(check, "error", error);
    write(path, suite(file, {checks.size(), 0, checks.size()}, content));
}

}  // namespace cabinaudio::tool
