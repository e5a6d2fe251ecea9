// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/Board.h"
#include "tests/board/Surroundings.h"
#include "tests/support/Files.h"
#include "tests/support/UserProcess.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <string>

namespace cabinaudio::test {

/// Tests in this process, which links the stand-in, under an instance of their own.
class InAnInstance : public ::testing::Test {
protected:
    OwnInstance mInstance;
    Variable mVariable{board::INSTANCE_VARIABLE, mInstance.name()};
};

/// Runs `work` in a forked child. @return its text, or how the child ended otherwise
inline std::string inForkedChild(const std::function<std::string()>& work) {
    return asUser(std::nullopt, work);
}

/// A descriptor that is closed with the object.
class OpenFile {
public:
    explicit OpenFile(int descriptor) : mDescriptor(descriptor) {}
    ~OpenFile() {
        if (mDescriptor >= 0) close(mDescriptor);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    operator int() const { return mDescriptor; }

private:
    int mDescriptor;
};

}  // namespace cabinaudio::test
