// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/inputs/InputSource.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace cabinaudio::server {
namespace {

class Tone : public InputSource {
public:
    Tone(double frequency, std::uint32_t rate) : mStep(frequency / rate), mRate(rate) {}

    [[nodiscard]] std::uint32_t rate() const override { return mRate; }
    [[nodiscard]] unsigned channels() const override { return 1; }

    void read(std::span<float> frames) override {
        for (float& sample : frames) {
            sample = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * mTurn));
            mTurn += mStep;
            mTurn -= std::floor(mTurn);
        }
    }

private:
    double mStep;  // turns per frame
    double mTurn = 0;
    std::uint32_t mRate;
};

class Silence : public InputSource {
public:
    explicit Silence(std::uint32_t rate) : mRate(rate) {}

    [[nodiscard]] std::uint32_t rate() const override { return mRate; }
    [[nodiscard]] unsigned channels() const override { return 1; }
    void read(std::span<float> frames) override { std::fill(frames.begin(), frames.end(), 0.0F); }

private:
    std::uint32_t mRate;
};

}  // namespace

std::unique_ptr<InputSource> makeTone(double frequency, std::uint32_t rate) {
    return std::make_unique<Tone>(frequency, rate);
}

std::unique_ptr<InputSource> makeSilence(std::uint32_t rate) {
    return std::make_unique<Silence>(rate);
}

}  // namespace cabinaudio::server
