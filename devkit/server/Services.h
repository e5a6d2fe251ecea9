// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

class CaptureRegistry;
class StreamRegistry;

/// What the operations work on.
struct Services {
    StreamRegistry& streams;
    CaptureRegistry& captures;
};

}  // namespace cabinaudio::server
