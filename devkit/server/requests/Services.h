// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

class Calibration;
class CaptureRegistry;
class Mixer;
class Settings;
class StreamRegistry;

/// What the operations work on.
struct Services {
    StreamRegistry& streams;
    CaptureRegistry& captures;
    Settings& settings;
    Mixer& mixer;
    Calibration& calibration;
};

}  // namespace cabinaudio::server
