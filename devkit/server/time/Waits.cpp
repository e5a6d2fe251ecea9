// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/Waits.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace cabinaudio::server {

void Waits::release() {
    for (auto& [key, entry] : mEntries)
        entry.isWaiting = false;
}

bool Waits::require(Stage stage, const std::vector<Need>& needs) {
    for (auto& [key, entry] : mEntries)
        entry.isThere = key.first != stage;
    bool isAnyWaiting = false;
    for (const Need& need : needs) {
        Entry& entry = mEntries[{stage, need.key}];
        entry.need = need;
        entry.isThere = true;
        entry.isWaiting = !entry.isGivenUp;
        isAnyWaiting |= entry.isWaiting;
    }
    std::erase_if(mEntries, [](const auto& item) { return !item.second.isThere; });
    return isAnyWaiting;
}

std::vector<Need> Waits::count(std::chrono::milliseconds elapsed) {
    std::vector<Need> over;
    for (auto& [key, entry] : mEntries) {
        if (!entry.isWaiting) continue;
        entry.waited += elapsed;
        if (entry.waited < entry.need.bound) continue;
        entry.isGivenUp = true;
        entry.isWaiting = false;
        over.push_back(entry.need);
    }
    return over;
}

bool Waits::isWaiting() const {
    return std::any_of(mEntries.begin(), mEntries.end(),
                       [](const auto& item) { return item.second.isWaiting; });
}

bool Waits::isGivenUp(Stage stage, const std::string& key) const {
    const auto found = mEntries.find({stage, key});
    return found != mEntries.end() && found->second.isGivenUp;
}

nlohmann::json Waits::describe() const {
    nlohmann::json result = nlohmann::json::array();
    for (const auto& [key, entry] : mEntries) {
        if (!entry.isWaiting) continue;
        const Need& need = entry.need;
        nlohmann::json item = {{"name", nullptr},
                               {"why", need.why},
                               {"queued_frames", nullptr},
                               {"since_ms", entry.waited.count()}};
        if (!need.name.empty()) item["name"] = need.name;
        if (need.queued) item["queued_frames"] = *need.queued;
        result.push_back(std::move(item));
    }
    return result;
}

}  // namespace cabinaudio::server
