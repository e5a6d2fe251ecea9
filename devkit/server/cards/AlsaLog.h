// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

/// Redirects the ALSA library's messages from stderr to the server's log.
void captureAlsaLog();

}  // namespace cabinaudio::server
