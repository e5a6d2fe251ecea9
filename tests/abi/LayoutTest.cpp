// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/diag/AudioConfig.h>
#include <cabinaudio/diag/AudioDump.h>
#include <cabinaudio/diag/AudioOfstream.h>
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMath.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "wire/Frame.h"
#include "wire/Ring.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

// The wrappers hold the platform's object and nothing else.
static_assert(sizeof(AudioMutex) == sizeof(pthread_mutex_t));
static_assert(sizeof(AudioCondition) == sizeof(pthread_cond_t));
static_assert(sizeof(AudioSemaphore) == sizeof(sem_t));
static_assert(sizeof(AudioTime) == sizeof(struct timespec));
static_assert(sizeof(AudioMutex::AutoLock) == sizeof(void*));
static_assert(sizeof(AudioOfstream) == sizeof(std::ofstream));
static_assert(sizeof(void*) != 4 || (sizeof(AudioConfig) == 60 && sizeof(AudioDump) == 560));
static_assert(sizeof(ShareMemoryEx) == sizeof(void*));
static_assert(!std::has_virtual_destructor_v<ShareMemoryEx>);
static_assert(sizeof(ClientVersionSetting) == 2 * sizeof(void*));
static_assert(sizeof(gmic_gain_table) == 568);

TEST(WireEnumeration, IsThirtyTwoBitsWide) {
    EXPECT_EQ(sizeof(AudioStreamState), 4U);
    EXPECT_EQ(sizeof(AudioTagType), 4U);
    EXPECT_EQ(sizeof(AudioBitDepthType), 4U);
    EXPECT_EQ(sizeof(AudioChannelMapType), 4U);
    EXPECT_EQ(sizeof(audio_connect_type), 4U);
    EXPECT_EQ(sizeof(shm_type_t), 4U);
    EXPECT_EQ(sizeof(AudioLogLevel), 4U);
    EXPECT_EQ(sizeof(AudioThread::Policy), 4U);
    EXPECT_EQ(sizeof(audio::audio_codec_e), 4U);
}

TEST(StreamState, HasItsListedNumber) {
    EXPECT_EQ(NO_INIT, 0);
    EXPECT_EQ(IDLE, 1);
    EXPECT_EQ(STOPPING, 2);
    EXPECT_EQ(ACTIVE, 3);
}

// The bytes of a record, typed out rather than computed from the structure.
TEST(CreateRequest, HasTheBytesOfTheWire) {
    const cabinaudio::wire::CreateRequest request{
        21, 2, {1, 48000, 3, AUDIO_CHANNEL_MAP_2, 5, AUDIO_BIT_DEPTH_16}, -2, 4711};
    const unsigned char expected[40] = {
        21, 0, 0, 0, 2, 0, 0, 0, 1,  0, 0, 0, 0x80, 0xbb, 0,    0,    3,    0,    0, 0,
        2,  0, 0, 0, 5, 0, 0, 0, 16, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff, 0x67, 0x12, 0, 0};
    static_assert(sizeof request == sizeof expected);
    EXPECT_EQ(std::memcmp(&request, expected, sizeof expected), 0);
}

}  // namespace
