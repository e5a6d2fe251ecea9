// SPDX-License-Identifier: Apache-2.0
//
// Programs built with other compilers call virtual operations by their slots. These tests do the
// same.
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioThread.h>

#include "tests/abi/Slots.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <vector>

namespace cabinaudio::test {
namespace {

AudioFormatDesc gFormat = {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};

/// A stream of the class, without a server.
template <typename Stream>
struct Making : Stream {
    Making() : Stream("slots", AUDIO_TAG_ALTERNATIVE, gFormat, 0) {}
};
template <>
struct Making<ClientRecordRt> : ClientRecordRt {
    Making() : ClientRecordRt("slots", AUDIO_TAG_UPLINK, gFormat) {}
};

template <typename Stream>
std::vector<Operation> playbackOperations() {
    using S = Stream;
    // A sink inherits setKeyShift().
    using K = std::conditional_t<std::is_base_of_v<AudioSink, Stream>, AudioSink, Stream>;
    return {
        operation<0, int (S::*)(), &S::clear>(),
        operation<1, int (S::*)(), &S::start>(),
        operation<2, int (S::*)(), &S::stop>(),
        operation<3, int (S::*)(audio::QVAudioTrackCallback*), &S::setCallback>(),
        operation<4, int (S::*)(int), &S::setVolume>(),
        operation<5, int (S::*)(), &S::getVolume>(),
        operation<6, int (S::*)(), &S::getPerLoopSize>(),
        operation<7, int (S::*)(), &S::getTotalBufferSize>(),
        operation<8, int (S::*)(), &S::bytesFree>(),
        operation<9, int (S::*)(unsigned long long*, long long*), &S::getOutPutSamples>(),
        operation<10, int (S::*)(int), &S::duck>(),
        operation<11, int (S::*)(), &S::unduck>(),
        operation<12, int (S::*)(unsigned char*, int, bool), &S::write>(),
        operation<13, int (S::*)(), &S::writeDone>(),
        operation<14, int (K::*)(float), &S::setKeyShift>(),
        operation<17, int (S::*)(), &S::initCheck>(),
        operation<18, void (S::*)(), &S::notify>(),
    };
}

template <typename Stream>
std::vector<Operation> captureOperations() {
    using S = Stream;
    return {
        operation<0, int (S::*)(), &S::clear>(),
        operation<1, int (S::*)(), &S::start>(),
        operation<2, int (S::*)(), &S::stop>(),
        operation<3, int (S::*)(int), &S::setVolume>(),
        operation<4, int (S::*)(), &S::getVolume>(),
        operation<5, int (S::*)(), &S::getPerLoopSize>(),
        operation<6, int (S::*)(), &S::getTotalBufferSize>(),
        operation<7, int (S::*)(unsigned char*, int, bool), &S::read>(),
        operation<8, int (S::*)(), &S::bytesUsed>(),
        operation<11, int (S::*)(), &S::initCheck>(),
        operation<12, void (S::*)(), &S::notify>(),
    };
}

template <typename Stream>
class StreamTable : public ::testing::Test {
protected:
    static constexpr bool IS_PLAYBACK = std::is_base_of_v<audio::QVAudioTrack, Stream>;
    static constexpr std::size_t DESTRUCTORS = IS_PLAYBACK ? 15 : 9;

