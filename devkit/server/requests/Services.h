// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

class Calibration;
class CaptureRegistry;
class Mixer;
class Settings;
class StreamRegistry;

/// Server parts that the operations use.
struct Services {
    StreamRegistry& streams;
    CaptureRegistry& captures;
    Settings& settings;
    Mixer& mixer;
    Calibration& calibration;
};

}  // namespace cabinaudio::server
