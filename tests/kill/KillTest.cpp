// SPDX-License-Identifier: Apache-2.0
// At every point of a conversation with every kind of client, a server is killed, killed and
// started again, stopped and continued, or stopped for longer than requests may last, with the
// client destroyed before or after it continues.
//
// By default each point meets one of the five, and of those of the settings objects, which are much
// alike, each second one; CABINAUDIO_KILL=all has each point meet all of them.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/kill/Kinds.h"
#include "tests/kill/PointServer.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/Leftovers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

enum class Way { Killed, Restarted, Continued, Stopped, StoppedToTheEnd };
constexpr int WAYS = 5;

bool staysStopped(Way way) {
    return way == Way::Stopped || way == Way::StoppedToTheEnd;
}

/// For all steps of a client, however busy the machine is.
constexpr auto BOUND = 60s;
/// Of a client whose server stops. On a busy machine an answer may take longer, so that the point
/// is not reached; then the next time-out is tried.
constexpr std::chrono::milliseconds SHORT_TIMEOUTS[] = {50ms, 500ms, 5000ms};
/// For a server to stop behind the last answer.
constexpr auto STOPPING_BOUND = 2s;

/// Status of a request without an answer.
constexpr int UNANSWERED = 1;

struct Point {
    int message;
    Cut cut;
};

std::vector<Point> pointsOf(const ClientKind& kind) {
    std::vector<Point> points = {{NO_MESSAGE, Cut::Before}};
    for (int message = 0; message < kind.messages; ++message)
        for (int cut = 0; cut < CUTS; ++cut)
            points.push_back({message, static_cast<Cut>(cut)});
    return points;
}

/// A server must send each header and body in one piece, so the client ignores a server that
/// continues in the middle of one.
bool isPossible(Point point, Way way) {
    return way != Way::Continued || point.cut == Cut::Before || point.cut == Cut::Behind ||
           point.cut == Cut::BehindNotification;
}

LinkPolicy policyOf(Way way, std::chrono::milliseconds shortTimeout = SHORT_TIMEOUTS[0]) {
    if (way == Way::Continued) return {};
    return {staysStopped(way) ? shortTimeout : std::chrono::milliseconds(BOUND), true, true};
}

/// A client that goes through its steps on a thread of its own.
class Conversation {
public:
    explicit Conversation(const ClientKind& kind) : mClient(kind.begin()) {
        mDone = std::async(std::launch::async, [this] {
            std::vector<int> statuses;
            for (int number = 0; number < STEPS; ++number)
                statuses.push_back(mClient->step(number));
            return statuses;
        });
    }

    [[nodiscard]] bool hasEnded() { return mDone.wait_for(0s) == std::future_status::ready; }
    [[nodiscard]] bool ends() { return mDone.wait_for(BOUND) == std::future_status::ready; }
    [[nodiscard]] std::vector<int> statuses() { return mDone.get(); }
    [[nodiscard]] int operate() { return mClient->operate(); }
    [[nodiscard]] bool isSettled() { return mClient->isSettled(); }
    void destroy() { mClient.reset(); }

private:
    std::unique_ptr<AnyClient> mClient;
    std::future<std::vector<int>> mDone;
};

class ServerLoss : public testing::TestWithParam<ClientKind> {
protected:
    ~ServerLoss() override { EXPECT_TRUE(leavesNothingButNames(mBefore)); }

    static const ClientKind& kind() { return GetParam(); }
    static bool meetsAll() {
        const char* const wanted = std::getenv("CABINAUDIO_KILL");
        return wanted != nullptr && std::string(wanted) == "all";
    }

    static bool isRefusal(int status) {
        return kind().isStream ? status == AUDIO_INVALID_STATE : status == UNANSWERED;
    }

    /// This server serves the client as usual.
    static void expectGood(PointServer& server, Conversation& conversation) {
        server.resume();
        ASSERT_TRUE(conversation.ends());
        expectGood(conversation.statuses());
    }
    static void expectGood(PointServer& server) {
        Conversation conversation(kind());
        expectGood(server, conversation);
    }

    static void expectGood(const std::vector<int>& statuses) {
        for (std::size_t number = 0; number < statuses.size(); ++number) {
            // On a busy machine a ring may take longer than a write waits for it.
            const bool mayTimeOut = kind().isStream && number == 3;
            EXPECT_TRUE(statuses[number] >= 0 ||
                        (mayTimeOut && statuses[number] == AUDIO_TIMED_OUT))
                << "step " << number << ": " << statuses[number];
            if (!kind().isStream) {
                EXPECT_EQ(statuses[number], 0) << "step " << number;
            }
        }
    }

