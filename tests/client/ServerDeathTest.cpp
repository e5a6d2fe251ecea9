// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/KindTest.h"

#include <tuple>

namespace cabinaudio::test {
namespace {

enum class Stage { Created, Checked, Started, Moving, Blocked, Stopped };

void PrintTo(Stage stage, std::ostream* out) {
    constexpr const char* NAMES[] = {"created", "checked", "started",
                                     "moving",  "blocked", "stopped"};
    *out << NAMES[static_cast<int>(stage)];
}

class ServerDeath : public KindTest,
                    public ::testing::WithParamInterface<std::tuple<StreamKind, Stage>> {
protected:
    ServerDeath() : KindTest(std::get<0>(GetParam())) { serverRing = kind.ring(); }

    [[nodiscard]] static bool reaches(Stage stage) { return std::get<1>(GetParam()) >= stage; }
    [[nodiscard]] static bool stopsAt(Stage stage) { return std::get<1>(GetParam()) == stage; }

    /// The first bytes go through.
    void moveSome() {
        announce();
        if (!kind.writes) {
            ASSERT_TRUE(put(*serverRing, pattern(100)));
        }
        ASSERT_EQ(move(100), 100) << log.dump();
    }
};

TEST_P(ServerDeath, NeitherCrashesNorBlocksTheClient) {
    const ProcessState before = ProcessState::now();
    create();
    if (reaches(Stage::Checked)) {
        ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    }
    if (reaches(Stage::Started)) start();
    if (reaches(Stage::Moving)) moveSome();
    std::future<int> blockedOne;
    if (stopsAt(Stage::Blocked)) blockedOne = blockedMove(kind.writes ? 9000 : 4096);
    if (stopsAt(Stage::Stopped)) {
        ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR);
    }

    server.stop();
    waitForRemoval();
    if (blockedOne.valid()) {
        EXPECT_LE(blockedOne.get(), 0) << log.dump();
    }
    // Every operation is refused now. The state changes after the line.
    EXPECT_TRUE(eventually([&] { return stream->start() == AUDIO_INVALID_STATE; }));
    EXPECT_EQ(stream->stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(move(100), AUDIO_INVALID_STATE);

    const Stopwatch watch;
    stream.reset();
    EXPECT_LT(watch.ms(), 20'000);
    serverRing.reset();
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads <= before.threads; }));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, ServerDeath,
                         ::testing::Combine(::testing::ValuesIn(streamKinds()),
                                            ::testing::Values(Stage::Created, Stage::Checked,
                                                              Stage::Started, Stage::Moving,
                                                              Stage::Blocked, Stage::Stopped)),
                         NameOfParts());

}  // namespace
}  // namespace cabinaudio::test
