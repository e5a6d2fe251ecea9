// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/Board.h"
#include "tests/board/Surroundings.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace cabinaudio::test {

/// Tests in this process, which links the stand-in, under an instance of their own.
class InAnInstance : public ::testing::Test {
protected:
    OwnInstance mInstance;
    Variable mVariable{board::INSTANCE_VARIABLE, mInstance.name()};
};

/// A descriptor that is closed with the object.
class OpenFile {
public:
    explicit OpenFile(int descriptor) : mDescriptor(descriptor) {}
    ~OpenFile() {
        if (mDescriptor >= 0) {
            close(mDescriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    operator int() const { return mDescriptor; }

private:
    int mDescriptor;
};

}  // namespace cabinaudio::test
