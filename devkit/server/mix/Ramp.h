// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace cabinaudio::server {

/// How many frames a change takes; none is at once.
struct RampFrames {
    std::size_t up = 0;
    std::size_t down = 0;
};

/// A factor that goes from one value to another in a straight line, frame by frame.
class Ramp {
public:
    explicit Ramp(float value = 1.0F) : mTarget(value) {}

    /// Begins from where it is now. To aim again at the same target changes nothing on the way,
    /// but for a ramp without frames, which ends it.
    void aim(float target, const RampFrames& frames) {
        const float from = value();
        const std::size_t count = target > from ? frames.up : frames.down;
        if (target == mTarget && count > 0) return;
        mTarget = target;
        mRemaining = target != from ? count : 0;
        if (mRemaining > 0) mStep = (target - from) / static_cast<float>(mRemaining);
    }

    /// The value of the next frame. The target is met exactly.
    float next() {
        if (mRemaining > 0) --mRemaining;
        return value();
    }

    /// Of the last frame. Counted from the end, so that no error adds up.
    [[nodiscard]] float value() const {
        return mRemaining > 0 ? mTarget - mStep * static_cast<float>(mRemaining) : mTarget;
    }
    [[nodiscard]] float target() const { return mTarget; }
    [[nodiscard]] bool isMoving() const { return mRemaining > 0; }

private:
    float mTarget;
    float mStep = 0.0F;
    std::size_t mRemaining = 0;  // frames until the target is met
};

}  // namespace cabinaudio::server
