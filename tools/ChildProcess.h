// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>

namespace cabinaudio::tool {

/// How a child process ended.
enum class ChildEnd {
    Finished,  // completed its work
    Overdue,   // killed at the deadline
    Died,      // ended by itself before its work was complete
};

struct ChildResult {
    std::string output;  // all that it wrote to its descriptor
    ChildEnd end;
};

/// Runs work that may hang or crash in a child process. Call only while this process has one
/// thread.
/// @param bound  the child is killed after this time
/// @param work   runs in the child, with a descriptor for its answers; the child exits afterwards
/// @throws Failure when the child cannot be created
[[nodiscard]] ChildResult runInChild(std::chrono::milliseconds bound,
                                     const std::function<void(int answers)>& work);

/// In a child: messages of libraries go nowhere.
void silenceStandardError();

/// Writes one record of an answer.
void answer(int answers, const void* record, std::size_t size);

/// Removes the next record from the front of a child's answers. @return false when there is none
template <typename Record>
bool takeRecord(std::string& output, Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (output.size() < sizeof record) return false;
    std::memcpy(&record, output.data(), sizeof record);
    output.erase(0, sizeof record);
    return true;
}

}  // namespace cabinaudio::tool
