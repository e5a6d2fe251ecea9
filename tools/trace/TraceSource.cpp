// SPDX-License-Identifier: Apache-2.0
#include "tools/trace/TraceSource.h"

#include "devkit/trace/CaptureDecoder.h"
#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/Error.h"
#include "tools/server/ControlStream.h"

#include <chrono>

namespace cabinaudio::tool {

namespace {

/// A capture that was recorded.
class FileSource final : public TraceSource {
public:
    FileSource(const TraceOptions& options, const Interruption& interruption)
        : mReader(options.file), mIsSoundWanted(options.sound), mInterruption(interruption) {}

    std::optional<trace::Record> next() override {
        for (;;) {
            if (mInterruption.hasHappened()) return {};
            auto record = mReader.next();
            const bool isPassedOver =
                record && record->kind == trace::Kind::Sound && !mIsSoundWanted;
            if (!isPassedOver) return record;
        }
    }
    [[nodiscard]] Ending ending() const override {
        if (mInterruption.hasHappened())
            return {StreamEnd::Interrupted, "interrupted by " + mInterruption.signalName()};
        return {StreamEnd::Done, "the capture ends"};
    }

private:
    trace::CaptureReader mReader;
    const bool mIsSoundWanted;
    const Interruption& mInterruption;
};

/// The running development server.
class ServerSource final : public TraceSource {
public:
    ServerSource(const TraceOptions& options, const Interruption& interruption)
        : mInterruption(interruption),
          mStream(interruption, options.sound ? "trace sound" : "trace", options.timeout) {
        if (options.seconds)
            mDeadline = ControlStream::Clock::now() +
                        std::chrono::duration_cast<ControlStream::Clock::duration>(
                            std::chrono::duration<double>(*options.seconds));
        take();
    }

    std::optional<trace::Record> next() override {
        while (!mIsOver) {
            if (auto record = decoded()) return record;
            receive();
        }
        return {};
    }
    [[nodiscard]] bool isIdle() const override { return mDecoder.pending() == 0; }
    [[nodiscard]] Ending ending() const override { return mEnding; }

private:
    std::optional<trace::Record> decoded() {
        try {
            return mDecoder.next();
        } catch (const trace::Error& error) {
            throw trace::Error(std::string("from the server: ") + error.what());
        }
    }

    void receive() {
        switch (mStream.wait(mDeadline)) {
            case ControlStream::Wait::Readable:
                take();
                break;
            case ControlStream::Wait::Closed:
                endByServer();
                break;
            case ControlStream::Wait::Interrupted:
                end(mDeadline ? StreamEnd::Interrupted : StreamEnd::Done,
                    "until " + mInterruption.signalName());
                break;
            case ControlStream::Wait::Overdue:
                end(StreamEnd::Done, "the time is over");
                break;
        }
    }

    void take() {
        mDecoder.add(mStream.input());
        mStream.consume(mStream.input().size());
    }

    /// A server that ends hands everything over before; a killed one leaves half a record.
    void endByServer() {
        if (mDecoder.pending() != 0)
            end(StreamEnd::Lost, "the server went away in the middle of a record");
        else if (mDeadline)
            end(StreamEnd::Lost, "the server ended before the time was over");
        else
            end(StreamEnd::Done, "the server ended");
    }

    void end(StreamEnd kind, const std::string& text) {
        mEnding = {kind, text};
        mIsOver = true;
    }

    const Interruption& mInterruption;
    ControlStream mStream;
    std::optional<ControlStream::Clock::time_point> mDeadline;
    trace::CaptureDecoder mDecoder;
    bool mIsOver = false;
    Ending mEnding;
};

}  // namespace

std::unique_ptr<TraceSource> openSource(const TraceOptions& options,
                                        const Interruption& interruption) {
    if (options.file.empty()) return std::make_unique<ServerSource>(options, interruption);
    return std::make_unique<FileSource>(options, interruption);
}

}  // namespace cabinaudio::tool
