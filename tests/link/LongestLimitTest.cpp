// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/PolicyGuard.h"

namespace cabinaudio::test {
namespace {

TEST(LongestLimit, OfARequestIsNotOverBeforeItBegins) {
    for (const auto limit : {std::chrono::milliseconds::max(),
                             std::chrono::milliseconds(std::chrono::hours(24 * 365 * 1000L))}) {
        const PolicyGuard guard({limit, false, false});
        ScriptedServer server;
        RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, "name");
        ASSERT_EQ(call.initCheck(), 0) << limit.count();
        EXPECT_EQ(call.callFuncId(1, false), 0) << limit.count();
    }
}

}  // namespace
}  // namespace cabinaudio::test
