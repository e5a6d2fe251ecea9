// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"
#include "tests/support/ConfigDirectory.h"

#include <filesystem>
#include <string>

namespace cabinaudio::test {
namespace {

class RecordsDump : public ACaptureStream {
protected:
    ConfigDirectory settings;
};

TEST_F(RecordsDump, HasTheBytesOfAReadThatTookThemInTwoPieces) {
    const std::filesystem::path dumps = settings.top() / "pcm";
    settings.write("Dump\n tag=input0\n usage=client\n outPath=" + dumps.string() + "\n");
    makeRawMic();
    ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    start();
    const Bytes sent = pattern(600);
    ASSERT_TRUE(put(*serverRing, {sent.begin(), sent.begin() + 300}));
    auto reader = blockedRead(600);
    ASSERT_TRUE(put(*serverRing, {sent.begin() + 300, sent.end()}));
    ASSERT_EQ(reader.get(), 600);
    EXPECT_EQ(heard(600), sent);
    record.reset();
    std::string dumped;
    for (const auto& entry : std::filesystem::directory_iterator(dumps))
        dumped += contentsOf(entry.path());
    EXPECT_EQ(dumped, std::string(sent.begin(), sent.end())) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
