// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace cabinaudio::server {

/// The last requests that were answered, for people who watch.
class RequestLog {
public:
    static constexpr std::size_t MOST = 32;

    struct Entry {
        std::uint64_t number = 0;  // of all requests, from 1
        std::chrono::system_clock::time_point time;
        std::string who;   // kind of client
        std::string name;  // of the client
        std::string request;
        std::int32_t status = 0;
        std::chrono::microseconds duration{};
    };

    /// Numbers the entry; the oldest one goes.
    void add(Entry entry) {
        entry.number = ++mLast;
        mEntries.push_back(std::move(entry));
        if (mEntries.size() > MOST) mEntries.pop_front();
    }

    /// Oldest first.
    [[nodiscard]] const std::deque<Entry>& entries() const { return mEntries; }

private:
    std::uint64_t mLast = 0;
    std::deque<Entry> mEntries;
};

}  // namespace cabinaudio::server
