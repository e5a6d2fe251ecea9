// SPDX-License-Identifier: Apache-2.0
//
// Failures of the layers below that no server can produce: this program's versions of three
// exported operations come before the library's own.
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/client/TrackFixture.h"

#include <dlfcn.h>

#include <atomic>

namespace {

std::atomic<bool> gNoBlocks{false};      // rcalloc refuses
std::atomic<bool> gFreeingFails{false};  // rcfree frees, but reports a failure
std::atomic<bool> gRingTakesNothing{false};

template <typename Function>
Function next(const char* symbol) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

std::int32_t RemoteCall::rcalloc(std::uint8_t** req, std::uint32_t reqLen, std::uint8_t** ret,
                                 std::uint32_t retLen) {
    using Rcalloc =
        std::int32_t (*)(RemoteCall*, std::uint8_t**, std::uint32_t, std::uint8_t**, std::uint32_t);
    static const auto real = next<Rcalloc>("_ZN10RemoteCall7rcallocEPPhjS1_j");
    return gNoBlocks ? static_cast<std::int32_t>(AUDIO_NO_MEMORY)
                     : real(this, req, reqLen, ret, retLen);
}

std::int32_t RemoteCall::rcfree(void* req, void* ret) {
    using Rcfree = std::int32_t (*)(RemoteCall*, void*, void*);
    static const auto real = next<Rcfree>("_ZN10RemoteCall6rcfreeEPvS0_");
    const std::int32_t freed = real(this, req, ret);
    return gFreeingFails ? static_cast<std::int32_t>(AUDIO_BAD_SEQUENCE) : freed;
}

int ShareMemoryEx::write(const unsigned char* src, unsigned len) {
    using Write = int (*)(ShareMemoryEx*, const unsigned char*, unsigned);
    static const auto real = next<Write>("_ZN13ShareMemoryEx5writeEPKhj");
    return gRingTakesNothing ? 0 : real(this, src, len);
}

namespace cabinaudio::test {
namespace {

class ATrackWithAFaultBelow : public ATrack {
protected:
    ~ATrackWithAFaultBelow() override {
        gNoBlocks = false;
        gFreeingFails = false;
        gRingTakesNothing = false;
    }
};

TEST_F(ATrackWithAFaultBelow, LogsARingThatTookNothingAndCountsTheBytesAsWritten) {
    makeAlternative();
    start();
    gRingTakesNothing = true;
    EXPECT_EQ(write(10, true), 10);
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "writeOnce",
                        "AUDIO IGNORE(mShareMemory->write(buffer, len))!\n"),
              1U)
        << log.dump();
}

TEST_F(ATrackWithAFaultBelow, StaysUnusableWithoutBlocksForItsCreateRequest) {
    acceptStreams(4096, 1024);
    gNoBlocks = true;
    AudioFormatDesc format = cdFormat();
    ClientTrack lost("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(
        log.count(ERROR, "ClientTrack", "init", "[trk]mRc->rcalloc return failed, ret:-1990\n"), 1U)
        << log.dump();
    EXPECT_EQ(lost.initCheck(), AUDIO_INVALID_STATE);
}

TEST_F(ATrackWithAFaultBelow, HasNoBlocksForAKeyShift) {
    makeAuxiliary();
    gNoBlocks = true;
    EXPECT_EQ(track->setKeyShift(1.0F), AUDIO_NO_MEMORY);
    EXPECT_TRUE(server.requests(KEY_SHIFT).empty());
}

TEST_F(ATrackWithAFaultBelow, IsCreatedAllTheSameWhenItsBlocksCannotBeGivenBack) {
    gFreeingFails = true;
    makeAlternative();
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "init",
                        "AUDIO IGNORE(AUDIO_NO_ERROR==mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
    EXPECT_EQ(track->clear(), AUDIO_NO_ERROR);
}

TEST_F(ATrackWithAFaultBelow, SpellsTheSameFailureDifferentlyAfterARefusal) {
    gFreeingFails = true;
    server.on(CREATE, Answer::words(-3000, 0, 0, 0, 0, 0, 0));
    AudioFormatDesc format = cdFormat();
    const ClientTrack refused("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "init",
                        "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n"),
              1U)
        << log.dump();
}

TEST_F(ATrackWithAFaultBelow, KeepsTheResultOfAKeyShiftWhoseBlocksCannotBeGivenBack) {
    makeAuxiliary();
    gFreeingFails = true;
    server.on(KEY_SHIFT, Answer::status(-81));
    EXPECT_EQ(track->setKeyShift(1.0F), -81);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "setKeyShift", "rcfree error.\n"), 1U) << log.dump();
}

TEST_F(ATrackWithAFaultBelow, ShowsWhatAVersionQueryDoesWithoutBlocks) {
    ClientVersionSetting query;
    gNoBlocks = true;
    log.clear();
    int numbers[7] = {-1, -1, -1, -1, -1, -1, -1};
    EXPECT_EQ(query.getServerVersions(numbers, numbers + 3, numbers + 6), AUDIO_NO_MEMORY);
    for (const int number : numbers)
        EXPECT_EQ(number, -1);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
    gNoBlocks = false;
    gFreeingFails = true;
    server.on(132, 0, Answer::words(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(query.getServerVersions(numbers, numbers + 3, numbers + 6), 0);
    EXPECT_EQ(log.count(ERROR, "ClientVersionSetting", "getServerVersions", "rcfree error.\n"), 1U)
        << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
