// SPDX-License-Identifier: Apache-2.0
//
// The server dies at every stage in the life of each kind of stream.
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/ProcessState.h"

#include <string>
#include <tuple>

namespace cabinaudio::test {
namespace {

enum class Stage { CREATED, CHECKED, STARTED, MOVING, BLOCKED, STOPPED };

class AServersDeath : public AStream,
                      public ::testing::WithParamInterface<std::tuple<std::size_t, Stage>> {
protected:
    AServersDeath() {
        // Create requests of capture and playback, and the places of their rings.
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, 4096, 1024, 16, 256, 0));
        for (const std::uint32_t place : {18U, 20U})
            server.on(place, Answer::words(0, RING_ADDRESS, 4096));
        serverRing = kind().isPosix ? posixRing("str", 4096) : physicalRing("str", 4096);
    }

    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[std::get<0>(GetParam())]; }
    [[nodiscard]] static bool reaches(Stage stage) { return std::get<1>(GetParam()) >= stage; }
    [[nodiscard]] static bool stopsAt(Stage stage) { return std::get<1>(GetParam()) == stage; }

    int move(int count) { return client->move(data.data(), count, true); }

    /// The first bytes go through.
    void moveSome() {
        if (!kind().isPosix) {
            server.notify(kind().event, 1);
            ASSERT_TRUE(log.waitForMatching(INFO, kind().announced)) << log.dump();
        }
        if (!kind().writes) {
            ASSERT_TRUE(put(*serverRing, pattern(100)));
        }
        ASSERT_EQ(move(100), 100) << log.dump();
    }

    std::unique_ptr<AnyStream> client;
};

TEST_P(AServersDeath, NeitherCrashesNorHangsTheClient) {
    const ProcessState before = ProcessState::now();
    client = kind().create(cdFormat());
    if (reaches(Stage::CHECKED)) {
        ASSERT_EQ(client->initCheck(), AUDIO_NO_ERROR);
    }
    if (reaches(Stage::STARTED)) {
        ASSERT_EQ(client->start(), AUDIO_NO_ERROR);
    }
    if (reaches(Stage::MOVING)) moveSome();
    std::future<int> blockedOne;
    if (stopsAt(Stage::BLOCKED))
        blockedOne = blocked([this] { return move(kind().writes ? 9000 : 4096); },
                             kind().writes ? AUDIO_INVALID_OPERATION : AUDIO_INVALID_STATE);
    if (stopsAt(Stage::STOPPED)) {
        ASSERT_EQ(client->stop(), AUDIO_NO_ERROR);
    }

    server.stop();
    ASSERT_TRUE(
        log.waitForMatching(DEBUG, "\\[str\\]server (track|record) has be deleted, disconnect.\n"))
        << log.dump();
    if (blockedOne.valid()) {
        EXPECT_LE(blockedOne.get(), 0) << log.dump();
    }
    // Whatever the application does now is refused. The state changes after the line.
    EXPECT_TRUE(eventually([&] { return client->start() == AUDIO_INVALID_STATE; }));
    EXPECT_EQ(client->stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(client->initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(move(100), AUDIO_INVALID_STATE);

    const Stopwatch watch;
    client.reset();
    EXPECT_LT(watch.ms(), 20'000);
    serverRing.reset();
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads <= before.threads; }));
}

std::string caseName(const ::testing::TestParamInfo<AServersDeath::ParamType>& row) {
    constexpr const char* STAGES[] = {"WasCreated",   "WasChecked", "WasStarted",
                                      "HasMovedData", "IsBlocked",  "WasStopped"};
    const auto [kind, stage] = row.param;
    return std::string(streamKinds()[kind].name) + "That" + STAGES[static_cast<std::size_t>(stage)];
}

INSTANTIATE_TEST_SUITE_P(AtEveryStage, AServersDeath,
                         ::testing::Combine(::testing::Range<std::size_t>(0, 5),
                                            ::testing::Values(Stage::CREATED, Stage::CHECKED,
                                                              Stage::STARTED, Stage::MOVING,
                                                              Stage::BLOCKED, Stage::STOPPED)),
                         caseName);

}  // namespace
}  // namespace cabinaudio::test
