// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/view/View.h"

namespace cabinaudio::tool::view {

/// Why no picture can be written to this file; empty if it can.
[[nodiscard]] std::string exportFault(const std::string& file);

/// Draws the present state into a file.
/// @throws Failure when the server is gone, or the file cannot be written
void exportPicture(Session& session, const ViewOptions& options);

}  // namespace cabinaudio::tool::view
