// SPDX-License-Identifier: Apache-2.0
//
// The private fields of the capture streams and of the settings lie in memory in an order that
// debuggers' scripts and crash dumps know.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

/// Where the members lie in an object. It is never constructed; only addresses are looked at.
template <typename Class, typename... Member>
std::vector<std::ptrdiff_t> offsets(Member Class::*... members) {
    alignas(Class) static char place[sizeof(Class)];
    auto* const object = reinterpret_cast<Class*>(place);
    return {reinterpret_cast<char*>(&(object->*members)) - place...};
}

/// Explicit instantiations may name private members: each of these puts their offsets where the
/// test finds them.
template <typename Class>
std::vector<std::ptrdiff_t>& offsetsOf() {
    static std::vector<std::ptrdiff_t> offsets;
    return offsets;
}

template <typename Class, auto... MEMBERS>
struct Look {
    struct Once {
        Once() { offsetsOf<Class>() = offsets<Class>(MEMBERS...); }
    };
    static inline Once once;
    static inline Once* const use = &once;
};

template struct Look<ClientRecord, &ClientRecord::mRc, &ClientRecord::mState, &ClientRecord::mName,
                     &ClientRecord::mFormat, &ClientRecord::mTag, &ClientRecord::mCreateTime,
                     &ClientRecord::mFrameBytes, &ClientRecord::mPerLoopSize,
                     &ClientRecord::mPerLoopTime, &ClientRecord::mPerLoopSamples,
                     &ClientRecord::mShareMemory, &ClientRecord::mLock, &ClientRecord::mIsBlocked,
                     &ClientRecord::mCond, &ClientRecord::mVolume, &ClientRecord::mDump>;
template struct Look<
    ClientRecordRt, &ClientRecordRt::mDump, &ClientRecordRt::mCreateTime,
    &ClientRecordRt::mUnInitShmTime, &ClientRecordRt::mName, &ClientRecordRt::mRc,
    &ClientRecordRt::mState, &ClientRecordRt::mFirstReadLogged, &ClientRecordRt::mLock,
    &ClientRecordRt::mFormat, &ClientRecordRt::mShareMemory, &ClientRecordRt::mSourceReady,
    &ClientRecordRt::mCond, &ClientRecordRt::mIsBlocked, &ClientRecordRt::mBytesPerMSec,
    &ClientRecordRt::mTotalReadBytes, &ClientRecordRt::mStartTime, &ClientRecordRt::mCacheSizeMax,
    &ClientRecordRt::mFrameSize, &ClientRecordRt::mPerLoopSamples, &ClientRecordRt::mPerLoopBytes,
    &ClientRecordRt::mPerLoopTime, &ClientRecordRt::mHeaderSize, &ClientRecordRt::mCodecExtra1,
    &ClientRecordRt::mCodecExtra2>;

template struct Look<ClientSourceSetting, &ClientSourceSetting::mRc,
                     &ClientSourceSetting::mOutPutSourceName,
                     &ClientSourceSetting::mInputDestinationName>;
template struct Look<ClientVolumeSetting, &ClientVolumeSetting::mRc>;
template struct Look<ClientAppSetting, &ClientAppSetting::mRc>;
template struct Look<ClientMixerSetting, &ClientMixerSetting::mRc>;
template struct Look<ClientAudioRecordControl, &ClientAudioRecordControl::mRc>;

TEST(ARecordsFields, LieInTheirOrderBehindTheTwoBases) {
    const std::vector<std::ptrdiff_t>& at = offsetsOf<ClientRecord>();
    ASSERT_EQ(at.size(), 16U);
    EXPECT_TRUE(std::is_sorted(at.begin(), at.end())) << ::testing::PrintToString(at);
    EXPECT_EQ(at.front(), static_cast<std::ptrdiff_t>(2 * sizeof(void*)));
}

TEST(AnUplinksFields, LieInTheirOrderBehindTheTwoBases) {
    const std::vector<std::ptrdiff_t>& at = offsetsOf<ClientRecordRt>();
    ASSERT_EQ(at.size(), 24U);
    EXPECT_TRUE(std::is_sorted(at.begin(), at.end())) << ::testing::PrintToString(at);
    EXPECT_EQ(at.front(), static_cast<std::ptrdiff_t>(2 * sizeof(void*)));
}

TEST(ASettingsFields, LieInTheirOrderBehindTheVirtualTable) {
    constexpr std::ptrdiff_t POINTER = sizeof(void*);
    const std::vector<std::ptrdiff_t> onlyConnection = {POINTER};
    const std::vector<std::ptrdiff_t> ofSources = {POINTER, 2 * POINTER, 2 * POINTER + 64};
    EXPECT_EQ(offsetsOf<ClientVolumeSetting>(), onlyConnection);
    EXPECT_EQ(offsetsOf<ClientAppSetting>(), onlyConnection);
    EXPECT_EQ(offsetsOf<ClientMixerSetting>(), onlyConnection);
    EXPECT_EQ(offsetsOf<ClientAudioRecordControl>(), onlyConnection);
    EXPECT_EQ(offsetsOf<ClientSourceSetting>(), ofSources);
}

}  // namespace
