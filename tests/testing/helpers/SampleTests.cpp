// SPDX-License-Identifier: Apache-2.0
// What the tests of an application look like; those that fail show what a failure leaves.
#include <cabinaudio/testing/Testing.h>

#include "tests/testing/helpers/Playing.h"

#include <chrono>
#include <csignal>

using namespace cabinaudio::testing;
using namespace std::chrono_literals;

class Sample : public ServerTest {
protected:
    Options options() override {
        Options options;
        options.time = Time::Fast;
        return options;
    }
    Heard heard() {
        EXPECT_EQ(kit::play("chime", kit::tone(440, 0.5)), "");
        return server().stop().heard();
    }
};

TEST_F(Sample, passes) {
    EXPECT_THAT(heard(), HasTone(440).between(0.1, 0.4));
}

TEST_F(Sample, fails) {
    EXPECT_THAT(heard(), HasTone(880).between(0.1, 0.4));
}

TEST_F(Sample, losesItsServer) {
    kill(server().pid(), SIGKILL);
}

TEST_F(Sample, expectsToLoseItsServer) {
    expectErrors();
    server().crash();
    EXPECT_EQ(server().stop().signal(), SIGKILL);
}

TEST_F(Sample, losesARestartedServer) {
    kill(server().pid(), SIGKILL);
    server().restart();
}

TEST_F(Sample, crashesItsServer) {
    server().crash();
    server().restart();
    EXPECT_THAT(heard(), HasTone(440).between(0.1, 0.4));
}

TEST_F(Sample, startsAnother) {
    const std::string first = server().instance();
    EXPECT_NE(start(options()).instance(), first);
    EXPECT_THAT(heard(), HasTone(440).between(0.1, 0.4));
}
