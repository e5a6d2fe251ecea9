// SPDX-License-Identifier: Apache-2.0
#include "tools/trace/TraceOutput.h"

#include "devkit/trace/CaptureWriter.h"
#include "devkit/trace/Error.h"
#include "tools/Failure.h"

#include <unistd.h>

#include <type_traits>
#include <utility>

namespace cabinaudio::tool {

namespace {

class LineOutput final : public TraceOutput {
public:
    LineOutput(LineMaker maker, LineTaker taker)
        : mMaker(std::move(maker)), mTaker(std::move(taker)) {}

    void add(const trace::Record& record) override { put(mConversations.add(record)); }
    void flush() override {}
    void end() override { put(mConversations.end()); }

private:
    void put(const std::vector<trace::Happening>& happenings) {
        for (const trace::Happening& happening : happenings)
            if (const std::string line = mMaker(happening); !line.empty()) mTaker(line + "\n");
    }

    const LineMaker mMaker;
    const LineTaker mTaker;
    trace::Conversations mConversations;
};

class Capture final : public TraceOutput {
public:
    explicit Capture(const std::string& file) : mWriter(open(file)) {}

    void add(const trace::Record& record) override {
        guarded([&] { mWriter->write(record); });
    }
    void flush() override {
        guarded([&] { mWriter->flush(); });
    }
    void end() override { flush(); }

private:
    template <typename Action>
    static std::invoke_result_t<Action> guarded(Action action) {
        try {
            return action();
        } catch (const trace::Error& error) {
            throw Failure(error.what());
        }
    }

    static std::unique_ptr<trace::CaptureWriter> open(const std::string& file) {
        return guarded([&] {
            if (file != "-") return std::make_unique<trace::CaptureWriter>(file);
            return std::make_unique<trace::CaptureWriter>(STDOUT_FILENO, "standard output");
        });
    }

    const std::unique_ptr<trace::CaptureWriter> mWriter;
};

}  // namespace

std::unique_ptr<TraceOutput> makeLines(LineMaker maker, LineTaker taker) {
    return std::make_unique<LineOutput>(std::move(maker), std::move(taker));
}

std::unique_ptr<TraceOutput> makeCapture(const std::string& file) {
    return std::make_unique<Capture>(file);
}

}  // namespace cabinaudio::tool
