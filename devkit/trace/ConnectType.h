// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include <string>

namespace cabinaudio::trace {

/// Whether clients may have this type.
bool isKnown(audio_connect_type type);

/// The stream's tag or the kind of settings; "type N" for unknown types.
std::string connectTypeName(audio_connect_type type);

}  // namespace cabinaudio::trace
