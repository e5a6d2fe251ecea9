// SPDX-License-Identifier: Apache-2.0
//
// Size, alignment and the place of every field of the exported classes, against Skeletons.h.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/diag/AudioDump.h>
#include <cabinaudio/foundation/AudioAlert.h>
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMark.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/abi/Skeletons.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <vector>

namespace cabinaudio::test {

/// Where a field lies, and how long it is.
struct Place {
    std::ptrdiff_t offset;
    std::size_t size;

    friend bool operator==(const Place&, const Place&) = default;
    friend void PrintTo(const Place& place, std::ostream* out) {
        *out << place.size << " bytes at " << place.offset;
    }
};

/// The object is never constructed; only addresses are looked at.
template <typename Class, typename Member>
Place placeOf(Member Class::*member) {
    alignas(Class) static char storage[sizeof(Class)];
    auto* const object = reinterpret_cast<Class*>(storage);
    return {reinterpret_cast<char*>(&(object->*member)) - storage, sizeof(Member)};
}

/// Explicit instantiations may name private members: each of these puts their places where the
/// test finds them.
template <typename Class>
std::vector<Place>& placesIn() {
    static std::vector<Place> places;
    return places;
}

template <typename Class, auto... MEMBERS>
struct Look {
    struct Once {
        Once() { placesIn<Class>() = {placeOf<Class>(MEMBERS)...}; }
    };
    static inline Once once;
    static inline Once* const USE = &once;
};

template <typename Class, typename Skeleton>
void expectSize() {
    EXPECT_EQ(sizeof(Class), sizeof(Skeleton));
    EXPECT_EQ(alignof(Class), alignof(Skeleton));
}

template <typename Class, typename Skeleton, typename... Member>
void expectLayout(Member Skeleton::*... members) {
    expectSize<Class, Skeleton>();
    EXPECT_EQ(placesIn<Class>(), (std::vector<Place>{placeOf<Skeleton>(members)...}));
}

// A test for each skeleton with fields, by layout_tests.py.
#include "LayoutTests.inc"

TEST(AutoLockLayout, IsAReference) {
    expectSize<AudioMutex::AutoLock, AutoLockSkeleton>();
}

TEST(AudioOfstreamLayout, IsThatOfTheStandardStream) {
    expectSize<AudioOfstream, std::ofstream>();
}

TEST(InterfaceLayout, IsAVirtualTable) {
    expectSize<ShareMemoryUpdateNotificationCallback, InterfaceSkeleton>();
    expectSize<AudioTrack, InterfaceSkeleton>();
    expectSize<AudioSink, InterfaceSkeleton>();
    expectSize<AudioRecord, InterfaceSkeleton>();
    expectSize<AudioVolumeSetting, InterfaceSkeleton>();
    expectSize<AudioSourceSetting, InterfaceSkeleton>();
    expectSize<AudioAppSetting, InterfaceSkeleton>();
    expectSize<AudioMixerSetting, InterfaceSkeleton>();
    expectSize<AudioVersionSetting, InterfaceSkeleton>();
    expectSize<audio::QVAudioTrackCallback, InterfaceSkeleton>();
}

TEST(FunctionsOnlyLayout, HasNoFields) {
    expectSize<AudioTypes, EmptySkeleton>();
    expectSize<AudioAlert, EmptySkeleton>();
    expectSize<AudioMark, EmptySkeleton>();
    expectSize<AudioMark::AutoMark, EmptySkeleton>();
}

}  // namespace cabinaudio::test
