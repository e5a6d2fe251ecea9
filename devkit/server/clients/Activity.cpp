// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/clients/Activity.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace cabinaudio::server {
namespace {

namespace fs = std::filesystem;

struct Thread {
    char state = '?';  // as ps has it; '?' when the thread has ended
    std::uint64_t rests = 0;
};

/// The name of a thread is on a line of its own, so that none can imitate the other fields.
Thread threadIn(const fs::path& directory) {
    Thread thread;
    std::ifstream status(directory / "status");
    for (std::string line; std::getline(status, line);) {
        constexpr char STATE[] = "State:\t";
        constexpr char RESTS[] = "voluntary_ctxt_switches:\t";
        if (line.starts_with(STATE) && line.size() >= sizeof STATE)
            thread.state = line[sizeof STATE - 1];
        else if (line.starts_with(RESTS))
            thread.rests = std::strtoull(line.c_str() + sizeof RESTS - 1, nullptr, 10);
    }
    return thread;
}

}  // namespace

Activity::Activity(std::int32_t process)
    : mThreads(process > 0 ? "/proc/" + std::to_string(process) + "/task" : "") {
    (void)goesOn();
}

std::chrono::steady_clock::duration Activity::age() const {
    return std::chrono::steady_clock::now() - mBegin;
}

bool Activity::goesOn() {
    bool isAnyBusy = false;
    std::error_code isOver;
    fs::directory_iterator entry(mThreads, isOver);
    for (; !isOver && entry != fs::directory_iterator(); entry.increment(isOver)) {
        const Thread thread = threadIn(entry->path());
        const auto seen = mRests.emplace(entry->path().filename(), thread.rests).first;
        isAnyBusy |= thread.state == 'D' || (thread.state == 'R' && thread.rests == seen->second);
    }
    return isAnyBusy;
}

}  // namespace cabinaudio::server
