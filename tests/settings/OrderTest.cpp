// SPDX-License-Identifier: Apache-2.0
//
// The order of an operation's steps, which shows when a later step fails.
#include <cabinaudio/client/ClientVersionSetting.h>

#include "tests/interpose/Blocks.h"
#include "tests/settings/Row.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <new>
#include <system_error>

namespace cabinaudio::test {
namespace {

class SettingResult : public ::testing::TestWithParam<OperationRow> {};

TEST_P(SettingResult, IsStoredBeforeTheBlocksAreFreed) {
    const OperationRow& row = GetParam();
    ScriptedServer server;
    server.on(row.type, functionOf(row), Answer::bytes(joined({word(0), row.results})));
    const Clients clients(row.type);
    Outputs outputs;
    Blocks blocks;
    int freed = 0;
    blocks.whenFreeing([&] {
        ++freed;
        EXPECT_TRUE(outputs.holds(row.stored));
        EXPECT_EQ(outputs.texts, row.texts);
    });
    EXPECT_EQ(row.call(clients, outputs), 0);
    EXPECT_EQ(freed, 1);
}

/// Results that an operation stores, or adds to a container, that its caller has handed in.
std::vector<OperationRow> withResults() {
    // The tables hand in something else for these, or get them through another operation.
    const std::vector<std::string> others = {
        "GetOutPutSource",        "GetInputDestination",    "GetActiveTracksInfo",
        "GetOutPutTrackInfoList", "GetActivedSourceNumber", "GetDownlinkDelayEstimation"};
    return rowsWhere([&](const OperationRow& row) {
        return (!row.stored.empty() || !row.texts.empty()) &&
               std::find(others.begin(), others.end(), row.test) == others.end();
    });
}

INSTANTIATE_TEST_SUITE_P(Of, SettingResult, ::testing::ValuesIn(withResults()), TEST_NAME);

TEST(ActiveTracks, AreAppendedBeforeTheBlocksAreFreed) {
    ScriptedServer server;
    server.on(130, 38, Answer::bytes(joined({word(0), word(2), Bytes(400, 'a')})));
    ClientSourceSetting source;
    std::vector<audio::audio_track_info_t> tracks;
    std::size_t whenFreed = 0;
    Blocks blocks;
    blocks.whenFreeing([&] { whenFreed = tracks.size(); });
    EXPECT_EQ(source.getActiveTracksInfo(tracks), 0);
    EXPECT_EQ(whenFreed, 2U);
}

TEST(ServerVersions, AreStoredBeforeTheBlocksAreFreed) {
    ScriptedServer server;
    server.on(132, 0,
              Answer::bytes(joined(
                  {number(-42), word(1), word(2), word(3), word(4), word(5), word(6), word(7)})));
    ClientVersionSetting version;
    std::vector<int> numbers(7);
    std::vector<int> whenFreed;
    Blocks blocks;
    blocks.whenFreeing([&] { whenFreed = numbers; });
    EXPECT_EQ(version.getServerVersions(numbers.data(), numbers.data() + 3, numbers.data() + 6),
              -42);
    EXPECT_EQ(whenFreed, (std::vector<int>{1, 2, 3, 4, 5, 6, 7}));
}

/// The messages of the log, without prefixes.
std::vector<std::string> messagesOf(const LogCapture& log) {
    std::vector<std::string> messages;
    for (const LogLine& line : log.lines())
        messages.push_back(line.text.substr(line.text.rfind(']') + 1));
    return messages;
}

TEST(ResultLine, ComesBeforeThatOfBlocksThatAreNotFreed) {
    ScriptedServer server;
    server.on(130, 32, Answer::words(0, 3));
    server.on(128, 23, Answer::bytes(joined({word(0), real(1.5F)})));
    ClientSourceSetting source;
    ClientAppSetting app;
    Blocks blocks;
    blocks.failFreeing(true);
    LogCapture log;
    audio::audio_output_src_parameter_t tracks[20];
    int count = 0;
    EXPECT_EQ(source.getOutputTrackInfo(audio::audio_output_src_tag_e{1}, tracks, &count), 0);
    EXPECT_EQ(messagesOf(log),
              (std::vector<std::string>{"get track info size: 3\n", "rcfree error.\n"}));
    EXPECT_TRUE(
        logged(log, INFO, "ClientSourceSetting", "getOutputTrackInfo", "get track info size: 3\n"));
    log.clear();
    float delay = 0;
    EXPECT_EQ(app.getSpeakerDelay(audio::audio_channel_idx_e{1}, &delay), 0);
    EXPECT_EQ(messagesOf(log), (std::vector<std::string>{"delay 1.500000\n", "rcfree error.\n"}));
    EXPECT_TRUE(logged(log, INFO, "ClientAppSetting", "getSpeakerDelay", "delay 1.500000\n"));
}

// ---- The words of a mixer's matrix --------------------------------------------------------------

/// A matrix whose fourth gain lies in a page of its own, which tells when it is read.
class WatchedMatrix {
public:
    explicit WatchedMatrix(const audio::audio_mixer_matrix_t& matrix)
        : mPage(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        void* const at =
            mmap(nullptr, 2 * mPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (at == MAP_FAILED) throw std::bad_alloc();
        mMemory = static_cast<unsigned char*>(at);
        constexpr std::size_t IN_FRONT = sizeof matrix - sizeof(float);
        mMatrix = new (mMemory + mPage - IN_FRONT) audio::audio_mixer_matrix_t(matrix);
        sWatched = this;
        struct sigaction action = {};
        action.sa_sigaction = onFault;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, &mBefore);
        if (mprotect(mMemory + mPage, mPage, PROT_NONE) != 0)
            throw std::system_error(errno, std::generic_category());
    }
    ~WatchedMatrix() {
        sigaction(SIGSEGV, &mBefore, nullptr);
        munmap(mMemory, 2 * mPage);
    }
    WatchedMatrix(const WatchedMatrix&) = delete;
    WatchedMatrix& operator=(const WatchedMatrix&) = delete;

