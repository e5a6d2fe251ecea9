// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

/// From now on what the client library logs in this process (its rings do) goes to the server's
/// log: errors as warnings, everything else as debug messages.
void captureLibraryLog();

}  // namespace cabinaudio::server
