// SPDX-License-Identifier: Apache-2.0
#include "tools/listen/Listen.h"

#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/Terminal.h"
#include "tools/listen/ListenReport.h"
#include "tools/listen/TapConnection.h"
#include "tools/record/RecordReport.h"
#include "tools/record/Target.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace cabinaudio::tool {

namespace {

using Clock = TapConnection::Clock;

constexpr std::chrono::milliseconds DISPLAY_PAUSE{100};

std::string commandOf(const ListenOptions& options) {
    std::string command = "listen " + (options.format.empty() ? "-" : options.format) + " " +
                          (options.loudspeaker ? std::to_string(*options.loudspeaker) : "-");
    if (!options.stream.empty()) command += " " + options.stream;
    return command;
}

class Listening {
public:
    Listening(const ListenOptions& options, const CommonOptions& common)
        : mOptions(options), mCommon(common), mLine(!common.verbose) {
        Interruption::receiveHere();
    }

    ExitCode listen() {
        TapConnection connection(mInterruption, commandOf(mOptions), mOptions.timeout);
        mReport.format = connection.format();
        if (std::string fault = targetFault(mOptions.file, mReport.format, mOptions.raw);
            !fault.empty())
            throw Failure(fault, ExitCode::Usage);
        store(connection);
        mLine.clear();
        printReport(mReport, mOptions, mCommon.json);
        return exitCode(mReport.ending.kind);
    }

private:
    void store(TapConnection& connection) {
        try {
            mTarget = openTarget(mOptions.file, mReport.format, mOptions.raw);
            const Clock::time_point deadline = Clock::now() + mOptions.timeout;
            mIsWaiting = !mOptions.stream.empty();
            while (!mIsOver)
                handle(connection,
                       connection.receive(mIsWaiting ? std::optional(deadline) : std::nullopt));
            mTarget->close();
        } catch (const Failure& failure) {
            mReport.ending = {StreamEnd::Failed, failure.what()};
        }
    }

    void handle(const TapConnection& connection, TapConnection::Reception reception) {
        switch (reception) {
            case TapConnection::Reception::Record:
                handle(connection);
                break;
            case TapConnection::Reception::ServerGone:
                end(StreamEnd::Lost, "the server went away");
                break;
            case TapConnection::Reception::Interrupted:
                endByUser();
                break;
            case TapConnection::Reception::Overdue:
                end(StreamEnd::TimedOut, "timed out after " + secondsText(mOptions.timeout) +
                                             " waiting for stream '" + mOptions.stream + "'");
                break;
        }
    }

    void handle(const TapConnection& connection) {
        switch (connection.kind()) {
            case TapConnection::Kind::Samples:
                write(connection.samples());
                break;
            case TapConnection::Kind::Lost:
                writeLost(connection.lostFrames());
                break;
            case TapConnection::Kind::Begun:
                mIsWaiting = false;
                break;
            case TapConnection::Kind::StreamEnded:
                end(mOptions.seconds ? StreamEnd::Removed : StreamEnd::Done, "the stream ended");
                break;
            case TapConnection::Kind::ServerEnded:
                end(StreamEnd::Lost, "the server ended");
                break;
        }
    }

    /// Stores whole frames, but no more than were asked for.
    void write(std::span<const std::uint8_t> bytes) {
        const std::size_t frameBytes = mReport.format.frameBytes();
        std::uint64_t frames = bytes.size() / frameBytes;
        if (mOptions.seconds) frames = std::min(frames, wantedFrames() - mReport.frames);
        mTarget->write(bytes.first(static_cast<std::size_t>(frames) * frameBytes));
        mReport.frames += frames;
        if (const Level level = mTarget->takeLevel()) mLevel = std::max(mLevel.value_or(0), *level);
        mReport.peak = std::max(mReport.peak, mLevel);
        display();
        if (mOptions.seconds && mReport.frames == wantedFrames()) end(StreamEnd::Done, "heard");
        if (!mInterruption.hasHappened()) return;
        if (!mInterruptedAt) mInterruptedAt = Clock::now();
        // Without a clock, sound may arrive faster than it is stored.
        if (Clock::now() - *mInterruptedAt > mOptions.timeout) endByUser();
    }

    /// As silence, so that what follows keeps its place.
    void writeLost(std::uint32_t frames) {
        constexpr std::uint32_t PIECE = 4096;
        const std::vector<std::uint8_t> silence(PIECE * mReport.format.frameBytes());
        for (std::uint32_t left = frames; left > 0 && !mIsOver; left -= std::min(left, PIECE))
            write(std::span(silence).first(std::min(left, PIECE) * mReport.format.frameBytes()));
        mReport.lostFrames += frames;
    }

    [[nodiscard]] std::uint64_t wantedFrames() const {
        return static_cast<std::uint64_t>(std::llround(*mOptions.seconds * mReport.format.rate));
    }

    void display() {
        if (!mLine.isShown() || Clock::now() - mDisplayed < DISPLAY_PAUSE) return;
        RecordReport shown;
        shown.recordedMs = 1000 * secondsOf(mReport.frames, mReport.format);
        if (mOptions.seconds) shown.wantedMs = 1000 * *mOptions.seconds;
        mLine.show(meterText(shown, mLevel, ProgressLine::width()), levelColour(mLevel));
        mDisplayed = Clock::now();
        mLevel.reset();
    }

    void endByUser() {
        if (mOptions.seconds)
            end(StreamEnd::Interrupted, "interrupted by " + mInterruption.signalName());
        else
            end(StreamEnd::Done, "heard until " + mInterruption.signalName());
    }

    void end(StreamEnd kind, const std::string& text) {
        mReport.ending = {kind, text};
        mIsOver = true;
    }

    const ListenOptions& mOptions;
    const CommonOptions& mCommon;
    const Interruption mInterruption;
    ListenReport mReport;
    std::unique_ptr<Target> mTarget;
    ProgressLine mLine;
    Clock::time_point mDisplayed{};
    std::optional<Clock::time_point> mInterruptedAt;
    Level mLevel;             // since the last display
    bool mIsWaiting = false;  // for the stream
    bool mIsOver = false;
};

}  // namespace

std::string optionFault(const ListenOptions& options, const CommonOptions& common) {
    if (common.json && options.file == "-") return "--json and the sound both want stdout";
    RecordFormat format;
    format.depth = options.format == "s32" ? AUDIO_BIT_DEPTH_32 : AUDIO_BIT_DEPTH_16;
    return targetFault(options.file, format, options.raw);
}

ExitCode run(const ListenOptions& options, const CommonOptions& common) {
    return Listening(options, common).listen();
}

}  // namespace cabinaudio::tool
