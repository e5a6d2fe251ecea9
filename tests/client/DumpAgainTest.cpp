// SPDX-License-Identifier: Apache-2.0
// The diagnostic dump of a stream that is checked more than once.
#include "tests/support/ConfigDirectory.h"
#include "tests/support/kinds/KindTest.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;

class DumpedStream : public EachKindTest {
protected:
    DumpedStream() {
        std::string items;
        for (const char* const tag : {"main", "alternative", "auxiliary", "input0", "uplink"})
            items += std::string("Dump\n tag=") + tag +
                     "\n usage=client\n outPath=" + directory().string() + "\n";
        settings.write(items);
        serverRing = kind.ring();
        create();
        announce();
    }

    [[nodiscard]] fs::path directory() const { return settings.top() / "pcm"; }

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
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, DumpedStream, ::testing::ValuesIn(streamKinds()), ROW_NAME);

TEST_P(DumpedStream, KeepsTheDumpOfAnEarlierCheckOpenUntilItIsDestroyed) {
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump();
    ASSERT_EQ(openDumps(), 1U) << log.dump();
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(openDumps(), 3U);
    start();
    if (!kind.writes) {
        ASSERT_EQ(serverRing->write(data.data(), STEP), STEP);
    }
    ASSERT_EQ(move(STEP), STEP) << log.dump();
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
