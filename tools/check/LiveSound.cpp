// SPDX-License-Identifier: Apache-2.0
#include "tools/check/LiveSound.h"

#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/check/CheckTexts.h"
#include "tools/listen/TapConnection.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace cabinaudio::tool {

namespace {

using Clock = TapConnection::Clock;

constexpr float FULL_SCALE = 2147483648.0F;  // of samples of 32 bits
constexpr double LONGEST_S = 3600;           // an hour of six channels fills 4 GB

class LiveSound {
public:
    LiveSound(const CheckOptions& options, const std::vector<std::string>& checks)
        : mTimeout(options.timeout), mConnection(mInterruption, "listen s32 -", options.timeout) {
        Interruption::receiveHere();
        const RecordFormat& format = mConnection.format();
        mSound.rate = format.rate;
        mSound.channels = static_cast<unsigned>(format.channels);
        mSound.bits = 32;
        const double seconds =
            options.seconds ? *options.seconds : neededSeconds(checks, format.rate);
        if (seconds > LONGEST_S)
            throw Failure(
                "--live hears at most " + std::to_string(static_cast<int>(LONGEST_S)) + " s",
                ExitCode::Usage);
        mWanted = static_cast<std::size_t>(std::ceil(seconds * format.rate)) * mSound.channels;
    }

    [[nodiscard]] hear::Sound hear() {
        bool isHearing = true;
        while (isHearing && mSound.samples.size() < mWanted)
            isHearing = take(mConnection.receive(Clock::now() + mTimeout));
        if (mSound.samples.empty() && mWanted > 0)
            throw Failure("nothing was played for " + secondsText(mTimeout), ExitCode::TimedOut);
        return std::move(mSound);
    }

private:
    using Reception = TapConnection::Reception;

    /// @return whether more may follow
    bool take(Reception reception) {
        if (reception == Reception::Interrupted)
            throw Failure("interrupted by " + mInterruption.signalName());
        if (reception == Reception::Overdue) return false;
        const bool hasEnded = reception == Reception::ServerGone ||
                              mConnection.kind() == TapConnection::Kind::ServerEnded;
        if (hasEnded && mSound.samples.empty())
            throw Failure("the server went away", ExitCode::NoServer);
        if (hasEnded) return false;
        if (mConnection.kind() == TapConnection::Kind::Samples) append(mConnection.samples());
        if (mConnection.kind() == TapConnection::Kind::Lost)
            throw Failure("this machine is too slow: " + std::to_string(mConnection.lostFrames()) +
                          " frames of the live sound are lost");
        return true;
    }

    void append(std::span<const std::uint8_t> bytes) {
        for (std::size_t i = 0; i + 4 <= bytes.size() && mSound.samples.size() < mWanted; i += 4) {
            std::int32_t sample = 0;
            std::memcpy(&sample, &bytes[i], sizeof sample);
            mSound.samples.push_back(static_cast<float>(sample) / FULL_SCALE);
        }
    }

    const Interruption mInterruption;
    const std::chrono::milliseconds mTimeout;
    TapConnection mConnection;
    hear::Sound mSound;
    std::size_t mWanted = 0;  // samples
};

}  // namespace

hear::Sound listenTo(const CheckOptions& options, const std::vector<std::string>& checks) {
    // Before the server is asked for anything.
    if (!options.seconds) (void)neededSeconds(checks, 48000);
    return LiveSound(options, checks).hear();
}

}  // namespace cabinaudio::tool
