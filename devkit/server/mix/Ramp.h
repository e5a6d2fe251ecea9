// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace cabinaudio::server {

/// Length of a change in frames; 0 changes at once.
struct RampFrames {
    std::size_t up = 0;
    std::size_t down = 0;
};

/// A factor that moves linearly from one value to another, frame by frame.
class Ramp {
public:
    explicit Ramp(float value = 1.0F) : mTarget(value) {}

    /// Starts from the present value. Aiming at the same target again leaves the ramp unchanged,
    /// except that a length of 0 ends it.
    void aim(float target, const RampFrames& frames) {
        const float from = value();
        const std::size_t count = target > from ? frames.up : frames.down;
        if (target == mTarget && count > 0) return;
        mTarget = target;
        mRemaining = target != from ? count : 0;
        if (mRemaining > 0) mStep = (target - from) / static_cast<float>(mRemaining);
    }

    /// The value of the next frame. Reaches the target exactly.
    float next() {
        if (mRemaining > 0) --mRemaining;
        return value();
    }

    /// The value of the last frame. Computed from the end, so that rounding errors do not add up.
    [[nodiscard]] float value() const {
        return mRemaining > 0 ? mTarget - mStep * static_cast<float>(mRemaining) : mTarget;
    }
    [[nodiscard]] float target() const { return mTarget; }
    [[nodiscard]] bool isMoving() const { return mRemaining > 0; }

private:
    float mTarget;
    float mStep = 0.0F;
    std::size_t mRemaining = 0;  // frames until the target is reached
};

}  // namespace cabinaudio::server
