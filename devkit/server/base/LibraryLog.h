// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

/// Redirects the client library's log in this process (its rings log) to the server's log: errors
/// become warnings, everything else debug messages.
void captureLibraryLog();

}  // namespace cabinaudio::server
