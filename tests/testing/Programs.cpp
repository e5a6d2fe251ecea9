// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RealServer.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

/// Where the kit finds the programs of this build. What the caller has set stays.
class Programs : public ::testing::Environment {
public:
    void SetUp() override {
        setenv("CABINAUDIO_SERVER", cabinaudio::test::RealServer::path().c_str(), 0);
        setenv("CABINAUDIO_LAUNCHER", KIT_TEST_LAUNCHER, 0);
        setenv("CABINAUDIO_TOOL", KIT_TEST_TOOL, 0);
    }
};

[[maybe_unused]] ::testing::Environment* const PROGRAMS =
    ::testing::AddGlobalTestEnvironment(new Programs);

}  // namespace
