// SPDX-License-Identifier: Apache-2.0
//
// The layout of every exported class, typed from the documented lists of fields and from nothing
// else: a program that reserves memory for an object by its list must have room for the object.
// Platform objects stand for their wrappers, plain fields for atomic ones, and a virtual destructor
// for a virtual table. Members have the names that they have in the class;
// check_headers.py compares the names.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <fstream>

namespace cabinaudio::test {

/// Size on 32-bit ARM, where a `long` and a pointer have 4 bytes and a 64-bit number is 8-aligned.
template <typename Skeleton>
constexpr bool onArm(std::size_t size) {
#ifdef __arm__
    return sizeof(Skeleton) == size;
#else
    return size > 0;
#endif
}

// ---- Foundation ---------------------------------------------------------------------------------

struct AudioMutexSkeleton {
    pthread_mutex_t mMutex;
};
static_assert(onArm<AudioMutexSkeleton>(24));

struct AutoLockSkeleton {
    void* mMutex;  // a reference
};
static_assert(onArm<AutoLockSkeleton>(4));

struct AudioConditionSkeleton {
    pthread_cond_t mCond;
};
static_assert(onArm<AudioConditionSkeleton>(48));

struct AudioSemaphoreSkeleton {
    sem_t mSem;
};
static_assert(onArm<AudioSemaphoreSkeleton>(16));

struct AudioTimeSkeleton {
    timespec mTime;
};
static_assert(onArm<AudioTimeSkeleton>(8));

struct AutoAlertSkeleton {
    const char* mName;
    std::uint32_t mThresholdUs;
    const char* mFile;
    const char* mFunction;
    std::uint32_t mLine;
    std::uint64_t mStartUs;
};
static_assert(onArm<AutoAlertSkeleton>(32));

/// A class without fields: AutoMark, and those of which there are only functions.
struct EmptySkeleton {};

struct AudioThreadSkeleton {
    virtual ~AudioThreadSkeleton() = default;

