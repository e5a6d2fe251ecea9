// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool::view {

/// Opens an address in the user's browser, where there is a display. Does not wait for it.
void openBrowser(const std::string& address);

}  // namespace cabinaudio::tool::view
