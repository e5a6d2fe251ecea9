// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// Looks for a live stream whose name keeps a new stream from being created: the names of two rings
/// would be equal. The development server tells the stream's process; of another server only the
/// list of playing streams is available.
///
/// @param bound  for each answer of the server
/// @return "a stream of this name plays already: pid 123", or empty
[[nodiscard]] std::string twinText(AudioTagType tag, const std::string& name,
                                   std::chrono::milliseconds bound);

}  // namespace cabinaudio::tool
