// SPDX-License-Identifier: Apache-2.0
#include "tools/trace/TraceCommand.h"

#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"
#include "devkit/trace/ConnectType.h"
#include "devkit/trace/Error.h"
#include "devkit/trace/Filter.h"
#include "devkit/trace/Json.h"
#include "devkit/trace/Text.h"
#include "tools/Failure.h"
#include "tools/Interruption.h"
#include "tools/Terminal.h"
#include "tools/record/OutputFile.h"
#include "tools/trace/TraceOutput.h"
#include "tools/trace/TraceReport.h"
#include "tools/trace/TraceSource.h"

#include <unistd.h>

#include <memory>
#include <span>

namespace cabinaudio::tool {

namespace {

TraceFormat formatOf(const TraceOptions& options, const CommonOptions& common) {
    return options.format.value_or(common.json ? TraceFormat::JsonLines : TraceFormat::Text);
}

bool isToFile(const TraceOptions& options) {
    return options.output != "-";
}

trace::Filter::Wanted wantedOf(const TraceOptions& options) {
    trace::Filter::Wanted wanted;
    wanted.connection = options.connection;
    wanted.name = options.name;
    if (!options.type.empty()) wanted.type = trace::connectTypeOf(options.type);
    return wanted;
}

/// One line, safe for a terminal. Names are bytes and need not be UTF-8.
std::string jsonLine(const Json& json) {
    return text::printableJson(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

class Tracing {
public:
    Tracing(const TraceOptions& options, const CommonOptions& common)
        : mOptions(options),
          mIsJson(common.json),
          mFormat(formatOf(options, common)),
          mFilter(wantedOf(options)) {
        Interruption::receiveHere();
    }

    ExitCode trace() {
        const auto source = open();
        mOutput = makeOutput();
        try {
            copy(*source);
        } catch (const trace::Error& error) {
            mReport.ending = {StreamEnd::Cut, error.what()};
        } catch (const Failure& failure) {
            mReport.ending = {StreamEnd::Failed, failure.what()};
        }
        return finish();
    }

private:
    std::unique_ptr<TraceSource> open() const {
        try {
            return openSource(mOptions, mInterruption);
        } catch (const trace::Error& error) {
            throw Failure(error.what());
        }
    }

    std::unique_ptr<TraceOutput> makeOutput() {
        if (mFormat == TraceFormat::Pcapng) return makeCapture(mOptions.output);
        if (isToFile(mOptions)) mFile.emplace(mOptions.output);
        const auto toText = [this](const trace::Happening& happening) {
            if (!mBeginNs) mBeginNs = happening.timeNs;
            return textOf(happening, mOptions.absolute ? std::nullopt : mBeginNs);
        };
        const auto toJson = [](const trace::Happening& happening) {
            return jsonLine(jsonOf(happening));
        };
        const auto take = [this](const std::string& line) { put(line); };
        if (mFormat == TraceFormat::JsonLines) return makeLines(toJson, take);
        return makeLines(toText, take);
    }

    void put(const std::string& line) {
        if (!mFile) {
            text::print(line);
            return;
        }
        try {
            mFile->write({reinterpret_cast<const std::uint8_t*>(line.data()), line.size()});
        } catch (const Failure& failure) {
            throw Failure(mOptions.output + ": " + failure.what());
        }
    }

    /// Ends early when nobody reads the output any more.
    void copy(TraceSource& source) {
        while (const auto record = source.next()) {
            for (const trace::Record& passed : mFilter.pass(*record)) {
                mReport.count(passed);
                mOutput->add(passed);
            }
            if (source.isIdle()) mOutput->flush();
            if (text::outputIsLost()) break;
        }
        mReport.ending = source.ending();
        mOutput->end();
    }

    /// The last object of JSON tells the end, in the file as well.
    ExitCode finish() {
        try {
            if (mFormat == TraceFormat::JsonLines)
                put(jsonLine(reportJson(mReport, mOptions.output)) + "\n");
            if (mFile) mFile->close();
        } catch (const Failure& failure) {
            mReport.ending = {StreamEnd::Failed, failure.what()};
        }
        const ExitCode code = exitCode(mReport.ending.kind);
        if (mReport.lostRecords != 0)
            complain(std::to_string(mReport.lostRecords) +
                     " records are lost: this program was too slow for the server");
        if (isToFile(mOptions) && mIsJson) printJson(reportJson(mReport, mOptions.output));
        if (code != ExitCode::Done)
            complain(mReport.ending.text);
        else if (isToFile(mOptions) && !mIsJson)
            say(text::printable(lineOf(mReport, mOptions.output)));
        return code;
    }

    const TraceOptions& mOptions;
    const bool mIsJson;
    const TraceFormat mFormat;
    const Interruption mInterruption;
    trace::Filter mFilter;
    TraceReport mReport;
    std::optional<OutputFile> mFile;  // of lines
    std::unique_ptr<TraceOutput> mOutput;
    std::optional<std::uint64_t> mBeginNs;  // of the first line of text
};

}  // namespace

std::string optionFault(const TraceOptions& options, const CommonOptions& common) {
    const TraceFormat format = formatOf(options, common);
    if (!options.file.empty() && options.seconds) return "--for needs a running server, not a file";
    if (!isToFile(options) && common.json && format != TraceFormat::JsonLines)
        return "--json and this --format both want stdout; use --output FILE";
    if (format == TraceFormat::Pcapng && !isToFile(options) && isatty(STDOUT_FILENO) != 0)
        return "pcapng is not for terminals; use --output FILE, or a pipe";
    if (!options.file.empty() && options.file == options.output)
        return "--output is the file that is read";
    return "";
}

ExitCode run(const TraceOptions& options, const CommonOptions& common) {
    return Tracing(options, common).trace();
}

}  // namespace cabinaudio::tool
