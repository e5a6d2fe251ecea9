// SPDX-License-Identifier: Apache-2.0
// How much of a blocking write goes at once, and which tracks are auxiliary ones.
#include "tests/client/SinkFixture.h"
#include "tests/client/TrackFixture.h"

#include <chrono>
#include <future>
#include <thread>

namespace cabinaudio::test {
namespace {

class LastFreeByte : public ASink {};

TEST_F(LastFreeByte, IsWrittenBeforeTheWaitForMore) {
    makeWithSource();
    ASSERT_EQ(write(sink->bytesFree() - 1, false), static_cast<int>(ringSize) - 2);
    ASSERT_EQ(sink->bytesFree(), 1);
    auto writer = blockedWrite(2);
    EXPECT_EQ(sink->bytesFree(), 0);
    Bytes played(100);
    ASSERT_EQ(serverRing->read(played.data(), 100), 100);
    EXPECT_EQ(writer.get(), 2);
}

class WriterWithoutAPolicy : public ASink {};

/// A machine that stands still for longer than one wait ends it, as it may: another attempt
/// follows.
TEST_F(WriterWithoutAPolicy, WaitsOnAsOftenAsItIsWoken) {
    int result = 0;
    for (int attempt = 0; attempt < 5 && result != 100; ++attempt) {
        makeWithSource();
        fillRing();
        auto writer = blockedWrite(100);
        const Stopwatch watch;
        while (watch.ms() < 700) {  // one wait is 600 ms long
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            serverRing->updateReadOffset(serverRing->getReadOffset());
        }
        Bytes played(200);
        (void)serverRing->read(played.data(), 200);
        result = writer.get();
    }
    EXPECT_EQ(result, 100) << log.dump();
}

class TrackOfAnotherTag : public ATrack {};

TEST_F(TrackOfAnotherTag, IsAuxiliaryUnlessItIsTheAlternative) {
    acceptStreams(4096, 1024);
    AudioFormatDesc format = cdFormat();
    for (const AudioTagType tag :
         {AUDIO_TAG_OUTPUT_INVOCATION, AUDIO_TAG_MAIN, AUDIO_TAG_UNKNOWN}) {
        log.clear();
        const std::size_t ends = server.requests(WRITE_DONE).size();
        ClientTrack other("trk", tag, format, 0);
        EXPECT_EQ(other.getTotalBufferSize(), 0) << "a ring without an announcement, tag " << tag;
        ASSERT_EQ(other.initCheck(), AUDIO_NO_ERROR);
        EXPECT_EQ(log.countMatching(INFO, "Create auxiliary track\\[trk\\] Done.*\n"), 1U)
            << log.dump();
        EXPECT_EQ(other.setKeyShift(1.0F), AUDIO_NO_ERROR);
        ASSERT_EQ(other.start(), AUDIO_NO_ERROR);
        EXPECT_EQ(other.writeDone(), AUDIO_NO_ERROR);
        EXPECT_EQ(server.requests(WRITE_DONE).size(), ends + 1);
    }
    EXPECT_EQ(server.requests(KEY_SHIFT).size(), 3U);
}

}  // namespace
}  // namespace cabinaudio::test
