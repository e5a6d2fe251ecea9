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

/// Listens to the microphone for half a second and tells which gain would bring what it has heard
/// to 20 dB below full scale.
class Calibration {
public:
    static constexpr std::uint32_t RATE = 16000;

    /// @param openInput  opens the microphone, one channel of this rate; throws std::runtime_error
    ///                   saying what does not work
    Calibration(EventLoop& loop, std::function<std::unique_ptr<InputSource>()> openInput);

    /// Starts anew, unless it is running. @return the status that the client gets
    std::int32_t start();

    [[nodiscard]] wire::CalibrationResult result() const { return mResult; }
    /// In dB, -24 to 46 (for silence); 0 unless it is done.
    [[nodiscard]] float gain() const { return mGain; }

private:
    void listen(std::uint64_t periods);
    void finish();

    std::function<std::unique_ptr<InputSource>()> mOpenInput;
    Timer mClock;
    std::unique_ptr<InputSource> mInput;  // while it is running
    std::vector<float> mSamples;          // of one period
    double mSumOfSquares = 0;
    std::uint64_t mCount = 0;  // of samples in it
    wire::CalibrationResult mResult = wire::CalibrationResult::None;
    float mGain = 0.0F;
};

}  // namespace cabinaudio::server
