// SPDX-License-Identifier: Apache-2.0
//
// Programs built with other compilers call virtual operations by their place in the table. These
// tests do the same.
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioThread.h>

#include "tests/abi/Slots.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <iterator>
#include <new>
#include <string>

namespace {

using cabinaudio::test::called;
using cabinaudio::test::expectDestructorsSideBySide;
using cabinaudio::test::gCalled;
using cabinaudio::test::LogCapture;
using cabinaudio::test::Plain;
using cabinaudio::test::slot;

AudioFormatDesc gFormat = {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};

/// Streams of each class as the library makes them, without a server.
template <typename Stream>
struct Making : Stream {
    Making() : Stream("slots", AUDIO_TAG_ALTERNATIVE, gFormat, 0) {}
};
template <>
struct Making<ClientRecordRt> : ClientRecordRt {
    Making() : ClientRecordRt("slots", AUDIO_TAG_UPLINK, gFormat) {}
};

/// Says which operation was reached.
template <typename Stream>
class RecordingPlayback : public Making<Stream> {
public:
    ~RecordingPlayback() override { called("destructor"); }
    int clear() override { return called("clear"); }
    int start() override { return called("start"); }
    int stop() override { return called("stop"); }
    int setCallback(audio::QVAudioTrackCallback*) override { return called("setCallback"); }
    int setVolume(int) override { return called("setVolume"); }
    int getVolume() override { return called("getVolume"); }
    int getPerLoopSize() override { return called("getPerLoopSize"); }
    int getTotalBufferSize() override { return called("getTotalBufferSize"); }
    int bytesFree() override { return called("bytesFree"); }
    int getOutPutSamples(unsigned long long*, long long*) override {
        return called("getOutPutSamples");
    }
    int duck(int) override { return called("duck"); }
    int unduck() override { return called("unduck"); }
    int write(unsigned char*, int, bool) override { return called("write"); }
    int writeDone() override { return called("writeDone"); }
    int setKeyShift(float) override { return called("setKeyShift"); }
    int initCheck() override { return called("initCheck"); }
    void notify() override { called("notify"); }

    static constexpr std::size_t DESTRUCTOR = 15;
    static constexpr const char* ORDER[] = {"clear",
                                            "start",
                                            "stop",
                                            "setCallback",
                                            "setVolume",
                                            "getVolume",
                                            "getPerLoopSize",
                                            "getTotalBufferSize",
                                            "bytesFree",
                                            "getOutPutSamples",
                                            "duck",
                                            "unduck",
                                            "write",
                                            "writeDone",
                                            "setKeyShift",
                                            "",
                                            "",
                                            "initCheck",
                                            "notify"};
};

/// The same for streams that capture.
template <typename Stream>
class RecordingCapture : public Making<Stream> {
public:
    ~RecordingCapture() override { called("destructor"); }
    int clear() override { return called("clear"); }
    int start() override { return called("start"); }
    int stop() override { return called("stop"); }
    int setVolume(int) override { return called("setVolume"); }
    int getVolume() override { return called("getVolume"); }
    int getPerLoopSize() override { return called("getPerLoopSize"); }
    int getTotalBufferSize() override { return called("getTotalBufferSize"); }
    int read(unsigned char*, int, bool) override { return called("read"); }
    int bytesUsed() override { return called("bytesUsed"); }
    int initCheck() override { return called("initCheck"); }
    void notify() override { called("notify"); }