    static void meet(Point point, Way way) {
        if (!staysStopped(way)) {
            EXPECT_TRUE(isMet(point, way, {})) << "the point was not reached";
            return;
        }
        for (const auto timeout : SHORT_TIMEOUTS)
            if (isMet(point, way, timeout)) return;
        ADD_FAILURE() << "the point was not reached";
    }

    /// @return false when the client gave up before its server came to the point
    static bool isMet(Point point, Way way, std::chrono::milliseconds shortTimeout) {
        const PolicyGuard guard(policyOf(way, shortTimeout));
        PointServer server(kind().name, point.message, point.cut);
        if (point.message != NO_MESSAGE) server.resume();
        Conversation conversation(kind());
        if (point.message != NO_MESSAGE && !reachesPoint(server, conversation)) return false;
        resume(conversation, server, way);
        return true;
    }

    static bool reachesPoint(PointServer& server, Conversation& conversation) {
        bool stands = false;
        const bool isOver = eventually(
            [&] {
                stands = server.isSuspendedNow();
                return stands || conversation.hasEnded();
            },
            BOUND);
        if (stands || !isOver) return stands;
        return eventually([&] { return server.isSuspendedNow(); }, STOPPING_BOUND);
    }

    /// Behind the point.
    static void resume(Conversation& conversation, PointServer& server, Way way) {
        if (way == Way::Continued) return expectGood(server, conversation);
        if (!staysStopped(way)) server.kill();
        ASSERT_TRUE(conversation.ends());
        (void)conversation.statuses();  // as far as it came
        expectBroken(conversation);
        if (way == Way::Stopped) {
            // The late answer is discarded.
            server.resume();
            const int late = conversation.operate();
            EXPECT_TRUE(isRefusal(late) || late == UNANSWERED) << late;
        }
        conversation.destroy();
        if (way == Way::Restarted) {
            PointServer next(kind().name, NO_MESSAGE, Cut::Before);
            expectGood(next);
        }
        if (!staysStopped(way)) return;
        setLinkPolicy({});
        expectGood(server);  // another client is not affected
    }

    /// A stream refuses once its notifier thread knows of the loss. Until then a started stream
    /// stays started, and any other gets no answer.
    static void expectBroken(Conversation& conversation) {
        int last = 0;
        EXPECT_TRUE(eventually([&] {
            last = conversation.operate();
            return isRefusal(last);
        })) << last;
    }

private:
    const ProcessState mBefore = ProcessState::now();
};

TEST_P(ServerLoss, AtAnyPointLeavesNoClientBlocked) {
    int met = 0;
    const std::vector<Point> points = pointsOf(kind());
    for (std::size_t number = 0; number < points.size(); ++number) {
        const std::size_t mine = number + kind().number;
        if (!meetsAll() && !kind().isStream && mine % 2 != 0) continue;
        const auto turn = static_cast<Way>(mine % WAYS);
        for (int one = 0; one < WAYS; ++one) {
            const auto way = static_cast<Way>(one);
            const Way only = isPossible(points[number], turn) ? turn : Way::Killed;
            if (meetsAll() ? !isPossible(points[number], way) : way != only) continue;
            SCOPED_TRACE("message " + std::to_string(points[number].message) + ", cut " +
                         std::to_string(static_cast<int>(points[number].cut)) + ", way " +
                         std::to_string(one));
            meet(points[number], way);
            ++met;
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GE(met, static_cast<int>(points.size() / 2));
    RecordProperty("met", met);
}

TEST_P(ServerLoss, ByAKillDuringDestructionLeavesNothing) {
    const PolicyGuard guard(policyOf(Way::Killed));
    PointServer server(kind().name, NO_MESSAGE, Cut::Before);
    Conversation conversation(kind());
    ASSERT_NO_FATAL_FAILURE(expectGood(server, conversation));
    std::thread killer([&] { server.kill(); });
    conversation.destroy();
    killer.join();
}

// Without a policy. A request that is under way would have to be answered first.
TEST_P(ServerLoss, ByAStopBeforeDestructionLeavesNothing) {
    PointServer server(kind().name, NO_MESSAGE, Cut::Before);
    Conversation conversation(kind());
    ASSERT_NO_FATAL_FAILURE(expectGood(server, conversation));
    ASSERT_TRUE(eventually([&] { return conversation.isSettled(); }));
    server.stop();
    conversation.destroy();
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, ServerLoss, testing::ValuesIn(clientKinds()), ROW_NAME);

}  // namespace
}  // namespace cabinaudio::test
