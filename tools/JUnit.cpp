// SPDX-License-Identifier: Apache-2.0
#include "tools/JUnit.h"

#include "devkit/text/Printable.h"
#include "tools/Failure.h"

#include <algorithm>
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

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + xml(value) + '"';
}

/// Of a test that was not met.
const char* elementOf(JUnitCase::Result result) {
    switch (result) {
        case JUnitCase::Result::Failure:
            return "failure";
        case JUnitCase::Result::Skipped:
            return "skipped";
        default:
            return "error";
    }
}

std::string caseText(const JUnitCase& one) {
    std::string begin =
        "    <testcase" + attribute("classname", one.className) + attribute("name", one.name);
    if (!one.file.empty()) begin += attribute("file", one.file);
    if (one.line != 0) begin += attribute("line", std::to_string(one.line));
    if (one.result == JUnitCase::Result::Met) return begin + "/>\n";
    begin += ">\n      <" + std::string(elementOf(one.result)) + attribute("message", one.message);
    if (one.result == JUnitCase::Result::Skipped) return begin + "/>\n    </testcase>\n";
    return begin + '>' + xml(one.message) + "</" + elementOf(one.result) + ">\n    </testcase>\n";
}

std::string countsOf(const JUnitSuite& suite) {
    const auto number = [&](JUnitCase::Result result) {
        return std::to_string(
            std::count_if(suite.cases.begin(), suite.cases.end(),
                          [&](const JUnitCase& one) { return one.result == result; }));
    };
    return attribute("tests", std::to_string(suite.cases.size())) +
           attribute("failures", number(JUnitCase::Result::Failure)) +
           attribute("errors", number(JUnitCase::Result::Error)) +
           attribute("skipped", number(JUnitCase::Result::Skipped));
}

std::string suiteText(const JUnitSuite& suite) {
    const std::string counts = countsOf(suite);
    std::string text = std::string(R"(<?xml version="1.0" encoding="UTF-8"?>)") + "\n<testsuites" +
                       counts + ">\n  <testsuite" + attribute("name", suite.name) + counts + ">\n";
    for (const JUnitCase& one : suite.cases)
        text += caseText(one);
    if (!suite.attachments.empty()) {
        text += "    <system-out>";
        for (const std::string& path : suite.attachments)
            text += "[[ATTACHMENT|" + xml(path) + "]]\n";
        text += "</system-out>\n";
    }
    return text + "  </testsuite>\n</testsuites>\n";
}

}  // namespace

void writeJUnit(const std::string& path, const JUnitSuite& suite) {
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file << suiteText(suite);
    file.close();
    if (!file)
        throw Failure("cannot write '" + path + "'" +
                      (errno != 0 ? std::string(": ") + std::strerror(errno) : ""));
}

}  // namespace cabinaudio::tool
