// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/broken/Breakage.h"

#include <fnmatch.h>

namespace cabinaudio::broken {

const std::vector<Breakage>& breakages() {
    static const std::vector<Breakage> table = [] {
        std::vector<Breakage> all;
        breakRegistrations(all);
        breakSettings(all);
        breakStreams(all);
        breakRings(all);
        breakNeighbours(all);
        return all;
    }();
    return table;
}

namespace {

std::vector<const Breakage*>& chosen() {
    static std::vector<const Breakage*> all;
    return all;
}

}  // namespace

void chooseBreakages(const std::string& pattern) {
    for (const Breakage& breakage : breakages())
        if (fnmatch(pattern.c_str(), breakage.rule.c_str(), 0) == 0) chosen().push_back(&breakage);
}

const std::vector<const Breakage*>& chosenBreakages() {
    return chosen();
}

}  // namespace cabinaudio::broken
