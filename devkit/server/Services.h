// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

class StreamRegistry;

/// What the operations work on.
struct Services {
    StreamRegistry& streams;
};

}  // namespace cabinaudio::server
