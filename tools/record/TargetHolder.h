// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/record/Target.h"

#include <atomic>
#include <memory>
#include <utility>

namespace cabinaudio::tool {

/// A recording's target. Normally only the recording thread uses it; the watchdog's thread
/// completes it when the recording thread is stuck in a request.
class TargetHolder {
public:
    void set(std::unique_ptr<Target> target) { mTarget = std::move(target); }

    void write(Target::Bytes frame) {
        const Writing writing(mIsWriting);
        mTarget->write(frame);
    }
    [[nodiscard]] Level takeLevel() { return mTarget->takeLevel(); }

    /// No effect without a target, on a second call, or while a write is stuck.
    /// @throws Failure
    void close() {
        if (mTarget == nullptr || mIsWriting) return;
        const std::unique_ptr<Target> target = std::move(mTarget);
        target->close();
    }

private:
    /// Marks a write as in progress; the mark also ends when the write throws.
    class Writing {
    public:
        explicit Writing(std::atomic<bool>& flag) : mFlag(flag) { mFlag = true; }
        ~Writing() { mFlag = false; }
        Writing(const Writing&) = delete;
        Writing& operator=(const Writing&) = delete;

    private:
        std::atomic<bool>& mFlag;
    };

    std::unique_ptr<Target> mTarget;
    std::atomic<bool> mIsWriting{false};
};

}  // namespace cabinaudio::tool