    static constexpr std::size_t DESTRUCTOR = 9;
    static constexpr const char* ORDER[] = {"clear",
                                            "start",
                                            "stop",
                                            "setVolume",
                                            "getVolume",
                                            "getPerLoopSize",
                                            "getTotalBufferSize",
                                            "read",
                                            "bytesUsed",
                                            "",
                                            "",
                                            "initCheck",
                                            "notify"};
};

template <typename Recording>
class AStreamsVirtualTable : public ::testing::Test {};

using EveryStream =
    ::testing::Types<RecordingPlayback<ClientTrack>, RecordingPlayback<ClientSink>,
                     RecordingCapture<ClientRecord>, RecordingCapture<ClientRecordRt>>;
TYPED_TEST_SUITE(AStreamsVirtualTable, EveryStream);

TYPED_TEST(AStreamsVirtualTable, HasTheOperationsInTheirSlots) {
    TypeParam stream;
    for (std::size_t i = 0; i < std::size(TypeParam::ORDER); ++i) {
        const std::string expected = TypeParam::ORDER[i];
        if (expected.empty()) continue;  // a destructor
        if (expected == "setKeyShift")
            slot<int(void*, float)>(&stream, i)(&stream, 1.0F);
        else if (expected == "notify")
            slot<void(void*)>(&stream, i)(&stream);
        else
            slot<Plain>(&stream, i)(&stream);
        EXPECT_EQ(gCalled, expected) << "slot " << i;
    }
}

TYPED_TEST(AStreamsVirtualTable, HasItsDestructorsSideBySide) {
    expectDestructorsSideBySide<TypeParam>();
}

TYPED_TEST(AStreamsVirtualTable, HasTheNotificationInterfaceAsItsSecondBase) {
    TypeParam stream;
    auto* const second = static_cast<ShareMemoryUpdateNotificationCallback*>(&stream);
    const auto distance = reinterpret_cast<char*>(second) - reinterpret_cast<char*>(&stream);
    EXPECT_EQ(distance, static_cast<std::ptrdiff_t>(sizeof(void*)));
    slot<void(void*)>(second, 2)(second);
    EXPECT_EQ(gCalled, "notify");
}

// The library's own tables, not ones that this test compiled.
TEST(ATrackOfTheLibrary, AnswersCallsBySlot) {
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
        EXPECT_EQ(log.count(3, line), 1U) << log.dump();
    EXPECT_EQ(log.count(5, "ClientTrack", "setVolume",
                        "Deprecated API(ClientTrack::setVolume) is called. please try "
                        "QVAudioSetting::Volume::setTrackVolume/setVolumeByStreamType.\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.count(6, "[slots]initCheck failed state[0] not IDLE, Out\n"), 1U) << log.dump();
}

TEST(ASinkOfTheLibrary, AnswersCallsBySlot) {
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
        EXPECT_EQ(log.count(3, line), 1U) << log.dump();
    EXPECT_EQ(log.count(5,
                        "Deprecated API(ClientTrack::unduck) is called. please try "
                        "QVAudioSetting::Volume::unduck.\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.count(6, "[slots]initCheck failed state[0] not IDLE, Out\n"), 1U) << log.dump();
}

TEST(ARecordOfTheLibrary, AnswersCallsBySlot) {
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
        EXPECT_EQ(log.count(6, line), 1U) << log.dump();
}

TEST(AnUplinkOfTheLibrary, AnswersCallsBySlot) {
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
    EXPECT_EQ(log.count(5, "[slots]not surpport, ignore op set volume:101\n"), 1U) << log.dump();
    for (const char* const line :
         {"[slots]state is not IDLE, clear failed, mstate:0\n", "[slots] state is not IDLE\n",
          "[slots] state is not ACTIVE\n", "[slots]invalid input param bytes:1\n",
          "[slots] client record state is not active:0.\n",
          "[slots] state is not IDLE init failed\n"})
        EXPECT_EQ(log.count(6, line), 1U) << log.dump();
}

class RecordingThread : public AudioThread {
public:
    RecordingThread() : AudioThread("slots", -1, POLICY_RR) {}
    ~RecordingThread() override { called("destructor"); }
    void run() override { called("run"); }
};

TEST(AThreadsVirtualTable, HasRunBehindTheDestructors) {
    RecordingThread thread;
    slot<void(void*)>(&thread, 2)(&thread);
    EXPECT_EQ(gCalled, "run");
}

TEST(AVersionQuerysVirtualTable, HasItsOperationsBehindTheDestructors) {
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

TEST(ATrackCallbacksVirtualTable, HasFinishBehindTheDestructors) {
    RecordingCallback callback;
    slot<void(void*, bool)>(&callback, 2)(&callback, false);
    EXPECT_EQ(gCalled, "finish");
}

}  // namespace
