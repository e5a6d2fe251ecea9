// SPDX-License-Identifier: Apache-2.0
// Programs allocate threads by their listed fields, and derive from them.
#include <cabinaudio/foundation/AudioThread.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace cabinaudio::test {
namespace {

/// Fields of AudioThread, behind its table of virtual operations.
struct Fields {
    void* operations;
    bool running;
    char name[16];
    std::int32_t policy;
    std::int32_t priority;
    pthread_t thread;
    pthread_mutex_t lock;
    bool joined;
};
static_assert(sizeof(AudioThread) == sizeof(Fields));
static_assert(sizeof(void*) != 4 || sizeof(AudioThread) == 64);

/// Offsets of members. The object is never constructed; only addresses are formed.
template <typename... Member>
std::vector<std::ptrdiff_t> offsets(Member AudioThread::*... members) {
    alignas(AudioThread) static char place[sizeof(AudioThread)];
    auto* const object = reinterpret_cast<AudioThread*>(place);
    return {reinterpret_cast<char*>(&(object->*members)) - place...};
}

std::vector<std::ptrdiff_t> gOffsets;

/// An explicit instantiation may name private members.
template <auto... MEMBERS>
struct Look {
    struct Once {
        Once() { gOffsets = offsets(MEMBERS...); }
    };
    static inline Once once;
    static inline Once* const USE = &once;
};
template struct Look<&AudioThread::mRunning, &AudioThread::mName, &AudioThread::mPolicy,
                     &AudioThread::mPriority, &AudioThread::mThread, &AudioThread::mLock,
                     &AudioThread::mJoined>;

TEST(ThreadFields, LieInTheirOrder) {
    const std::vector<std::ptrdiff_t> expected = {
        offsetof(Fields, running),  offsetof(Fields, name),   offsetof(Fields, policy),
        offsetof(Fields, priority), offsetof(Fields, thread), offsetof(Fields, lock),
        offsetof(Fields, joined)};
    EXPECT_EQ(gOffsets, expected);
}

}  // namespace
}  // namespace cabinaudio::test