    [[nodiscard]] audio::audio_mixer_matrix_t* matrix() const { return mMatrix; }
    [[nodiscard]] bool hasFourthBeenRead() const { return mIsRead != 0; }

private:
    static void onFault(int signal, siginfo_t* info, void*) {
        const auto* const at = static_cast<const unsigned char*>(info->si_addr);
        unsigned char* const page = sWatched->mMemory + sWatched->mPage;
        if (at < page || at >= page + sWatched->mPage) {
            std::signal(signal, SIG_DFL);  // some other fault
            return;
        }
        sWatched->mIsRead = 1;
        mprotect(page, sWatched->mPage, PROT_READ);
    }

    static inline WatchedMatrix* sWatched = nullptr;

    std::size_t mPage;
    unsigned char* mMemory = nullptr;
    audio::audio_mixer_matrix_t* mMatrix = nullptr;
    struct sigaction mBefore = {};
    volatile std::sig_atomic_t mIsRead = 0;
};

class MixerMatrix : public ::testing::TestWithParam<int (audio::QVAudioSetting::Mixer::*)(
                        audio::audio_mixer_matrix_t*)> {
protected:
    /// Whether the fourth gain has been looked at when the matrix is refused.
    bool readsFourthOf(const audio::audio_mixer_matrix_t& gains) {
        const WatchedMatrix watched(gains);
        audio::QVAudioSetting::Mixer& interface = mixer;
        EXPECT_EQ((interface.*GetParam())(watched.matrix()), REFUSED);
        return watched.hasFourthBeenRead();
    }

    ScriptedServer server;
    ClientMixerSetting mixer;
};

TEST_P(MixerMatrix, ChecksItsFourthGainBeforeItsThird) {
    EXPECT_TRUE(readsFourthOf({7, {0.0F, 0.0F, 0.5F, 0.0F}}));
    EXPECT_FALSE(readsFourthOf({7, {0.0F, 0.5F, 0.0F, 0.0F}}));
    EXPECT_FALSE(readsFourthOf({7, {0.5F, 0.0F, 0.0F, 0.0F}}));
}

INSTANTIATE_TEST_SUITE_P(
    Of, MixerMatrix,
    ::testing::Values(
        static_cast<int (audio::QVAudioSetting::Mixer::*)(audio::audio_mixer_matrix_t*)>(
            &audio::QVAudioSetting::Mixer::setGpsMixerGain),
        static_cast<int (audio::QVAudioSetting::Mixer::*)(audio::audio_mixer_matrix_t*)>(
            &audio::QVAudioSetting::Mixer::setAlternativeAudioMixerGain)),
    [](const auto& one) { return one.index == 0 ? "Navigation" : "AlternativeAudio"; });

}  // namespace
}  // namespace cabinaudio::test
