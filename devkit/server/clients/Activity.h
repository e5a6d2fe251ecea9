// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace cabinaudio::server {

/// What a program does since a moment: on a busy machine, one that does nothing for long may only
/// have got no processor.
class Activity {
public:
    /// @param process  0 when it is unknown here; it then does nothing
    explicit Activity(std::int32_t process);

    /// How long this has existed.
    [[nodiscard]] std::chrono::steady_clock::duration age() const;
    /// Whether a thread has run, or waited for a processor, without a rest since it was seen first,
    /// or waits for a disk. A thread that wakes up and sleeps again has had its turn.
    [[nodiscard]] bool goesOn();

private:
    std::string mThreads;  // directory of the process's threads
    std::chrono::steady_clock::time_point mBegin = std::chrono::steady_clock::now();
    std::map<std::string, std::uint64_t> mRests;  // of each thread, when it was seen first
};

}  // namespace cabinaudio::server
