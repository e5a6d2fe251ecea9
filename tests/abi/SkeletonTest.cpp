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
    static inline Once* const use = &once;
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

template struct Look<AudioMutex, &AudioMutex::mMutex>;
template struct Look<AudioCondition, &AudioCondition::mCond>;
template struct Look<AudioSemaphore, &AudioSemaphore::mSem>;
template struct Look<AudioTime, &AudioTime::mTime>;
template struct Look<AudioAlert::AutoAlert, &AudioAlert::AutoAlert::mName,
                     &AudioAlert::AutoAlert::mThresholdUs, &AudioAlert::AutoAlert::mFile,
                     &AudioAlert::AutoAlert::mFunction, &AudioAlert::AutoAlert::mLine,
                     &AudioAlert::AutoAlert::mStartUs>;
template struct Look<AudioThread, &AudioThread::mRunning, &AudioThread::mName,
                     &AudioThread::mPolicy, &AudioThread::mPriority, &AudioThread::mThread,
                     &AudioThread::mLock, &AudioThread::mJoined>;
template struct Look<AudioConnection, &AudioConnection::mPath, &AudioConnection::mPort,
                     &AudioConnection::mSocketRecord, &AudioConnection::mCallback,
                     &AudioConnection::mOpaque>;
template struct Look<RemoteCall, &RemoteCall::mConn, &RemoteCall::mType, &RemoteCall::mHandle,
                     &RemoteCall::mReqPayload, &RemoteCall::mReqBlock, &RemoteCall::mRetBlock,
                     &RemoteCall::mNotifier>;
template struct Look<ShareMemoryEx, &ShareMemoryEx::mHandle>;
template struct Look<AudioConfig, &AudioConfig::mReadOnly, &AudioConfig::mDumpItems,
                     &AudioConfig::mTraceItems, &AudioConfig::mLogLevel, &AudioConfig::mEnMark,
                     &AudioConfig::mLock>;
template struct Look<AudioDump, &AudioDump::mTag, &AudioDump::mName, &AudioDump::mUsage,
                     &AudioDump::mAppend, &AudioDump::mConfig, &AudioDump::mEnabled,
                     &AudioDump::mRunning, &AudioDump::mFile, &AudioDump::mLock>;
template struct Look<ClientTrack, &ClientTrack::mName, &ClientTrack::mFormat, &ClientTrack::mRc,
                     &ClientTrack::mCallback, &ClientTrack::mState, &ClientTrack::mTag,
                     &ClientTrack::mFirstWriteLogged, &ClientTrack::mIsWriteDone,
                     &ClientTrack::mWriteDoneTime, &ClientTrack::mDump, &ClientTrack::mCreateTime,
                     &ClientTrack::mIsAuxiliary, &ClientTrack::mShareMemory,
                     &ClientTrack::mPerLoopSize, &ClientTrack::mIsBlocked, &ClientTrack::mCond,
                     &ClientTrack::mLock>;
template struct Look<
    ClientSink, &ClientSink::mName, &ClientSink::mFormat, &ClientSink::mRc, &ClientSink::mCallback,
    &ClientSink::mState, &ClientSink::mTag, &ClientSink::mIsWriteDone, &ClientSink::mWriteDoneTime,
    &ClientSink::mDump, &ClientSink::mCreateTime, &ClientSink::mShareMemory,
    &ClientSink::mPerLoopSize, &ClientSink::mIsBlocked, &ClientSink::mCond, &ClientSink::mLock,
    &ClientSink::mIsRealtime, &ClientSink::mSourceActive, &ClientSink::mSourceRemoved,
    &ClientSink::mTotalWritedLen, &ClientSink::mIneffectiveLen>;
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
template struct Look<ClientVolumeSetting, &ClientVolumeSetting::mRc>;
template struct Look<ClientAppSetting, &ClientAppSetting::mRc>;
template struct Look<ClientMixerSetting, &ClientMixerSetting::mRc>;
template struct Look<ClientVersionSetting, &ClientVersionSetting::mRc>;
template struct Look<ClientAudioRecordControl, &ClientAudioRecordControl::mRc>;
template struct Look<ClientSourceSetting, &ClientSourceSetting::mRc,
                     &ClientSourceSetting::mOutPutSourceName,
                     &ClientSourceSetting::mInputDestinationName>;

