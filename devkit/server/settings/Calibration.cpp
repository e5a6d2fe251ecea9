// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/Calibration.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Period.h"
#include "devkit/server/settings/Limits.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <numeric>
#include <utility>

namespace cabinaudio::server {
namespace {

constexpr std::uint64_t LENGTH = Calibration::RATE / 2;
constexpr double WANTED_DB = -20.0;

}  // namespace

Calibration::Calibration(EventLoop& loop, std::function<std::unique_ptr<InputSource>()> openInput)
    : mOpenInput(std::move(openInput)),
      mClock(loop, [this](std::uint64_t periods) { listen(periods); }),
      mSamples(framesOfPeriod(RATE)) {}

std::int32_t Calibration::start() {
    if (mResult == wire::CalibrationResult::Running) return AUDIO_NO_ERROR;
    mResult = wire::CalibrationResult::None;
    mGain = 0.0F;
    mSumOfSquares = 0;
    mCount = 0;
    try {
        mInput = mOpenInput();
    } catch (const std::exception& error) {
        log::error("calibration: %s", error.what());
        return AUDIO_INVALID_OPERATION;
    }
    mResult = wire::CalibrationResult::Running;
    mClock.every(PERIOD);
    return AUDIO_NO_ERROR;
}

void Calibration::listen(std::uint64_t periods) {
    for (; periods > 0 && mCount < LENGTH; --periods) {
        mInput->read(mSamples);
        mSumOfSquares =
            std::inner_product(mSamples.begin(), mSamples.end(), mSamples.begin(), mSumOfSquares);
        mCount += mSamples.size();
    }
    if (mCount >= LENGTH) finish();
}

void Calibration::finish() {
    mClock.stop();
    mInput.reset();
    const double level = 10.0 * std::log10(mSumOfSquares / static_cast<double>(mCount));
    const double gain = WANTED_DB - level;  // infinite for silence
    mGain = static_cast<float>(
        std::clamp(gain, double{MICROPHONE_RANGE.low}, double{MICROPHONE_RANGE.high}));
    mResult = wire::CalibrationResult::Done;
    log::info("calibration: %.1f dB heard, gain %.1f dB", level, static_cast<double>(mGain));
}

}  // namespace cabinaudio::server
