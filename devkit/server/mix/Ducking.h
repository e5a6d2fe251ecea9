// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// Detects prompts. A short gap does not end a prompt, so that the main audio does not pump.
class Ducking {
public:
    explicit Ducking(std::uint32_t rate) : mHold(rate / 5) {}

    /// Must be called after `frames` frames were mixed. @return whether isPromptHeard() has changed
    bool mixed(bool isPromptHeard, std::size_t frames) {
        const bool before = this->isPromptHeard();
        mRemaining = isPromptHeard ? mHold : mRemaining - std::min(mRemaining, frames);
        return this->isPromptHeard() != before;
    }
    void reset() { mRemaining = 0; }

    [[nodiscard]] bool isPromptHeard() const { return mRemaining > 0; }

private:
    std::size_t mHold;           // frames
    std::size_t mRemaining = 0;  // frames left of mHold since the last prompt
};

}  // namespace cabinaudio::server