    static void expectOperations() {
        if constexpr (IS_PLAYBACK)
            expectSlots(playbackOperations<Stream>(), DESTRUCTORS);
        else
            expectSlots(captureOperations<Stream>(), DESTRUCTORS);
    }
};

using EveryStream = ::testing::Types<ClientTrack, ClientSink, ClientRecord, ClientRecordRt>;
TYPED_TEST_SUITE(StreamTable, EveryStream);

TYPED_TEST(StreamTable, HasEachOperationInItsSlot) {
    TestFixture::expectOperations();
}

TYPED_TEST(StreamTable, HasItsDestructorsSideBySide) {
    TestFixture::expectOperations();
    if (this->HasFailure()) return;
    expectDestructorsSideBySide<Making<TypeParam>>(TestFixture::DESTRUCTORS);
}

/// Reports notifications.
template <typename Stream>
struct NotifiedStream : Making<Stream> {
    void notify() override { called("notify"); }
};

TYPED_TEST(StreamTable, HasTheNotificationInterfaceAsItsSecondBase) {
    NotifiedStream<TypeParam> stream;
    auto* const second = static_cast<ShareMemoryUpdateNotificationCallback*>(&stream);
    const auto distance = reinterpret_cast<char*>(second) - reinterpret_cast<char*>(&stream);
    EXPECT_EQ(distance, static_cast<std::ptrdiff_t>(sizeof(void*)));
    slot<void(void*)>(second, 2)(second);
    EXPECT_EQ(gCalled, "notify");
}

// The tables of the library itself, not of this test's compiler.
TEST(TrackInTheLibrary, AnswersCallsBySlot) {
    LogCapture log;
    ClientTrack track("slots", AUDIO_TAG_ALTERNATIVE, gFormat, 0);
    EXPECT_EQ(slot<Plain>(&track, 0)(&track), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&track, 1)(&track), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&track, 2)(&track), AUDIO_INVALID_STATE);
    EXPECT_EQ((slot<int(void*, void*)>(&track, 3)(&track, nullptr)), AUDIO_NO_ERROR);
    EXPECT_EQ((slot<int(void*, int)>(&track, 4)(&track, 1)), AUDIO_NO_ERROR);
    EXPECT_EQ((slot<int(void*, void*, int, bool)>(&track, 12)(&track, nullptr, 1, true)),
              AUDIO_BAD_VALUE);
    EXPECT_EQ((slot<int(void*, float)>(&track, 14)(&track, 9.0F)), AUDIO_NO_ERROR);
    EXPECT_EQ(slot<Plain>(&track, 17)(&track), AUDIO_INVALID_STATE);
    for (const char* const line : {"[slots]clear In\n", "[slots]start In\n", "[slots]stop In\n"})
        EXPECT_TRUE(logged(log, DEBUG, line));
    EXPECT_TRUE(logged(log, WARN, "ClientTrack", "setVolume",
                       "Deprecated API(ClientTrack::setVolume) is called. please try "
                       "QVAudioSetting::Volume::setTrackVolume/setVolumeByStreamType.\n"));
    EXPECT_TRUE(logged(log, ERROR, "[slots]initCheck failed state[0] not IDLE, Out\n"));
}

TEST(SinkInTheLibrary, AnswersCallsBySlot) {
    LogCapture log;
    ClientSink sink("slots", AUDIO_TAG_MAIN, gFormat, 0);
    EXPECT_EQ(slot<Plain>(&sink, 0)(&sink), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&sink, 1)(&sink), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&sink, 2)(&sink), AUDIO_INVALID_STATE);
    EXPECT_EQ((slot<int(void*, void*)>(&sink, 3)(&sink, nullptr)), AUDIO_NO_ERROR);
    EXPECT_EQ(slot<Plain>(&sink, 11)(&sink), AUDIO_NO_ERROR);
    EXPECT_EQ((slot<int(void*, void*, int, bool)>(&sink, 12)(&sink, nullptr, 1, true)),
              AUDIO_BAD_VALUE);
    EXPECT_EQ(slot<Plain>(&sink, 13)(&sink), AUDIO_INVALID_STATE);
    EXPECT_EQ((slot<int(void*, float)>(&sink, 14)(&sink, 9.0F)), AUDIO_NO_ERROR);
    EXPECT_EQ(slot<Plain>(&sink, 17)(&sink), AUDIO_INVALID_STATE);
    for (const char* const line :
         {"[slots]clear In\n", "[slots]start In\n", "[slots]stop In\n", "[slots]writeDone In\n"})
        EXPECT_TRUE(logged(log, DEBUG, line));
    EXPECT_TRUE(logged(log, WARN,
                       "Deprecated API(ClientTrack::unduck) is called. please try "
                       "QVAudioSetting::Volume::unduck.\n"));
    EXPECT_TRUE(logged(log, ERROR, "[slots]initCheck failed state[0] not IDLE, Out\n"));
}

