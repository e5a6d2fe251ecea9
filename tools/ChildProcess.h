// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>

namespace cabinaudio::tool {

/// How a child process came to its end.
enum class ChildEnd {
    Finished,  // did its work
    Overdue,   // was killed at the deadline
    Died,      // ended by itself before its work was done
};

struct ChildResult {
    std::string said;  // what it wrote to its descriptor
    ChildEnd end;
};

/// Does work that may hang or crash in a child process. Only while this process has one thread.
/// @param bound  the child is killed when this time has passed
/// @param work   run in the child with a descriptor to write answers to; never returns into the
///               caller's code there
/// @throws Failure when no child can be made
[[nodiscard]] ChildResult runInChild(std::chrono::milliseconds bound,
                                     const std::function<void(int answers)>& work);

/// Writes one record of an answer.
void answer(int answers, const void* record, std::size_t size);

/// Takes the next record from the front of what a child said. @return false when there is none
template <typename Record>
bool takeRecord(std::string& said, Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (said.size() < sizeof record) return false;
    std::memcpy(&record, said.data(), sizeof record);
    said.erase(0, sizeof record);
    return true;
}

}  // namespace cabinaudio::tool
