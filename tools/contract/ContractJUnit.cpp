// SPDX-License-Identifier: Apache-2.0
#include "tools/JUnit.h"
#include "tools/contract/ContractReport.h"

namespace cabinaudio::tool {

namespace {

constexpr char RULE_CLASS[] = "cabinaudio.check-server";

JUnitCase caseOf(const contract::Result& result) {
    JUnitCase one{RULE_CLASS, result.rule->name, JUnitCase::Result::Met, {}, {}, 0};
    switch (result.verdict) {
        case contract::Verdict::Holds:
            break;
        case contract::Verdict::Broken:
            one.result = JUnitCase::Result::Failure;
            one.message = lineOf(result);
            break;
        case contract::Verdict::NotJudged:
            one.result = JUnitCase::Result::Skipped;
            one.message = result.reason;
            break;
    }
    return one;
}

}  // namespace

void writeJUnit(const std::string& path, const ContractReport& report) {
    JUnitSuite suite{"check-server", {}, {}};
    for (const contract::Result& result : report.run.results)
        suite.cases.push_back(caseOf(result));
    writeJUnit(path, suite);
}

}  // namespace cabinaudio::tool
