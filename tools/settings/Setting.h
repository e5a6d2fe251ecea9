// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "tools/settings/Clients.h"
#include "tools/settings/Value.h"
#include "wire/Settings.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// Values for the placeholders of a setting's name, unescaped.
using Names = std::vector<std::string>;

/// The server's answer. The value is valid if the status is 0.
struct Reading {
    std::int32_t status = 0;
    Value value = {};
};

/// The library's functions for a setting.
struct Functions {
    audio_connect_type connection = AUDIO_CONNECT_UNKNOWN;
    std::vector<std::uint32_t> ids = {};
};

template <typename Function, typename... Others>
Functions functions(Function function, Others... others) {
    return {connectionOf(function),
            {static_cast<std::uint32_t>(function), static_cast<std::uint32_t>(others)...}};
}

/// A row of the table of settings: describes one setting, or all settings of a pattern.
struct Setting {
    using Get = std::function<Reading(Clients&, const Names&)>;
    using Set = std::function<int(Clients&, const Names&, const Value&)>;
    using SetBoth = std::function<int(Clients&, const Value& own, const Value& partner)>;

    /// `<placeholders>` stand for names, see Directory.h.
    std::string name = {};
    Type type = {};
    /// A line without a full stop.
    const char* what = "";
    Functions functions = {};
    Get get = {};       // null: cannot be read
    Set set = {};       // null: cannot be set
    Get getSteps = {};  // for gains that can also be read in steps
    /// A meter changes constantly and does not reflect a setting.
    bool isMeter = false;
    /// A setting that is sent to the server together with this one, and the operation for both.
    const char* partner = nullptr;
    SetBoth setBoth = {};
};

/// All settings, in the order in which they are shown and set: later ones may override earlier
/// ones.
[[nodiscard]] const std::vector<Setting>& settings();

// The parts of the table.
void addVolumeSettings(std::vector<Setting>& table);
void addSourceSettings(std::vector<Setting>& table);
void addAppSettings(std::vector<Setting>& table);
void addMixerSettings(std::vector<Setting>& table);

}  // namespace cabinaudio::tool
