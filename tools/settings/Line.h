// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Directory.h"

#include <string>

namespace cabinaudio::tool {

/// Whether set takes this value of this setting.
[[nodiscard]] bool isSettable(const Setting& setting, const Value& value);

/// "volume.master=-6dB"; "#tracks=..." for what cannot be set.
[[nodiscard]] std::string lineOf(const Named& named, const Value& value);

/// {"name": ..., "value": ..., "unit": ..., "text": ...}
[[nodiscard]] Json jsonOf(const Named& named, const Value& value);

/// "it is read-only" and the like, for the message about a setting that cannot be read or set.
[[nodiscard]] std::string onlySetText(const Named& named);

}  // namespace cabinaudio::tool
