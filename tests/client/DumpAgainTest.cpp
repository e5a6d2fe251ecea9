// SPDX-License-Identifier: Apache-2.0
//
// The diagnostic dump of a stream that is checked more than once.
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/ConfigDirectory.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;

constexpr unsigned SIZE = 4096;
constexpr int STEP = 512;

class DumpedStream : public AStream, public ::testing::WithParamInterface<std::size_t> {
protected:
    DumpedStream() {
        std::string items;
        for (const char* const tag : {"main", "alternative", "auxiliary", "input0", "uplink"})
            items += std::string("Dump\n tag=") + tag +
                     "\n usage=client\n outPath=" + directory().string() + "\n";
        settings.write(items);
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        for (const std::uint32_t function : {18U, 20U})
            server.on(function, Answer::words(0, RING_ADDRESS, SIZE));
        serverRing = kind().isPosix ? posixRing("str", SIZE) : physicalRing("str", SIZE);
        const AudioFormatDesc speech = {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
        stream = kind().create(kind().writes ? cdFormat() : speech);
        if (kind().isPosix) return;
        server.notify(kind().event, 1);
        EXPECT_TRUE(log.waitForMatching(INFO, kind().announced)) << log.dump();
    }

    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[GetParam()]; }
    [[nodiscard]] fs::path directory() const { return settings.top() / "pcm"; }

    void move() {
        if (!kind().writes) {
            ASSERT_EQ(serverRing->write(data.data(), STEP), STEP);
        }
        ASSERT_EQ(stream->move(data.data(), STEP, true), STEP) << log.dump();
    }
    /// Sizes of the dump files, in the order of their making.
    [[nodiscard]] std::vector<std::uintmax_t> sizes() const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(directory()))
            files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        std::vector<std::uintmax_t> sizes;
        for (const fs::path& file : files)
            sizes.push_back(fs::file_size(file));
        return sizes;
    }
    /// Dump files that this process has open.
    [[nodiscard]] std::size_t openDumps() const {
        std::size_t count = 0;
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code error;
            const fs::path target = fs::read_symlink(entry.path(), error);
            if (!error && target.parent_path() == directory()) ++count;
        }
        return count;
    }

    ConfigDirectory settings;
    std::unique_ptr<AnyStream> stream;
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, DumpedStream, ::testing::Range<std::size_t>(0, 5),
                         [](const auto& kind) { return streamKinds()[kind.param].name; });

TEST_P(DumpedStream, KeepsTheDumpOfAnEarlierCheckOpenUntilItIsDestroyed) {
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump();
    ASSERT_EQ(openDumps(), 1U) << log.dump();
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(openDumps(), 3U);
    ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
    move();
    stream.reset();
    EXPECT_EQ(openDumps(), 0U);
    EXPECT_EQ(sizes(), (std::vector<std::uintmax_t>{0, 0, STEP})) << "the newest dump is in use";
}

TEST_P(DumpedStream, CanBeCheckedWhileAnotherThreadMovesBytes) {
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    std::atomic<bool> isOver{false};
    std::thread mover([&] {
        std::vector<unsigned char> bytes(STEP);
        while (!isOver)
            (void)stream->move(bytes.data(), STEP, false);
    });
    for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
        EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
        EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
    }
    isOver = true;
    mover.join();
    stream.reset();
    EXPECT_EQ(openDumps(), 0U);
}

}  // namespace
}  // namespace cabinaudio::test