TEST(RecordInTheLibrary, AnswersCallsBySlot) {
    LogCapture log;
    ClientRecord record("slots", AUDIO_TAG_INPUT0, gFormat, 0);
    EXPECT_EQ(slot<Plain>(&record, 0)(&record), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&record, 1)(&record), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&record, 2)(&record), AUDIO_INVALID_STATE);
    EXPECT_EQ((slot<int(void*, int)>(&record, 3)(&record, 101)), AUDIO_BAD_VALUE);
    EXPECT_EQ(slot<Plain>(&record, 4)(&record), -1);
    EXPECT_EQ(slot<Plain>(&record, 5)(&record), 0);
    EXPECT_EQ(slot<Plain>(&record, 6)(&record), 0);
    EXPECT_EQ((slot<int(void*, void*, int, bool)>(&record, 7)(&record, nullptr, 1, true)),
              AUDIO_BAD_VALUE);
    EXPECT_EQ(slot<Plain>(&record, 8)(&record), 0);
    EXPECT_EQ(slot<Plain>(&record, 11)(&record), AUDIO_INVALID_STATE);
    for (const char* const line :
         {"[slots]state is not IDLE, clear failed, mstate:0\n",
          "[slots]state is not IDLE, start failed\n", "[slots]state is not ACTIVE, stop failed\n",
          "[slots]invalid input param, bufferSize:0 bytes:1\n", "[slots]Abnormal state:0.\n",
          "[slots]state is not IDLE, init failed\n"})
        EXPECT_TRUE(logged(log, ERROR, line));
}

TEST(UplinkInTheLibrary, AnswersCallsBySlot) {
    LogCapture log;
    ClientRecordRt record("slots", AUDIO_TAG_UPLINK, gFormat);
    EXPECT_EQ(slot<Plain>(&record, 0)(&record), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&record, 1)(&record), AUDIO_INVALID_STATE);
    EXPECT_EQ(slot<Plain>(&record, 2)(&record), AUDIO_INVALID_STATE);
    EXPECT_EQ((slot<int(void*, int)>(&record, 3)(&record, 101)), AUDIO_NO_ERROR);
    EXPECT_EQ(slot<Plain>(&record, 4)(&record), 0);
    EXPECT_EQ(slot<Plain>(&record, 5)(&record), 0);
    EXPECT_EQ(slot<Plain>(&record, 6)(&record), 0);
    EXPECT_EQ((slot<int(void*, void*, int, bool)>(&record, 7)(&record, nullptr, 1, true)),
              AUDIO_BAD_VALUE);
    EXPECT_EQ(slot<Plain>(&record, 8)(&record), 0);
    EXPECT_EQ(slot<Plain>(&record, 11)(&record), AUDIO_INVALID_STATE);
    EXPECT_TRUE(logged(log, WARN, "[slots]not surpport, ignore op set volume:101\n"));
    for (const char* const line :
         {"[slots]state is not IDLE, clear failed, mstate:0\n", "[slots] state is not IDLE\n",
          "[slots] state is not ACTIVE\n", "[slots]invalid input param bytes:1\n",
          "[slots] client record state is not active:0.\n",
          "[slots] state is not IDLE init failed\n"})
        EXPECT_TRUE(logged(log, ERROR, line));
}

class RecordingThread : public AudioThread {
public:
    RecordingThread() : AudioThread("slots", -1, POLICY_RR) {}
    ~RecordingThread() override { called("destructor"); }
    void run() override { called("run"); }
};

TEST(ThreadTable, HasRunAfterTheDestructors) {
    RecordingThread thread;
    slot<void(void*)>(&thread, 2)(&thread);
    EXPECT_EQ(gCalled, "run");
}

TEST(VersionSettingTable, HasItsOperationsAfterTheDestructors) {
    ClientVersionSetting query;
    EXPECT_EQ(slot<Plain>(&query, 2)(&query), AUDIO_NOT_CONNECTED);
    int numbers[7] = {1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(
        (slot<int(void*, int*, int*, int*)>(&query, 3)(&query, numbers, numbers + 3, numbers + 6)),
        1);
    for (const int number : numbers)
        EXPECT_EQ(number, 1);
}

class RecordingCallback : public audio::QVAudioTrackCallback {
public:
    void finish(bool) override { called("finish"); }
};

TEST(TrackCallbackTable, HasFinishAfterTheDestructors) {
    RecordingCallback callback;
    slot<void(void*, bool)>(&callback, 2)(&callback, false);
    EXPECT_EQ(gCalled, "finish");
}

}  // namespace
}  // namespace cabinaudio::test
