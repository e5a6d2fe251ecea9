// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientTrack.h>

#include "tests/server/Sound.h"
#include "tests/server/State.h"
#include "tests/support/Files.h"
#include "tests/support/RealServer.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <csignal>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// Waits for the end of playback, at most for a minute.
class FinishWaiter : public audio::QVAudioTrackCallback {
public:
    void finish(bool) override;
    /// For the end of round number `round`.
    [[nodiscard]] bool wait(int round = 1);
    [[nodiscard]] int count();

private:
    std::mutex mLock;
    std::condition_variable mChanged;
    int mCount = 0;
};

/// A track of the library that is started and ready to be written to.
class Player {
public:
    Player(const std::string& name, AudioTagType tag, AudioFormatDesc format);

    [[nodiscard]] ClientTrack& track() { return mTrack; }
    [[nodiscard]] FinishWaiter& finished() { return mFinished; }

    /// Waits for the ring. @return whether it came
    bool hasRing();

    /// Queues all of it. @return whether all was taken
    template <typename Sample>
    bool write(std::vector<Sample> samples) {
        return writeBytes(bytesPointer(samples), byteCount(samples));
    }

    /// Returns when everything written has been played. @return whether it has
    bool end(int round = 1);

private:
    bool writeBytes(unsigned char* bytes, int count);

    AudioFormatDesc mFormat;
    AudioTagType mTag;
    FinishWaiter mFinished;
    ClientTrack mTrack;
};

/// A server that writes a WAV file and a report, and what can be read of both once it has ended.
class RecordingServer {
public:
    explicit RecordingServer(std::vector<std::string> arguments = {});

    [[nodiscard]] RealServer& server() { return *mServer; }
    [[nodiscard]] const TemporaryDirectory& directory() const { return mDirectory; }

    /// Plays a sound to its end and ends the server. @return whether both went well
    template <typename Sample>
    [[nodiscard]] bool play(const AudioFormatDesc& format, const std::vector<Sample>& samples,
                            AudioTagType tag = AUDIO_TAG_AUXILIARY) {
        {
            Player player("sound", tag, format);
            if (!player.write(samples) || !player.end()) return false;
        }
        return stop();
    }

    /// Ends the server with a signal. @return whether it ended well
    bool stop(int signal = SIGTERM);

    // After stop()
    [[nodiscard]] const Wav& wav() const { return mWav; }
    [[nodiscard]] const nlohmann::json& report() const { return mReport; }
    /// The report of one stream; throws std::runtime_error when there is none.
    [[nodiscard]] const nlohmann::json& stream(const std::string& name) const {
        return streamIn(mReport, name);
    }

    /// Whether the output holds exactly these samples (interleaved, in the output's channels, as
    /// Wav::samples) where the report says that the stream lies, and holds all of them.
    [[nodiscard]] testing::AssertionResult heard(const std::string& name,
                                                 const std::vector<std::int32_t>& samples) const;

private:
    TemporaryDirectory mDirectory;
    std::unique_ptr<RealServer> mServer;
    Wav mWav;
    nlohmann::json mReport;
};

/// 16-bit samples as Wav::samples shows them.
std::vector<std::int32_t> wide(const std::vector<std::int16_t>& samples);

}  // namespace cabinaudio::test