TEST(AudioMutexLayout, IsThatOfItsListedFields) {
    using Fields = AudioMutexSkeleton;
    expectLayout<AudioMutex, Fields>(&Fields::mMutex);
}

TEST(AudioConditionLayout, IsThatOfItsListedFields) {
    using Fields = AudioConditionSkeleton;
    expectLayout<AudioCondition, Fields>(&Fields::mCond);
}

TEST(AudioSemaphoreLayout, IsThatOfItsListedFields) {
    using Fields = AudioSemaphoreSkeleton;
    expectLayout<AudioSemaphore, Fields>(&Fields::mSem);
}

TEST(AudioTimeLayout, IsThatOfItsListedFields) {
    using Fields = AudioTimeSkeleton;
    expectLayout<AudioTime, Fields>(&Fields::mTime);
}

TEST(AutoAlertLayout, IsThatOfItsListedFields) {
    using Fields = AutoAlertSkeleton;
    expectLayout<AudioAlert::AutoAlert, Fields>(&Fields::mName, &Fields::mThresholdUs,
                                                &Fields::mFile, &Fields::mFunction, &Fields::mLine,
                                                &Fields::mStartUs);
}

TEST(AudioThreadLayout, IsThatOfItsListedFields) {
    using Fields = AudioThreadSkeleton;
    expectLayout<AudioThread, Fields>(&Fields::mRunning, &Fields::mName, &Fields::mPolicy,
                                      &Fields::mPriority, &Fields::mThread, &Fields::mLock,
                                      &Fields::mJoined);
}

TEST(AudioConnectionLayout, IsThatOfItsListedFields) {
    using Fields = AudioConnectionSkeleton;
    expectLayout<AudioConnection, Fields>(&Fields::mPath, &Fields::mPort, &Fields::mSocketRecord,
                                          &Fields::mCallback, &Fields::mOpaque);
}

TEST(RemoteCallLayout, IsThatOfItsListedFields) {
    using Fields = RemoteCallSkeleton;
    expectLayout<RemoteCall, Fields>(&Fields::mConn, &Fields::mType, &Fields::mHandle,
                                     &Fields::mReqPayload, &Fields::mReqBlock, &Fields::mRetBlock,
                                     &Fields::mNotifier);
}

TEST(ShareMemoryExLayout, IsThatOfItsListedFields) {
    using Fields = ShareMemoryExSkeleton;
    expectLayout<ShareMemoryEx, Fields>(&Fields::mHandle);
}

TEST(AudioConfigLayout, IsThatOfItsListedFields) {
    using Fields = AudioConfigSkeleton;
    expectLayout<AudioConfig, Fields>(&Fields::mReadOnly, &Fields::mDumpItems, &Fields::mTraceItems,
                                      &Fields::mLogLevel, &Fields::mEnMark, &Fields::mLock);
}

TEST(AudioDumpLayout, IsThatOfItsListedFields) {
    using Fields = AudioDumpSkeleton;
    expectLayout<AudioDump, Fields>(&Fields::mTag, &Fields::mName, &Fields::mUsage,
                                    &Fields::mAppend, &Fields::mConfig, &Fields::mEnabled,
                                    &Fields::mRunning, &Fields::mFile, &Fields::mLock);
}

TEST(ClientTrackLayout, IsThatOfItsListedFields) {
    using Fields = ClientTrackSkeleton;
    expectLayout<ClientTrack, Fields>(
        &Fields::mName, &Fields::mFormat, &Fields::mRc, &Fields::mCallback, &Fields::mState,
        &Fields::mTag, &Fields::mFirstWriteLogged, &Fields::mIsWriteDone, &Fields::mWriteDoneTime,
        &Fields::mDump, &Fields::mCreateTime, &Fields::mIsAuxiliary, &Fields::mShareMemory,
        &Fields::mPerLoopSize, &Fields::mIsBlocked, &Fields::mCond, &Fields::mLock);
}

