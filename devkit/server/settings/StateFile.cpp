// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/StateFile.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/settings/FileReplacement.h"
#include "devkit/server/settings/SettingsJson.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

using nlohmann::json;

// Merges changes: a fader sends many values a second.
constexpr std::chrono::milliseconds DELAY(100);

/// "[json.exception.parse_error.101] parse error at line 2, column 7: ..." without the brackets.
std::string readable(const json::exception& error) {
    const std::string text = error.what();
    const auto end = text.find("] ");
    return end == std::string::npos ? text : text.substr(end + 2);
}

void load(const std::string& path, SettingsData& settings) {
    const std::optional<std::string> content = contentOf(path);
    if (!content) return;
    try {
        for (const std::string& key : takeJson(json::parse(*content), settings))
            log::warning("%s: %s is not known", path.c_str(), key.c_str());
    } catch (const json::exception& error) {
        throw std::runtime_error(path + ": " + readable(error));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

}  // namespace

void StateFile::check(const std::string& path) {
    static_cast<void>(regularFileBehind(path));
}

StateFile::StateFile(EventLoop& loop, const std::string& path, Settings& settings)
    : mSettings(settings),
      mPath(regularFileBehind(path)),
      mWriter(mPath),
      mTimer(loop, [this](std::uint64_t) { save(); }) {
    removeLeftovers(mPath);
    settings.change([&](SettingsData& data) { load(mPath, data); });
    settings.watch([this] { changed(); });
}

StateFile::~StateFile() {
    if (mIsDue) save();
}

void StateFile::changed() {
    if (!mIsDue) mTimer.once(DELAY);
    mIsDue = true;
}

void StateFile::save() {
    mIsDue = false;
    mWriter.write([settings = *mSettings] {
        return jsonOf(settings).dump(2, ' ', false, json::error_handler_t::replace) + "\n";
    });
}

}  // namespace cabinaudio::server
