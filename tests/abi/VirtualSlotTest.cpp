// SPDX-License-Identifier: Apache-2.0
//
// Programs built with other compilers call virtual operations by their place in the table. These
// tests do the same.
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioThread.h>

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

using cabinaudio::test::LogCapture;

template <typename Function>
Function* slot(void* object, std::size_t index) {
    return reinterpret_cast<Function*>((*static_cast<void***>(object))[index]);
}

using Plain = int(void*);

std::string gCalled;

int called(const char* name) {
    gCalled = name;
    return 0;
}

AudioFormatDesc format() {
    return {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
}

AudioFormatDesc gFormat = format();

/// Says which operation was reached.
class RecordingTrack : public ClientTrack {
public:
    RecordingTrack() : ClientTrack("slots", AUDIO_TAG_ALTERNATIVE, gFormat, 0) {}
    ~RecordingTrack() override { called("destructor"); }
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
};

TEST(ATracksVirtualTable, HasTheOperationsInTheirSlots) {
    RecordingTrack track;
    const char* const order[] = {"clear",          "start",
                                 "stop",           "setCallback",
                                 "setVolume",      "getVolume",
                                 "getPerLoopSize", "getTotalBufferSize",
                                 "bytesFree",      "getOutPutSamples",
                                 "duck",           "unduck",
                                 "write",          "writeDone"};
    for (std::size_t i = 0; i < std::size(order); ++i) {
        slot<Plain>(&track, i)(&track);
        EXPECT_EQ(gCalled, order[i]) << "slot " << i;
    }
    slot<int(void*, float)>(&track, 14)(&track, 1.0F);
    EXPECT_EQ(gCalled, "setKeyShift");
    slot<Plain>(&track, 17)(&track);
    EXPECT_EQ(gCalled, "initCheck");
    slot<void(void*)>(&track, 18)(&track);
    EXPECT_EQ(gCalled, "notify");
}

TEST(ATracksVirtualTable, HasItsDestructorsInSlotsFifteenAndSixteen) {
    void* const place = ::operator new(sizeof(RecordingTrack));
    auto* const first = new (place) RecordingTrack;
    slot<Plain>(first, 15)(first);  // the complete object, without its memory
    EXPECT_EQ(gCalled, "destructor");
    gCalled.clear();
    auto* const second = new (place) RecordingTrack;
    slot<Plain>(second, 16)(second);  // gives the memory back, too
    EXPECT_EQ(gCalled, "destructor");
}

TEST(ATrack, HasTheNotificationInterfaceAsItsSecondBase) {
    RecordingTrack track;
    auto* const second = static_cast<ShareMemoryUpdateNotificationCallback*>(&track);
    const auto distance = reinterpret_cast<char*>(second) - reinterpret_cast<char*>(&track);
    EXPECT_EQ(distance, static_cast<std::ptrdiff_t>(sizeof(void*)));
    slot<void(void*)>(second, 2)(second);
    EXPECT_EQ(gCalled, "notify");
}

// The library's own table, not one that this test compiled.
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
