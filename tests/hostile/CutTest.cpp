// SPDX-License-Identifier: Apache-2.0
// A server closes the connection, or stalls, behind any byte of a conversation. Under a policy
// every call returns, and none succeeds without its answer.
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/hostile/Effort.h"
#include "tests/hostile/HostileServer.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/StreamKinds.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t REGISTERED = FRAME + 8;
constexpr std::size_t CREATED = REGISTERED + FRAME + 28;
/// Deliberate: the first five bytes of a frame, magic and id, make it a reply, and missing bytes of
/// its body count as 0. A server that closes behind them has agreed.
constexpr std::size_t TOLD = 5;

/// How many bytes a server has sent when an operation of a kind can have succeeded.
struct Ends {
    std::size_t checked;  // 0: without the server
    std::size_t started;
    std::size_t all;

    explicit Ends(const StreamKind& kind)
        : checked(kind.isSink() ? CREATED : CREATED + FRAME + 4),
          started(checked + FRAME + 4),
          all(started + (kind.isPosix ? 0 : FRAME + FRAME + 12) + FRAME + 4) {}
};

/// Results of a stream's calls.
struct Outcome {
    std::size_t cut = 0;
    int check = 0;
    int start = 0;
    int moved = 0;
    int stop = 0;
};

Outcome liveWith(const StreamKind& kind, const std::string& name, std::size_t cut) {
    unsigned char bytes[64] = {};
    Outcome outcome;
    outcome.cut = cut;
    const auto stream = kind.create(name);
    outcome.check = stream->initCheck();
    outcome.start = stream->start();
    outcome.moved = stream->move(bytes, sizeof bytes, false);
    (void)stream->available();
    outcome.stop = stream->stop();
    return outcome;
}

/// The calls with a server that is cut after 0, 1, 2, ... bytes.
std::vector<Outcome> outcomes(const StreamKind& kind, Move::End end) {
    const std::size_t step = stride(end == Move::End::Stalls ? 3 : 1);
    std::vector<Outcome> all(Ends(kind).all / step + 1);
    HostileServer server;
    for (std::size_t i = 0; i < all.size(); ++i)
        server.plan("cut" + std::to_string(i), cutAfter(i * step, end));
    inParallel(all.size(), AT_ONCE, [&](std::size_t i) {
        all[i] = liveWith(kind, "cut" + std::to_string(i), i * step);
    });
    return all;
}

class CutConversation : public ::testing::TestWithParam<StreamKind> {
protected:
    static std::size_t withoutBody(std::size_t end, std::size_t body) {
        return end - FRAME - body + TOLD;
    }

    const StreamKind& kind = GetParam();
    const Ends ends{kind};

    void expectNoSuccessBefore(const Outcome& outcome) const {
        const std::size_t cut = outcome.cut;
        EXPECT_TRUE(cut >= withoutBody(CREATED, 28) || outcome.check != AUDIO_NO_ERROR) << cut;
        if (!kind.isSink()) {
            EXPECT_TRUE(cut >= withoutBody(ends.checked, 4) || outcome.check != AUDIO_NO_ERROR)
                << cut;
        }
        EXPECT_TRUE(cut >= withoutBody(ends.started, 4) || outcome.start != AUDIO_NO_ERROR) << cut;
        EXPECT_LE(outcome.moved, 64) << cut;
    }
};

TEST_P(CutConversation, FailsWhenItIsClosedAtAnyByte) {
    const ProcessState before = ProcessState::now();
    {
        const PolicyGuard guard({60s, true, true});
        for (const Outcome& outcome : outcomes(kind, Move::End::Closes)) {
            expectNoSuccessBefore(outcome);
            EXPECT_TRUE(outcome.cut < ends.checked || outcome.check == AUDIO_NO_ERROR)
                << outcome.cut;
            EXPECT_TRUE(outcome.cut < ends.started || outcome.start == AUDIO_NO_ERROR)
                << outcome.cut;
        }
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

TEST_P(CutConversation, FailsWhenTheServerStallsAtAnyByte) {
    const ProcessState before = ProcessState::now();
    {
        const PolicyGuard guard({40ms, true, true});
        for (const Outcome& outcome : outcomes(kind, Move::End::Stalls))
            expectNoSuccessBefore(outcome);
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, CutConversation, ::testing::ValuesIn(streamKinds()), ROW_NAME);

/// @return whether the operation succeeded, with a server that is cut
template <typename Operation>
bool succeeds(std::size_t cut, Move::End end, Operation operation) {
    HostileServer server;
    server.planOthers(cutAfter(cut, end));
    return operation() == AUDIO_NO_ERROR;
}

int getVolume() {
    float gain = 1;
    return ClientVolumeSetting().getMasterVolume(&gain);
}

TEST(CutSettingConversation, FailsWhenItIsClosedAtAnyByte) {
    const ProcessState before = ProcessState::now();
    {
        const PolicyGuard guard({60s, true, true});
        const auto getVersions = [] {
            int numbers[9] = {};
            ClientVersionSetting setting;
            return setting.getServerVersions(numbers, numbers + 3, numbers + 6);
        };
        const auto getNames = [] {
            std::vector<std::string> names;
            const int result = ClientSourceSetting().getActiveTracksName("main", names);
            EXPECT_TRUE(names.empty());
            return result;
        };
        for (std::size_t cut = 0; cut <= REGISTERED + FRAME; cut += stride(1)) {
            const bool isTold = cut >= REGISTERED + TOLD;
            EXPECT_EQ(succeeds(cut, Move::End::Closes, getVolume), isTold) << cut;
            EXPECT_EQ(succeeds(cut, Move::End::Closes, getVersions), isTold) << cut;
            EXPECT_EQ(succeeds(cut, Move::End::Closes, getNames), isTold) << cut;
        }
        EXPECT_TRUE(succeeds(REGISTERED + FRAME + 4, Move::End::Closes, getVolume));
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

TEST(CutSettingConversation, FailsWhenTheServerStallsAtAnyByte) {
    const PolicyGuard guard({20ms, true, true});
    for (std::size_t cut = 0; cut < REGISTERED + FRAME; cut += stride(3))
        EXPECT_FALSE(succeeds(cut, Move::End::Stalls, getVolume)) << cut;
}

}  // namespace
}  // namespace cabinaudio::test
