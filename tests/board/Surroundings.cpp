// SPDX-License-Identifier: Apache-2.0
#include "tests/board/Surroundings.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>

namespace cabinaudio::test {

namespace fs = std::filesystem;

Variable::Variable(const char* name, const std::string& value) : mName(name) {
    const char* old = std::getenv(name);
    mHadValue = old != nullptr;
    mOldValue = mHadValue ? old : "";
    set(value);
}

Variable::~Variable() {
    if (mHadValue)
        setenv(mName, mOldValue.c_str(), 1);
    else
        unsetenv(mName);
}

void Variable::set(const std::string& value) {
    if (value.empty())
        unsetenv(mName);
    else
        setenv(mName, value.c_str(), 1);
}

OwnInstance::OwnInstance() {
    static std::atomic<int> count{0};
    mName = "board-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

OwnInstance::~OwnInstance() {
    std::error_code ignored;
    fs::remove(memoryFile(), ignored);
    const std::string prefix = "cabinaudio." + mName + ".";
    const std::string otherPlaces = memoryFile().filename().native() + ".";
    for (const auto& entry : fs::directory_iterator("/dev/shm", ignored)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(prefix) || name.starts_with(otherPlaces))
            fs::remove(entry.path(), ignored);
    }
}

fs::path OwnInstance::memoryFile() const {
    return "/dev/shm/cabinaudio-physmem-" + std::to_string(geteuid()) + "-" + mName;
}

fs::path OwnInstance::objectFile(const std::string& object) const {
    return "/dev/shm/cabinaudio." + mName + "." + object;
}

}  // namespace cabinaudio::test
