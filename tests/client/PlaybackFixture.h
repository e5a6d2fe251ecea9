// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>

#include "tests/support/StreamFixture.h"

#include <cstdint>
#include <future>
#include <memory>
#include <ostream>
#include <string>

namespace cabinaudio::test {

/// The two classes that play.
enum class Playing { Track, Sink };

/// A track named "trk" or a sink named "snk" against a scripted server.
class PlaybackFixture : public StreamFixture {
protected:
    static constexpr int CREATE = 21;
    static constexpr int INIT_CHECK = 8;
    static constexpr int WRITE_DONE = 12;
    static constexpr int LET_GO = 19;
    static constexpr int GET_RING = 20;
    static constexpr int KEY_SHIFT = 22;
    static constexpr std::uint32_t RING_READY = 3;

    explicit PlaybackFixture(Playing what) : kind(what) {}

    [[nodiscard]] const char* text(const char* track, const char* sink) const {
        return kind == Playing::Track ? track : sink;
    }
    [[nodiscard]] std::string name() const { return text("trk", "snk"); }
    /// The source file that writes the log lines.
    [[nodiscard]] const char* file() const { return text("ClientTrack", "ClientSink"); }
    /// The tag of a stream that gets its ring later.
    [[nodiscard]] AudioTagType tag() const {
        return kind == Playing::Track ? AUDIO_TAG_AUXILIARY : AUDIO_TAG_MAIN;
    }
    /// The tag of a stream that has its ring as early as its class can have it.
    [[nodiscard]] AudioTagType ringsTag() const {
        return kind == Playing::Track ? AUDIO_TAG_ALTERNATIVE : AUDIO_TAG_MAIN;
    }
    /// The notification that the data was played to its end.
    [[nodiscard]] std::uint32_t finished() const { return kind == Playing::Track ? 4 : 5; }

    /// Tells the server how to answer requests to create a stream and for its ring.
    void acceptStreams(unsigned size = 4096, int perLoopSize = 1024);
    /// A stream of the kind, usable or not.
    [[nodiscard]] std::unique_ptr<audio::QVAudioTrack> create(const std::string& streamName,
                                                              AudioTagType streamTag,
                                                              AudioFormatDesc format = cdFormat(),
                                                              int streamParam = 0) const;

    /// A created stream without a ring: an auxiliary track, or a sink without a source.
    void makeIdle(unsigned size = 4096, int perLoopSize = 1024);
    /// A created stream with its ring: an alternative track, or a sink with a source.
    void makeWithRing(unsigned size = 4096, int perLoopSize = 1024);
    /// The same, started.
    void makePlaying(unsigned size = 4096, int perLoopSize = 1024);

    /// Announces a ring and waits until the stream has it.
    void giveRing(unsigned size, unsigned address = RING_ADDRESS);
    void giveRing() { giveRing(ringSize); }
    /// Waits until the stream has dealt with all notifications so far.
    void settle();

    [[nodiscard]] static int initCheck(audio::QVAudioTrack& checked);
    [[nodiscard]] int initCheck() { return initCheck(*stream); }
    void start() { ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump(); }
    int write(int bytes, bool isBlock) { return stream->write(data.data(), bytes, isBlock); }
    /// Fills the ring to the last byte.
    void fillRing();
    /// Starts a write that has to wait, and returns once it does.
    [[nodiscard]] std::future<int> blockedWrite(int bytes, bool isBlock = true);

    /// Whether the stream has logged this line behind its name in brackets, exactly so often.
    [[nodiscard]] ::testing::AssertionResult streamLogged(int level, const std::string& line,
                                                          std::size_t times = 1) const {
        return logged(level, "[" + name() + "]" + line, times);
    }
    /// The same for a line of this function.
    [[nodiscard]] ::testing::AssertionResult streamLogged(int level, const char* function,
                                                          const std::string& line,
                                                          std::size_t times = 1) const {
        return logged(level, file(), function, "[" + name() + "]" + line, times);
    }
    /// The same for lines that match this expression.
    [[nodiscard]] ::testing::AssertionResult streamLoggedLike(int level,
                                                              const std::string& expression,
                                                              std::size_t times = 1) const {
        return loggedLike(level, "\\[" + name() + "\\]" + expression, times);
    }

    /// Bytes that a sink says it has written; stops it.
    [[nodiscard]] long long writtenInAll();
    /// Bytes that a sink says it has thrown away, in its last line about them.
    [[nodiscard]] long long thrownAwayInAll() const;

    Playing kind;
    std::unique_ptr<audio::QVAudioTrack> stream;
};

/// For everything that tracks and sinks do alike.
class EachPlayback : public PlaybackFixture, public ::testing::WithParamInterface<Playing> {
protected:
    EachPlayback() : PlaybackFixture(GetParam()) {}
};

inline const auto PLAYBACKS = ::testing::Values(Playing::Track, Playing::Sink);

/// For the messages of failing tests.
inline void PrintTo(Playing kind, std::ostream* out) {
    *out << (kind == Playing::Track ? "track" : "sink");
}

[[nodiscard]] inline std::string playingName(const ::testing::TestParamInfo<Playing>& kind) {
    return kind.param == Playing::Track ? "Track" : "Sink";
}

}  // namespace cabinaudio::test
