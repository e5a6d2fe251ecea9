// SPDX-License-Identifier: Apache-2.0
#include "tests/client/PlaybackFixture.h"
#include "tests/support/ConfigDirectory.h"

#include <unistd.h>

#include <algorithm>
#include <string>

namespace cabinaudio::test {
namespace {

class NewPlayback : public EachPlayback {};

INSTANTIATE_TEST_SUITE_P(Stream, NewPlayback, PLAYBACKS, playingName);

TEST_P(NewPlayback, RegistersItsNameAndTheTypeOfItsTag) {
    makeIdle();
    const std::vector<Request> all = server.requests();
    ASSERT_FALSE(all.empty());
    EXPECT_TRUE(all[0].isRegistration());
    EXPECT_EQ(all[0].header.type, kind == Playing::Track ? 2U : 0U);
    EXPECT_STREQ(all[0].header.name, name().c_str());
}

TEST_P(NewPlayback, RegistersTypeUnknownAndSendsTheTagUnchangedForAnUnknownTag) {
    acceptStreams();
    const auto odd = create("odd", static_cast<AudioTagType>(77));
    EXPECT_EQ(server.requests()[0].header.type, 255U);
    ASSERT_EQ(server.requests(CREATE).size(), 1U);
    EXPECT_EQ(server.requests(CREATE)[0].word(1), 77U);
}

TEST_P(NewPlayback, SendsACreateRequestOfTheseBytes) {
    acceptStreams();
    const auto created = create(
        name(), tag(),
        {64, 44100, 7, AUDIO_CHANNEL_MAP_MONO_253, 2, static_cast<AudioBitDepthType>(1)}, -5);
    const std::vector<Request> sent = server.requests(CREATE);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].header.cmd, 198U);
    EXPECT_EQ(sent[0].header.length, 40U);
    const std::uint32_t tagWord = kind == Playing::Track ? 2 : 0;
    EXPECT_EQ(sent[0].payload, bytesOf({21, tagWord, 64, 44100, 7, 253, 2, 1, 0xfffffffbU,
                                        static_cast<std::uint32_t>(getpid())}));
}

TEST_P(NewPlayback, CutsItsNameToSixtyThreeCharacters) {
    acceptStreams();
    serverRing = posixRing(std::string(63, 'n').c_str(), ringSize);
    const auto created = create(std::string(100, 'n'), ringsTag());
    EXPECT_EQ(server.requests()[0].header.name, std::string(63, 'n'));
    EXPECT_EQ(created->clear(), AUDIO_NO_ERROR);
    EXPECT_TRUE(logged(DEBUG, "[" + std::string(63, 'n') + "]clear In\n"));
    EXPECT_TRUE(
        loggedLike(INFO, "\\[n{63}\\] mPerLoopSize.*\n", kind == Playing::Track ? 1 : ABSENT));
}

TEST_P(NewPlayback, IsUnusableWhenTheServerRefusesTheStream) {
    server.on(CREATE, Answer::words(-3000, 0, 4096, 1024, 0, 0, 0));
    stream = create(name(), ringsTag());
    EXPECT_TRUE(logged(ERROR, file(), "init",
                       "[" + name() + "] mRc->call failure, status:0  ret_status:-3000\n"));
    EXPECT_EQ(stream->getPerLoopSize(), 0);
    EXPECT_EQ(initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->start(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->stop(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->clear(), AUDIO_INVALID_STATE);
    EXPECT_EQ(write(4, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->writeDone(), AUDIO_INVALID_STATE);
    for (const char* const line :
         {"initCheck failed state[0] not IDLE, Out\n", "start failed, state[0] [not IDLE], Out\n",
          "stop failed,state[0] [not ACTIVE], Out\n", "clear failed, state[0] not IDLE, Out\n",
          "Current mState[0] [not ACTIVE]\n",
          text("Not support,ignore op!\n", "writeDone failed, state[0] Out\n")})
        EXPECT_TRUE(streamLogged(ERROR, line)) << line;
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

TEST_P(NewPlayback, IsUnusableWithoutAServer) {
    server.stop();
    stream = create(name(), tag());
    EXPECT_TRUE(streamLogged(
        ERROR, "init", text(" Fail to check RemoteCall.\n", "new RemoteCall failed, ret:-1000\n")));
    EXPECT_EQ(initCheck(), AUDIO_INVALID_STATE);
    EXPECT_EQ(stream->setKeyShift(1.0F), kind == Playing::Track ? 1 : 0);
}

TEST_P(NewPlayback, InitCheckIsRefusedOnceItIsActive) {
    makePlaying();
    EXPECT_EQ(initCheck(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "initCheck", "initCheck failed state[3] not IDLE, Out\n"));
}

/// With a diagnostics file of its own that asks for the dump of the kind's streams.
class DumpedPlayback : public EachPlayback {
protected:
    [[nodiscard]] const char* dumpTag() const { return text("alternative", "main"); }
    [[nodiscard]] std::string dumped() const { return dumps.dumped(dumpTag(), name()); }

    const DumpDirectory dumps{dumpTag()};
};

INSTANTIATE_TEST_SUITE_P(Stream, DumpedPlayback, PLAYBACKS, playingName);

TEST_P(DumpedPlayback, FileHoldsTheBytesThatWereWritten) {
    makeWithRing();
    ASSERT_EQ(initCheck(), AUDIO_NO_ERROR);
    start();
    const Bytes sent = pattern(1000);
    std::copy(sent.begin(), sent.end(), data.begin());
    ASSERT_EQ(write(600, true), 600);
    ASSERT_EQ(stream->write(data.data() + 600, 400, false), 400);
    stream.reset();
    EXPECT_EQ(dumped(), std::string(sent.begin(), sent.end())) << log.dump();
}

TEST_P(DumpedPlayback, BeginsAtTheInitCheck) {
    makePlaying();
    ASSERT_EQ(write(100, true), 100);
    ASSERT_EQ(stream->stop(), AUDIO_NO_ERROR);
    ASSERT_EQ(initCheck(), AUDIO_NO_ERROR);
    start();
    ASSERT_EQ(write(50, true), 50);
    stream.reset();
    EXPECT_EQ(dumped().size(), 50U);
}

}  // namespace
}  // namespace cabinaudio::test
