// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::replay {

/// The sound of a recorded connection, and how much of it may move now.
class SoundFeed {
public:
    SoundFeed(const Conversation& conversation, std::size_t connection);

    /// Bytes that were recorded before this step of the conversation.
    [[nodiscard]] std::uint64_t before(std::size_t step) const;
    /// Bytes that were recorded in all.
    [[nodiscard]] std::uint64_t total() const { return mTotal; }

    /// Lets everything move that was recorded before this step.
    void allowBefore(std::size_t step);
    void allowAll();
    /// Only what was recorded until then may move; nanoseconds since the first record.
    void setTime(std::uint64_t timeNs) { mTimeNs = timeNs; }
    /// The time of the first sound that must wait for it; UINT64_MAX when none must.
    [[nodiscard]] std::uint64_t nextTime() const;

    /// Bytes that may move now.
    [[nodiscard]] std::size_t due() const;
    /// Whether everything that is allowed has moved, whatever the time.
    [[nodiscard]] bool isDone() const { return mMoved >= mAllowed; }
    [[nodiscard]] std::uint64_t missing() const { return isDone() ? 0 : mAllowed - mMoved; }
    /// Gives up what has not moved.
    void skip();

    /// The next bytes, as far as they are in one record; empty where the sound was not recorded.
    /// @param size  as many as this
    [[nodiscard]] std::span<const std::uint8_t> next(std::size_t size) const;
    /// Bytes of the record at the present position.
    [[nodiscard]] std::size_t piece() const;
    void moved(std::size_t bytes) { mMoved += bytes; }
    [[nodiscard]] std::uint64_t position() const { return mMoved; }

private:
    struct Part {
        std::size_t step;
        std::uint64_t begin;  // bytes before it
    };

    [[nodiscard]] const Part* partAt(std::uint64_t position) const;
    [[nodiscard]] const Step& stepOf(const Part& part) const {
        return mConversation->steps[part.step];
    }
    [[nodiscard]] std::uint64_t endOf(const Part& part) const {
        return part.begin + stepOf(part).sound;
    }

    const Conversation* mConversation;
    std::vector<Part> mParts;
    std::uint64_t mTotal = 0;
    std::uint64_t mAllowed = 0;
    std::uint64_t mMoved = 0;
    std::uint64_t mTimeNs = UINT64_MAX;
};

}  // namespace cabinaudio::replay
