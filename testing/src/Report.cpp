// SPDX-License-Identifier: Apache-2.0
#include "testing/src/Report.h"

#include <cabinaudio/testing/Failure.h>

#include <nlohmann/json.hpp>

namespace cabinaudio::testing {
namespace {

using nlohmann::json;

template <typename Function>
auto reading(const std::string& text, const char* what, Function function) {
    try {
        return function(json::parse(text));
    } catch (const json::exception& error) {
        throw Failure(std::string("the server's ") + what + ": " + error.what());
    }
}

}  // namespace

std::vector<std::string> timeErrorsIn(const std::string& report) {
    return reading(report, "report", [](const json& object) {
        std::vector<std::string> texts;
        if (!object.contains("time")) return texts;
        for (const json& error : object.at("time").at("errors"))
            texts.push_back(error.at("text"));
        return texts;
    });
}

std::vector<Change> changesIn(const std::string& report) {
    return reading(report, "report", [](const json& object) {
        std::vector<Change> changes;
        for (const json& change : object.value("changes", json::array()))
            changes.push_back(
                {change.at("frame"), change.at("ms"), change.at("what"), change.dump()});
        return changes;
    });
}

Playing playingIn(const std::string& state, const std::string& stream) {
    return reading(state, "state", [&](const json& object) {
        Playing playing;
        for (const json& one : object.at("streams")) {
            if (one.at("name") != stream || !one.contains("finishes")) continue;
            playing.exists = true;
            playing.finishes = one.at("finishes");
            playing.isActive = one.at("state") == "active";
        }
        return playing;
    });
}

}  // namespace cabinaudio::testing
