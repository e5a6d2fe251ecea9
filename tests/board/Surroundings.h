// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace cabinaudio::test {

/// An environment variable that gets its old value back. "" removes it.
class Variable {
public:
    Variable(const char* name, const std::string& value);
    ~Variable();
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    void set(const std::string& value);

private:
    const char* mName;
    bool mHadValue;
    std::string mOldValue;
};

/// An instance name that no other test uses; what it leaves in /dev/shm goes with the object.
class OwnInstance {
public:
    OwnInstance();
    ~OwnInstance();
    OwnInstance(const OwnInstance&) = delete;
    OwnInstance& operator=(const OwnInstance&) = delete;

    const std::string& name() const { return mName; }
    std::filesystem::path memoryFile() const;
    std::filesystem::path objectFile(const std::string& object) const;

private:
    std::string mName;
};

}  // namespace cabinaudio::test
