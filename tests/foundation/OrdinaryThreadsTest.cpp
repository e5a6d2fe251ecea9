// SPDX-License-Identifier: Apache-2.0
// Real-time threads that the system refuses, where the policy allows ordinary ones.
#include "tests/foundation/Platform.h"
#include "tests/foundation/Worker.h"
#include "tests/support/Logged.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>

#include <cerrno>

namespace cabinaudio::test {
namespace {

class OrdinaryThread : public ::testing::Test {
protected:
    static LinkPolicy allowed() {
        LinkPolicy policy;
        policy.allowsOrdinaryThreads = true;
        return policy;
    }

    const LogCapture log;
    Worker worker{"plain"};
};

TEST_F(OrdinaryThread, ReplacesARealTimeThreadThatIsNotPermitted) {
    const PolicyGuard guard(allowed());
    {
        const Failing create("pthread_create", EPERM);
        worker.start();
        EXPECT_TRUE(create.happened());
    }
    EXPECT_TRUE(worker.isRunning());
    EXPECT_TRUE(eventually([&] { return worker.begun() == 1; }));
    EXPECT_EQ(lastCreation().inherit, PTHREAD_EXPLICIT_SCHED);
    EXPECT_EQ(lastCreation().policy, SCHED_OTHER);
    EXPECT_TRUE(logged(log, WARN, "AudioThread", "start",
                       "Thread(AS-plain) may not be a real-time one.\n"));
    EXPECT_TRUE(loggedLike(log, ERROR, ".*", 0));
}

TEST_F(OrdinaryThread, IsNotMadeWhenCreationFailsForAnotherReason) {
    const PolicyGuard guard(allowed());
    for (const int error : {EAGAIN, EINVAL, ENOMEM}) {
        const Failing create("pthread_create", error);
        worker.start();
        EXPECT_TRUE(create.happened());
        EXPECT_FALSE(worker.isRunning()) << error;
    }
    EXPECT_TRUE(loggedLike(log, ERROR, "Fail to start thread\\(AS-plain\\) because .*\n", 3));
    EXPECT_TRUE(loggedLike(log, WARN, ".*", 0));
    EXPECT_EQ(worker.begun(), 0);
}

TEST_F(OrdinaryThread, IsNotMadeWithoutThePolicy) {
    const Failing create("pthread_create", EPERM);
    worker.start();
    EXPECT_FALSE(worker.isRunning());
    EXPECT_TRUE(loggedLike(log, WARN, ".*", 0));
    EXPECT_EQ(worker.begun(), 0);
}

}  // namespace
}  // namespace cabinaudio::test
