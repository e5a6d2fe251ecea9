// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// What this process holds at one moment, for leak tests.
struct ProcessState {
    std::size_t threads;  // without those that have ended and that the kernel still lists
    std::size_t descriptors;
    std::size_t sharedMappings;         // mappings of shared-memory objects and of physical memory
    std::vector<std::string> shmNames;  // of this test instance, sorted

    [[nodiscard]] static ProcessState now();
    bool operator==(const ProcessState&) const = default;
};

/// Names of the process's threads as the kernel has them, sorted.
[[nodiscard]] std::vector<std::string> threadNames();

/// Whether there are threads whose names begin like this, and all of them sleep in the kernel.
[[nodiscard]] bool threadsSleep(const std::string& nameBegin);

/// Waits until `condition()` holds, for at most `bound`, looking every millisecond. For states of
/// the kernel that nobody announces. @return whether it held
template <typename Condition>
[[nodiscard]] bool eventually(Condition condition,
                              std::chrono::milliseconds bound = std::chrono::seconds(20));

/// Waits for ProcessState::now() to equal `expected` again.
[[nodiscard]] bool returnsTo(const ProcessState& expected);

/// Waits until there is no more than before of what a process holds. Less is no fault: in an
/// emulator threads of an earlier test may be listed for a while.
[[nodiscard]] bool leavesNoMoreThan(const ProcessState& before);

[[nodiscard]] bool pollUntil(bool (*condition)(void*), void* context,
                             std::chrono::milliseconds bound);

template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds bound) {
    return pollUntil([](void* context) { return bool((*static_cast<Condition*>(context))()); },
                     &condition, bound);
}

}  // namespace cabinaudio::test
