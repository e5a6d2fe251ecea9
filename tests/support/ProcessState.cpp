// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace cabinaudio::test {

namespace {

std::size_t entries(const char* directory) {
    std::error_code gone;
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory, gone))
        ++count;
    return count;
}

/// Whether a task has begun to leave. A thread that was joined stays listed until the kernel
/// removes it, but carries this flag before the join returns.
bool isLeaving(const std::filesystem::path& task) {
    constexpr unsigned long PF_EXITING = 4;  // the kernel's linux/sched.h
    std::ifstream stat(task / "stat");  // id (name) state parent group session terminal owner flags
    std::string line;
    if (!std::getline(stat, line)) return true;
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    std::string skipped;
    for (int field = 0; field < 6; ++field)
        fields >> skipped;
    unsigned long flags = 0;
    fields >> flags;
    return (flags & PF_EXITING) != 0;
}

std::size_t countThreads() {
    std::error_code gone;
    std::size_t count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", gone))
        if (!isLeaving(task.path())) ++count;
    return count;
}

std::size_t countSharedMappings() {
    std::ifstream maps("/proc/self/maps");
    std::size_t count = 0;
    for (std::string line; std::getline(maps, line);)
        if (line.find("/dev/shm/") != std::string::npos) ++count;
    return count;
}

std::vector<std::string> instanceShmNames() {
    std::vector<std::string> names;
    const char* const instance = std::getenv("CABINAUDIO_INSTANCE");
    const std::string start =
        "cabinaudio." + std::string(instance != nullptr ? instance : "") + ".";
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", gone)) {
        const std::string name = entry.path().filename();
        if (name.rfind(start, 0) == 0) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

ProcessState ProcessState::now() {
    return {countThreads(), entries("/proc/self/fd"), countSharedMappings(), instanceShmNames()};
}

std::vector<std::string> threadNames() {
    std::vector<std::string> names;
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        std::ifstream comm(entry.path() / "comm");
        std::string name;
        if (std::getline(comm, name)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool threadsSleep(const std::string& nameBegin) {
    bool any = false;
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        std::ifstream stat(entry.path() / "stat");  // id (name) state ...
        std::string line;
        if (!std::getline(stat, line)) continue;
        const std::size_t name = line.find('(') + 1;
        if (line.compare(name, nameBegin.size(), nameBegin) != 0) continue;
        any = true;
        if (line.compare(line.rfind(')') + 1, 2, " S") != 0) return false;
    }
    return any;
}

bool pollUntil(bool (*condition)(void*), void* context, std::chrono::milliseconds bound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!condition(context)) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        const struct timespec pause = {0, 1000000};
        nanosleep(&pause, nullptr);
    }
    return true;
}

bool returnsTo(const ProcessState& expected) {
    return eventually([&] { return ProcessState::now() == expected; });
}

bool leavesNoMoreThan(const ProcessState& before) {
    return eventually([&] {
        const ProcessState now = ProcessState::now();
        return now.threads <= before.threads && now.descriptors <= before.descriptors &&
               now.sharedMappings <= before.sharedMappings &&
               now.shmNames.size() <= before.shmNames.size();
    });
}

}  // namespace cabinaudio::test
