// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMemory.h>

#include "tests/foundation/Child.h"
#include "tests/support/Row.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <string>

extern "C" {
/// A sanitizer's allocator should fail like any other, and 4 GiB should be too much for it.
const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=1024";
}
const char* __tsan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=1024";
}
// Present in programs built with a sanitizer only.
__attribute__((weak)) std::size_t __sanitizer_get_heap_size();
}

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t TOO_MUCH = 0xffffffff;

/// Leaves less than 4 GiB. A sanitizer needs its address space and is limited by the options above.
void limitMemory() {
    if (__sanitizer_get_heap_size != nullptr) return;
    const struct rlimit limit = {std::size_t{2048} << 20, std::size_t{2048} << 20};
    EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
}

TEST(Allocator, GivesBlocksThatCanBeWrittenAndReleased) {
    void* const block = AudioNormalMalloc(1000);
    ASSERT_NE(block, nullptr);
    std::memset(block, 0x5a, 1000);
    EXPECT_EQ(static_cast<unsigned char*>(block)[999], 0x5a);
    AudioNormalFree(block);
}

TEST(Allocator, GivesABlockForNoBytes) {
    void* const block = AudioNormalMalloc(0);
    EXPECT_NE(block, nullptr);
    AudioNormalFree(block);
}

TEST(Allocator, KeepsTheContentsWhenItResizes) {
    void* block = AudioNormalMalloc(4);
    std::memcpy(block, "abc", 4);
    block = AudioNormalRealloc(block, 100000);
    EXPECT_STREQ(static_cast<char*>(block), "abc");
    AudioNormalFree(block);
}

TEST(Allocator, GivesANewBlockWhenItResizesNull) {
    void* const block = AudioNormalRealloc(nullptr, 16);
    ASSERT_NE(block, nullptr);
    std::memset(block, 0, 16);
    AudioNormalFree(block);
}

TEST(Allocator, ReleasesNullWithoutEffect) {
    const ChildEnd end = runInChild([] { AudioNormalFree(nullptr); });
    EXPECT_TRUE(end.passed()) << end.status;
    EXPECT_EQ(end.output, "");
}

struct Exhaustion : Row {
    void (*allocate)();
    const char* line;  // the last of the process
};

class ExhaustedAllocator : public ::testing::TestWithParam<Exhaustion> {};

TEST_P(ExhaustedAllocator, LogsItsFixedLineNumberAndEndsTheProcess) {
    const ChildEnd end = runInChild([] { GetParam().allocate(); });
    EXPECT_TRUE(end.killedBy(SIGABRT)) << end.status;
    EXPECT_NE(end.output.find(GetParam().line), std::string::npos) << end.output;
}

constexpr Exhaustion EXHAUSTIONS[] = {
    {"ByANewBlock",
     [] {
         limitMemory();
         AudioNormalFree(AudioNormalMalloc(TOO_MUCH));
     },
     "6 [AudioMemory][AudioNormalMalloc][0008]AUDIO ASSERT(buf)!\n"},
    {"ByALargerBlock",
     [] {
         limitMemory();
         AudioNormalFree(AudioNormalRealloc(AudioNormalMalloc(16), TOO_MUCH));
     },
     "6 [AudioMemory][AudioNormalRealloc][0022]AUDIO ASSERT(buf)!\n"},
    {"ByABlockResizedToNothing",
     [] { AudioNormalFree(AudioNormalRealloc(AudioNormalMalloc(16), 0)); },
     "6 [AudioMemory][AudioNormalRealloc][0022]AUDIO ASSERT(buf)!\n"},
};

INSTANTIATE_TEST_SUITE_P(Exhausted, ExhaustedAllocator, ::testing::ValuesIn(EXHAUSTIONS), ROW_NAME);

}  // namespace
}  // namespace cabinaudio::test
