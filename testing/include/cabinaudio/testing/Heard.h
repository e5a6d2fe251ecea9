// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Sound.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// A stretch of sound, in seconds of the server's output.
struct Segment {
    double from = 0;
    double to = 0;
};

/// How one check of a recording ended.
struct Judgement {
    std::string check;  ///< as written
    bool isMet = false;
    double from = 0;  ///< the judged range, in seconds
    double to = 0;
    double at = -1;  ///< the place of the fault, in seconds; -1 when there is no one place
    std::string measured;
    std::string required;
    std::string text;  ///< one line
};

/// A recording of what came out of the loudspeakers, together with the server's report and the
/// sound of each stream. Matchers take it, and any Sound in its place. Copies share one recording,
/// which does not change. Any thread.
class Heard {
public:
    /// A sound without a report: checks that name streams cannot be made.
    Heard(Sound sound);  // NOLINT(google-explicit-constructor): matchers take any sound
    /// @param path  the sound file
    /// @param reportPath  what `cabinaudio-server --report` wrote; "" for none
    /// @param stemsDirectory  what `cabinaudio-server --stems` wrote; "" for none
    /// @throws Failure when one of them cannot be read
    explicit Heard(const std::string& path, const std::string& reportPath = {},
                   const std::string& stemsDirectory = {});

    [[nodiscard]] const Sound& sound() const;
    /// The sound file; "" when the recording was made of a Sound without one.
    [[nodiscard]] const std::string& path() const { return sound().path; }

    /// When a stream was played: from its first frame to its last, one segment for each time that
    /// it was started and for each part of it that the output carried without a break. Empty when
    /// it was never heard, or without a report.
    [[nodiscard]] std::vector<Segment> segments(const std::string& stream) const;
    /// When a loudspeaker had sound.
    /// @param number  the output's channel, from 0
    /// @param silenceDb  quieter is silence, in dB of full scale
    /// @param longestPause  silence that does not end a segment, in seconds
    /// @throws Failure when there is no such channel
    [[nodiscard]] std::vector<Segment> loudspeaker(unsigned number, double silenceDb = -80.0,
                                                   double longestPause = 0.01) const;
    /// The sound of one stream as its program wrote it, without volumes. Of several streams with
    /// one name, the first one's.
    /// @throws Failure when there is none
    [[nodiscard]] Sound stem(const std::string& stream) const;
    /// The names of the streams that were played, in the order of the report.
    [[nodiscard]] std::vector<std::string> streams() const;

    /// Judges checks as `cabinaudio check` takes them: "tone 440 level=-12 [0.5..2]".
    /// @throws Failure when a text is no check, or asks for a stream or a file that does not exist
    [[nodiscard]] std::vector<Judgement> judge(const std::vector<std::string>& checks) const;

    /// Draws waveform, spectrum and streams as a PNG file, with the ranges of checks that are not
    /// met marked.
    /// @throws Failure as judge(), and when the file cannot be written
    void drawPicture(const std::string& path, const std::vector<std::string>& checks = {}) const;

    /// Where failing matchers put pictures; "" for nowhere.
    [[nodiscard]] const std::string& pictureDirectory() const { return mPictures; }
    void setPictureDirectory(const std::string& path) { mPictures = path; }

private:
    struct Data;
    std::shared_ptr<const Data> mData;
    std::string mPictures;
};

/// As for a Sound.
void PrintTo(const Heard& heard, std::ostream* out);

}  // namespace cabinaudio::testing
