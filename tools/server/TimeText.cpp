// SPDX-License-Identifier: Apache-2.0
#include "tools/server/TimeText.h"

namespace cabinaudio::tool {

namespace {

std::string shownText(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) return "";
    return found->is_string() ? found->get<std::string>() : found->dump();
}

std::string waitText(const Json& wait) {
    std::string text = "\nwaits for ";
    const std::string name = shownText(wait, "name");
    text += name.empty() ? "streams" : '"' + name + '"';
    text += " (" + shownText(wait, "why");
    if (const std::string queued = shownText(wait, "queued_frames"); !queued.empty())
        text += ", " + queued + " frames queued";
    return text + ") since " + shownText(wait, "since_ms") + " ms";
}

}  // namespace

std::string timeText(const Json& time) {
    std::string text = shownText(time, "mode") + ", " + shownText(time, "state") + " at " +
                       shownText(time, "ms") + " ms (frame " + shownText(time, "frame") + ")";
    if (const std::string budget = shownText(time, "budget_ms"); !budget.empty())
        text += ", " + budget + " ms left";
    for (const Json& wait : time.value("waiting_for", Json::array()))
        text += waitText(wait);
    for (const Json& error : time.value("errors", Json::array()))
        text += "\n" + shownText(error, "text");
    return text;
}

}  // namespace cabinaudio::tool
