// SPDX-License-Identifier: Apache-2.0
//
// The server dies at every stage in the life of each kind of stream.
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>

#include "tests/client/StreamFixture.h"
#include "tests/support/ProcessState.h"

#include <string>
#include <tuple>

namespace cabinaudio::test {
namespace {

enum class Stage { CREATED, CHECKED, STARTED, MOVING, BLOCKED, STOPPED };

/// One kind of stream behind one interface.
class Client {
public:
    virtual ~Client() = default;
    virtual int initCheck() = 0;
    virtual int start() = 0;
    virtual int stop() = 0;
    /// Moves this many bytes.
    virtual int move(unsigned char* bytes, int count) = 0;
};

template <typename Stream>
class ClientOf : public Client {
public:
    template <typename... Arguments>
    explicit ClientOf(Arguments&&... arguments) : mStream(arguments...) {}
    int initCheck() override { return mStream.initCheck(); }
    int start() override { return mStream.start(); }
    int stop() override { return mStream.stop(); }
    int move(unsigned char* bytes, int count) override {
        if constexpr (requires { mStream.write(bytes, count, true); })
            return mStream.write(bytes, count, true);
        else
            return mStream.read(bytes, count, true);
    }

private:
    Stream mStream;
};

struct StreamKind {
    const char* name;
    bool writes;
    bool posix;             // the ring comes with the stream
    std::uint32_t event;    // announces the ring otherwise
    const char* announced;  // and this line says that it was taken
    std::unique_ptr<Client> (*create)();
};

AudioFormatDesc gFormat = cdFormat();

const StreamKind KINDS[] = {
    {"alternativeTrack", true, true, 0, "",
     []() -> std::unique_ptr<Client> {
         return std::make_unique<ClientOf<ClientTrack>>("str", AUDIO_TAG_ALTERNATIVE, gFormat, 0);
     }},
    {"auxiliaryTrack", true, false, 3, "\\[str\\]share memory ready.*\n",
     []() -> std::unique_ptr<Client> {
         return std::make_unique<ClientOf<ClientTrack>>("str", AUDIO_TAG_AUXILIARY, gFormat, 0);
     }},
    {"sink", true, false, 3, "\\[str\\]Source is actived.*\n",
     []() -> std::unique_ptr<Client> {
         return std::make_unique<ClientOf<ClientSink>>("str", AUDIO_TAG_MAIN, gFormat, 0);
     }},
    {"record", false, true, 0, "",
     []() -> std::unique_ptr<Client> {
         return std::make_unique<ClientOf<ClientRecord>>("str", AUDIO_TAG_INPUT0, gFormat, 0);
     }},
    {"uplink", false, false, 2, "\\[str\\] record initShareMem OK.*\n",
     []() -> std::unique_ptr<Client> {
         return std::make_unique<ClientOf<ClientRecordRt>>("str", AUDIO_TAG_UPLINK, gFormat);
     }},
};

class AServersDeath : public AStream,
                      public ::testing::WithParamInterface<std::tuple<std::size_t, Stage>> {
protected:
    AServersDeath() {
        // Create requests of capture and playback, and the places of their rings.
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, 4096, 1024, 16, 256, 0));
        for (const std::uint32_t place : {18U, 20U})
            server.on(place, Answer::words(0, RING_ADDRESS, 4096));
        serverRing = kind().posix ? posixRing("str", 4096) : physicalRing("str", 4096);
    }

    [[nodiscard]] static const StreamKind& kind() { return KINDS[std::get<0>(GetParam())]; }
    [[nodiscard]] static bool reaches(Stage stage) { return std::get<1>(GetParam()) >= stage; }
    [[nodiscard]] static bool stopsAt(Stage stage) { return std::get<1>(GetParam()) == stage; }

    int move(int count) { return client->move(data.data(), count); }

    /// The first bytes go through.
    void moveSome() {
        if (!kind().posix) {
            server.notify(kind().event, 1);
            ASSERT_TRUE(log.waitForMatching(INFO, kind().announced)) << log.dump();
        }
        if (!kind().writes) {
            ASSERT_TRUE(put(*serverRing, pattern(100)));
        }
        ASSERT_EQ(move(100), 100) << log.dump();
    }

    std::unique_ptr<Client> client;
};

TEST_P(AServersDeath, NeitherCrashesNorHangsTheClient) {
    const ProcessState before = ProcessState::now();
    client = kind().create();
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
    return std::string(KINDS[kind].name) + "That" + STAGES[static_cast<std::size_t>(stage)];
}

INSTANTIATE_TEST_SUITE_P(AtEveryStage, AServersDeath,
                         ::testing::Combine(::testing::Range<std::size_t>(0, std::size(KINDS)),
                                            ::testing::Values(Stage::CREATED, Stage::CHECKED,
                                                              Stage::STARTED, Stage::MOVING,
                                                              Stage::BLOCKED, Stage::STOPPED)),
                         caseName);

}  // namespace
}  // namespace cabinaudio::test
