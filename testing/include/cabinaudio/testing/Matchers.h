// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Heard.h>

#include <gmock/gmock.h>

#include <chrono>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>

/// GoogleTest matchers for sound. Each is one check as `cabinaudio check` knows it, with that
/// command's numbers and tolerances. A Heard, a Sound or a Result's heard() can be matched:
///
///     EXPECT_THAT(server().stop().heard(), IsDucked("music", -20.0).during("prompt"));
///
/// A failure says what was measured and what was required, and where; when the test keeps its
/// directory also which file was heard, and it draws a picture of it with the place marked.
namespace cabinaudio::testing {

/// A check of a recording as a matcher. Its functions return a matcher of a more exact check.
class HeardMatcher {
public:
    using is_gtest_matcher = void;

    /// @param check  the text for `cabinaudio check`, without a range
    explicit HeardMatcher(std::string check) : mCheck(std::move(check)) {}

    /// Only this range, in seconds of the sound.
    [[nodiscard]] HeardMatcher between(double from, double to) const;
    /// Only one channel: its number from 0, or the name of a loudspeaker as in `LF`.
    [[nodiscard]] HeardMatcher on(const std::string& loudspeaker) const;
    /// The check's tolerance as `cabinaudio check` takes it: "1dB", "5Hz", "2ms".
    [[nodiscard]] HeardMatcher within(const std::string& tolerance) const;

    /// The whole text for `cabinaudio check`.
    [[nodiscard]] std::string check() const;

    bool MatchAndExplain(const Heard& heard, std::ostream* out) const;
    void DescribeTo(std::ostream* out) const;
    void DescribeNegationTo(std::ostream* out) const;

private:
    std::string mCheck;
    std::string mLoudspeaker;
    std::string mTolerance;
    std::string mRange;
};

/// RMS level in dB of full scale, +-0.5 dB.
[[nodiscard]] HeardMatcher HasLevel(double db);
/// No sample is above.
[[nodiscard]] HeardMatcher HasPeakBelow(double db);
/// No sample is at the limit.
[[nodiscard]] HeardMatcher IsNotClipped();
/// The strongest line of the spectrum.
[[nodiscard]] HeardMatcher HasTone(double hz);
/// The same with its level in dB of full scale.
[[nodiscard]] HeardMatcher HasTone(double hz, double levelDb);
[[nodiscard]] HeardMatcher IsSilent();
/// No run of silence within the sound.
[[nodiscard]] HeardMatcher HasNoGap();
/// No jump of the waveform.
[[nodiscard]] HeardMatcher HasNoClick();
/// A stream's first frame is at this time, to the frame.
[[nodiscard]] HeardMatcher StartsAt(const std::string& stream, std::chrono::milliseconds at);
/// Sample for sample the sound of a file.
[[nodiscard]] HeardMatcher IsSameAs(const std::string& file);
/// The sound of a file up to an error of -40 dB.
[[nodiscard]] HeardMatcher IsLike(const std::string& file);
/// The whole sound lasts so long, in seconds.
[[nodiscard]] HeardMatcher Lasts(double seconds);
/// Streams begin in this order.
[[nodiscard]] HeardMatcher HasOrder(std::initializer_list<std::string> streams);
/// Two streams are heard together.
[[nodiscard]] HeardMatcher HasOverlap(const std::string& one, const std::string& other);
/// Any other check: the text for `cabinaudio check`, with its range.
[[nodiscard]] HeardMatcher Meets(const std::string& check);

/// The first half of a matcher: IsDucked("music", -20.0).during("prompt").
class Ducking {
public:
    Ducking(std::string stream, double db) : mStream(std::move(stream)), mDb(db) {}

    /// The stream is lowered by so many dB while the other one plays: with the attack, the hold and
    /// the release of the server.
    [[nodiscard]] HeardMatcher during(const std::string& prompt) const;

private:
    std::string mStream;
    double mDb;
};

[[nodiscard]] inline Ducking IsDucked(std::string stream, double db) {
    return {std::move(stream), db};
}

}  // namespace cabinaudio::testing
