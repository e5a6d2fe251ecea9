// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Directory.h"

#include <cstdint>
#include <string>

namespace cabinaudio::tool {

/// Whether the set command accepts this value for this setting.
[[nodiscard]] bool isSettable(const Setting& setting, const Value& value);

/// "volume.master=-6dB"; "#tracks=..." for settings that cannot be set.
[[nodiscard]] std::string lineOf(const Named& named, const Value& value);

/// {"name": ..., "value": ..., "unit": ..., "text": ...}; levels also have "value_db".
[[nodiscard]] Json jsonOf(const Named& named, const Value& value);

/// Whether there is no value now: fade and balance follow from the loudspeakers' volumes, which may
/// match no position.
[[nodiscard]] bool hasNoPosition(const Named& named, std::int32_t status);

/// Why a setting could not be read; `status` is the server's.
[[nodiscard]] std::string unreadableText(const Named& named, std::int32_t status);

/// Why a setting could not be set; `status` is the server's.
[[nodiscard]] std::string refusalText(std::int32_t status);

/// "it is read-only" and the like, for messages about settings that cannot be read or set.
[[nodiscard]] std::string onlySetText(const Named& named);

}  // namespace cabinaudio::tool
