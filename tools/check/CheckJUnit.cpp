// SPDX-License-Identifier: Apache-2.0
#include "tools/JUnit.h"
#include "tools/check/CheckReport.h"

namespace cabinaudio::tool {

namespace {

constexpr char CHECK_CLASS[] = "cabinaudio.check";

}  // namespace

void writeJUnit(const std::string& path, const CheckReport& report) {
    JUnitSuite suite{report.file, {}, {}};
    for (const hear::Verdict& verdict : report.verdicts) {
        const auto result = verdict.isMet ? JUnitCase::Result::Met : JUnitCase::Result::Failure;
        suite.cases.push_back({CHECK_CLASS, verdict.check, result, verdict.text, {}, 0});
    }
    if (!report.picture.empty()) suite.attachments.push_back(report.picture);
    writeJUnit(path, suite);
}

void writeJUnitError(const std::string& path, const std::string& file,
                     const std::vector<std::string>& checks, const std::string& error) {
    JUnitSuite suite{file, {}, {}};
    for (const std::string& check : checks)
        suite.cases.push_back({CHECK_CLASS, check, JUnitCase::Result::Error, error, {}, 0});
    writeJUnit(path, suite);
}

}  // namespace cabinaudio::tool