TEST(ClientSinkLayout, IsThatOfItsListedFields) {
    using Fields = ClientSinkSkeleton;
    expectLayout<ClientSink, Fields>(
        &Fields::mName, &Fields::mFormat, &Fields::mRc, &Fields::mCallback, &Fields::mState,
        &Fields::mTag, &Fields::mIsWriteDone, &Fields::mWriteDoneTime, &Fields::mDump,
        &Fields::mCreateTime, &Fields::mShareMemory, &Fields::mPerLoopSize, &Fields::mIsBlocked,
        &Fields::mCond, &Fields::mLock, &Fields::mIsRealtime, &Fields::mSourceActive,
        &Fields::mSourceRemoved, &Fields::mTotalWritedLen, &Fields::mIneffectiveLen);
}

TEST(ClientRecordLayout, IsThatOfItsListedFields) {
    using Fields = ClientRecordSkeleton;
    expectLayout<ClientRecord, Fields>(
        &Fields::mRc, &Fields::mState, &Fields::mName, &Fields::mFormat, &Fields::mTag,
        &Fields::mCreateTime, &Fields::mFrameBytes, &Fields::mPerLoopSize, &Fields::mPerLoopTime,
        &Fields::mPerLoopSamples, &Fields::mShareMemory, &Fields::mLock, &Fields::mIsBlocked,
        &Fields::mCond, &Fields::mVolume, &Fields::mDump);
}

TEST(ClientRecordRtLayout, IsThatOfItsListedFields) {
    using Fields = ClientRecordRtSkeleton;
    expectLayout<ClientRecordRt, Fields>(
        &Fields::mDump, &Fields::mCreateTime, &Fields::mUnInitShmTime, &Fields::mName, &Fields::mRc,
        &Fields::mState, &Fields::mFirstReadLogged, &Fields::mLock, &Fields::mFormat,
        &Fields::mShareMemory, &Fields::mSourceReady, &Fields::mCond, &Fields::mIsBlocked,
        &Fields::mBytesPerMSec, &Fields::mTotalReadBytes, &Fields::mStartTime,
        &Fields::mCacheSizeMax, &Fields::mFrameSize, &Fields::mPerLoopSamples,
        &Fields::mPerLoopBytes, &Fields::mPerLoopTime, &Fields::mHeaderSize, &Fields::mCodecExtra1,
        &Fields::mCodecExtra2);
}

TEST(ClientVolumeSettingLayout, IsThatOfItsListedFields) {
    using Fields = SettingSkeleton;
    expectLayout<ClientVolumeSetting, Fields>(&Fields::mRc);
}

TEST(ClientAppSettingLayout, IsThatOfItsListedFields) {
    using Fields = SettingSkeleton;
    expectLayout<ClientAppSetting, Fields>(&Fields::mRc);
}

TEST(ClientMixerSettingLayout, IsThatOfItsListedFields) {
    using Fields = SettingSkeleton;
    expectLayout<ClientMixerSetting, Fields>(&Fields::mRc);
}

TEST(ClientVersionSettingLayout, IsThatOfItsListedFields) {
    using Fields = SettingSkeleton;
    expectLayout<ClientVersionSetting, Fields>(&Fields::mRc);
}

TEST(ClientAudioRecordControlLayout, IsThatOfItsListedFields) {
    using Fields = SettingSkeleton;
    expectLayout<ClientAudioRecordControl, Fields>(&Fields::mRc);
}

TEST(ClientSourceSettingLayout, IsThatOfItsListedFields) {
    using Fields = ClientSourceSettingSkeleton;
    expectLayout<ClientSourceSetting, Fields>(&Fields::mRc, &Fields::mOutPutSourceName,
                                              &Fields::mInputDestinationName);
}

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
