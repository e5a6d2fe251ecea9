// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/inputs/InputSource.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "wire/SettingRecords.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace cabinaudio::server {

/// Measures the microphone for half a second and computes the gain that brings its level to 20 dB
/// below full scale.
class Calibration {
public:
    static constexpr std::uint32_t RATE = 16000;

    /// @param openInput  opens the microphone, one channel of this rate; throws std::runtime_error
    /// with the reason
    Calibration(EventLoop& loop, std::function<std::unique_ptr<InputSource>()> openInput);

    /// Starts a measurement unless one is running. @return the status for the client
    std::int32_t start();

    [[nodiscard]] wire::CalibrationResult result() const { return mResult; }
    /// In dB, -24 to 46 (46 for silence); 0 until the measurement is done.
    [[nodiscard]] float gain() const { return mGain; }

private:
    void listen(std::uint64_t periods);
    void finish();

    std::function<std::unique_ptr<InputSource>()> mOpenInput;
    Timer mClock;
    std::unique_ptr<InputSource> mInput;  // while it is running
    std::vector<float> mSamples;          // of one period
    double mSumOfSquares = 0;
    std::uint64_t mCount = 0;  // samples summed so far
    wire::CalibrationResult mResult = wire::CalibrationResult::None;
    float mGain = 0.0F;
};

}  // namespace cabinaudio::server
