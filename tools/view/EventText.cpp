// SPDX-License-Identifier: Apache-2.0
#include "tools/view/EventText.h"

#include <chrono>
#include <utility>

namespace cabinaudio::tool::view {

namespace {

// A browser that has gone is noticed when something is sent.
constexpr std::chrono::milliseconds LONGEST_EVENT_SILENCE{5000};
constexpr char SIGN_OF_LIFE[] = ":\n\n";

std::string dumped(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json whole(const ShownSetting& setting) {
    Json json = setting.description;
    json["value"] = setting.value;
    return json;
}

}  // namespace

std::optional<std::string> EventText::next() {
    for (;;) {
        const Board::Pointer snapshot = mBoard.next(mSeen, LONGEST_EVENT_SILENCE);
        if (snapshot == nullptr) return std::nullopt;
        if (snapshot == mSeen) return SIGN_OF_LIFE;
        std::string text = textOf(*snapshot);
        mSeen = snapshot;
        if (!text.empty()) return text;
    }
}

std::string EventText::textOf(const Snapshot& snapshot) {
    if (!snapshot.gone.empty()) {
        if (std::exchange(mIsGone, true)) return "";
        return event("gone", dumped({{"text", snapshot.gone}}));
    }
    std::string text;
    const bool isNew = mSeen == nullptr || mIsGone || mConnection != snapshot.connection;
    if (isNew)
        text = cabinText(snapshot);
    else if (snapshot.settings != mSeen->settings)
        text = changesText(*snapshot.settings);
    if (snapshot.live && (isNew || snapshot.live != mSeen->live)) text += liveText(*snapshot.live);
    return text;
}

std::string EventText::cabinText(const Snapshot& snapshot) {
    mConnection = snapshot.connection;
    mIsGone = false;
    mLastRequest = 0;
    Json cabin = snapshot.cabin;
    cabin["settings"] = Json::object();
    for (const auto& [name, setting] : *snapshot.settings)
        cabin["settings"][name] = whole(setting);
    return event("cabin", dumped(cabin));
}

std::string EventText::changesText(const ShownSettings& settings) {
    const ShownSettings& before = *mSeen->settings;
    Json changes = Json::object();
    Json added = Json::object();
    Json removed = Json::array();
    for (const auto& [name, setting] : settings) {
        const auto known = before.find(name);
        if (known == before.end())
            added[name] = whole(setting);
        else if (known->second.value != setting.value)
            changes[name] = setting.value;
    }
    for (const auto& [name, setting] : before)
        if (!settings.contains(name)) removed.push_back(name);
    if (changes.empty() && added.empty() && removed.empty()) return "";
    Json data = {{"changes", std::move(changes)}};
    if (!added.empty()) data["added"] = std::move(added);
    if (!removed.empty()) data["removed"] = std::move(removed);
    return event("settings", dumped(data));
}

std::string EventText::liveText(const Live& live) {
    Json requests = Json::array();
    for (const AnsweredRequest& request : live.requests) {
        if (request.number <= mLastRequest) continue;
        requests.push_back(request.json);
        mLastRequest = request.number;
    }
    return event("live", "{" + live.members + ",\"requests\":" + dumped(requests) + "}");
}

std::string EventText::event(const char* name, const std::string& data) {
    return "id: " + std::to_string(++mEvents) + "\nevent: " + name + "\ndata: " + data + "\n\n";
}

}  // namespace cabinaudio::tool::view