    bool mRunning;
    char mName[16];
    std::int32_t mPolicy;
    std::int32_t mPriority;
    pthread_t mThread;
    pthread_mutex_t mLock;
    bool mJoined;
};
static_assert(onArm<AudioThreadSkeleton>(64));

// ---- Link ---------------------------------------------------------------------------------------

struct AudioConnectionSkeleton {
    const char* mPath;
    std::int32_t mPort;
    void* mSocketRecord;
    void (*mCallback)(void*, std::uint32_t, std::uint32_t);
    void* mOpaque;
};
static_assert(onArm<AudioConnectionSkeleton>(20));

struct RemoteCallSkeleton {
    void* mConn;
    std::uint32_t mType;
    std::uint32_t mHandle;
    std::uint8_t* mReqPayload;
    std::uint8_t* mReqBlock;
    std::uint8_t* mRetBlock;
    void* mNotifier;
};
static_assert(onArm<RemoteCallSkeleton>(28));

// ---- Shm ----------------------------------------------------------------------------------------

struct ShareMemoryExSkeleton {
    void* mHandle;
};
static_assert(onArm<ShareMemoryExSkeleton>(4));

/// A class of virtual operations only.
struct InterfaceSkeleton {
    virtual ~InterfaceSkeleton() = default;
};
static_assert(onArm<InterfaceSkeleton>(4));

// ---- Diag ---------------------------------------------------------------------------------------

/// A doubly linked list with its count.
struct ListSkeleton {
    void* next;
    void* previous;
    std::size_t count;
};
static_assert(onArm<ListSkeleton>(12));

struct AudioConfigSkeleton {
    bool mReadOnly;
    ListSkeleton mDumpItems;
    ListSkeleton mTraceItems;
    std::int32_t mLogLevel;
    bool mEnMark;
    pthread_mutex_t mLock;
};
static_assert(onArm<AudioConfigSkeleton>(60));

struct AudioDumpSkeleton {
    char mTag[64];
    char mName[64];
    char mUsage[64];
    bool mAppend;
    AudioConfigSkeleton mConfig;
    bool mEnabled;
    bool mRunning;
    std::ofstream mFile;
    pthread_mutex_t mLock;
};
static_assert(onArm<AudioDumpSkeleton>(560));

// ---- Client -------------------------------------------------------------------------------------

struct FormatSkeleton {
    std::uint32_t words[6];
};

/// The two bases of a stream: the public interface, and the callback of its ring.
struct StreamInterface {
    virtual ~StreamInterface() = default;
};
struct RingCallback {
    virtual ~RingCallback() = default;
};

struct ClientTrackSkeleton : StreamInterface, RingCallback {
    char mName[64];
    FormatSkeleton mFormat;
    void* mRc;
    void* mCallback;
    std::int32_t mState;
    std::uint32_t mTag;
    bool mFirstWriteLogged;
    bool mIsWriteDone;
    std::uint64_t mWriteDoneTime;
    void* mDump;
    std::uint64_t mCreateTime;
    bool mIsAuxiliary;
    void* mShareMemory;
    int mPerLoopSize;
    bool mIsBlocked;
    pthread_cond_t mCond;
    pthread_mutex_t mLock;
};
static_assert(onArm<ClientTrackSkeleton>(232));

struct ClientSinkSkeleton : StreamInterface, RingCallback {
    char mName[64];
    FormatSkeleton mFormat;
    void* mRc;
    void* mCallback;
    std::int32_t mState;
    std::uint32_t mTag;
    bool mIsWriteDone;
    std::uint64_t mWriteDoneTime;
    void* mDump;
    std::uint64_t mCreateTime;
    void* mShareMemory;
    int mPerLoopSize;
    bool mIsBlocked;
    pthread_cond_t mCond;
    pthread_mutex_t mLock;
    bool mIsRealtime;
    bool mSourceActive;
    bool mSourceRemoved;
    int mTotalWritedLen;
    int mIneffectiveLen;
};
static_assert(onArm<ClientSinkSkeleton>(248));

struct ClientRecordSkeleton : StreamInterface, RingCallback {
    void* mRc;
    std::int32_t mState;
    char mName[64];
    FormatSkeleton mFormat;
    std::uint32_t mTag;
    std::uint64_t mCreateTime;
    int mFrameBytes;
    int mPerLoopSize;
    int mPerLoopTime;
    int mPerLoopSamples;
    void* mShareMemory;
    pthread_mutex_t mLock;
    bool mIsBlocked;
    pthread_cond_t mCond;
    int mVolume;
    void* mDump;
};
static_assert(onArm<ClientRecordSkeleton>(224));

struct ClientRecordRtSkeleton : StreamInterface, RingCallback {
    void* mDump;
    std::uint64_t mCreateTime;
    std::uint64_t mUnInitShmTime;
    char mName[64];
    void* mRc;
    std::int32_t mState;
    bool mFirstReadLogged;
    pthread_mutex_t mLock;
    FormatSkeleton mFormat;
    void* mShareMemory;
    bool mSourceReady;
    pthread_cond_t mCond;
    bool mIsBlocked;
    std::uint32_t mBytesPerMSec;
    std::uint64_t mTotalReadBytes;
    std::uint64_t mStartTime;
    std::uint32_t mCacheSizeMax;
    std::uint32_t mFrameSize;
    std::uint32_t mPerLoopSamples;
    std::uint32_t mPerLoopBytes;
    std::uint32_t mPerLoopTime;
    std::uint32_t mHeaderSize;
    std::uint32_t mCodecExtra1;
    std::uint32_t mCodecExtra2;
};
static_assert(onArm<ClientRecordRtSkeleton>(272));

/// All settings clients but ClientSourceSetting, and the control of capture effects.
struct SettingSkeleton {
    virtual ~SettingSkeleton() = default;

    void* mRc;
};
static_assert(onArm<SettingSkeleton>(8));

struct ClientSourceSettingSkeleton {
    virtual ~ClientSourceSettingSkeleton() = default;

    void* mRc;
    char mOutPutSourceName[64];
    char mInputDestinationName[64];
};
static_assert(onArm<ClientSourceSettingSkeleton>(136));

}  // namespace cabinaudio::test
