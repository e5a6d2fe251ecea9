// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

/// The ALSA library would print to stderr itself; from here on it does so into the server's log.
void captureAlsaLog();

}  // namespace cabinaudio::server
