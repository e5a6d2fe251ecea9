// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include <string>

namespace cabinaudio::server {

/// Whether clients of this type exist.
bool isKnown(audio_connect_type type);

/// The stream's tag, or what the settings are about; "type N" for unknown ones.
std::string connectTypeName(audio_connect_type type);

}  // namespace cabinaudio::server
