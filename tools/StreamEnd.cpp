// SPDX-License-Identifier: Apache-2.0
#include "tools/StreamEnd.h"

#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Duration.h"
#include "tools/Names.h"
#include "tools/ServerQuery.h"
#include "tools/ServerSocket.h"
#include "tools/server/StreamTwin.h"

#include <algorithm>

namespace cabinaudio::tool {

namespace {

/// Whether the server answers a new client. Takes at most a request's time limit.
bool serverAnswers() {
    ClientVersionSetting client;
    return client.initCheck() == AUDIO_NO_ERROR;
}

}  // namespace

ExitCode exitCode(StreamEnd end) {
    switch (end) {
        case StreamEnd::Done:
            return ExitCode::Done;
        case StreamEnd::TimedOut:
            return ExitCode::TimedOut;
        case StreamEnd::NoServer:
        case StreamEnd::Lost:
            return ExitCode::NoServer;
        case StreamEnd::Removed:
        case StreamEnd::Interrupted:
        case StreamEnd::Refused:
        case StreamEnd::Cut:
        case StreamEnd::Failed:
            break;
    }
    return ExitCode::Failed;
}

const char* endName(StreamEnd end, const char* done) {
    switch (end) {
        case StreamEnd::Done:
            return done;
        case StreamEnd::TimedOut:
            return "timed_out";
        case StreamEnd::Removed:
            return "removed";
        case StreamEnd::Lost:
            return "lost";
        case StreamEnd::Interrupted:
            return "interrupted";
        case StreamEnd::NoServer:
            return "no_server";
        case StreamEnd::Refused:
            return "refused";
        case StreamEnd::Cut:
            return "cut";
        case StreamEnd::Failed:
            break;
    }
    return "failed";
}

void StreamControl::rest(std::chrono::nanoseconds bound) const {
    waitForAny({&mInterruption.event()}, std::clamp(bound, SHORTEST_REST, LONGEST_REST));
    endIfInterrupted();
}

void StreamControl::endIfInterrupted() const {
    if (mInterruption.hasHappened())
        throw Ending{StreamEnd::Interrupted, "interrupted by " + mInterruption.signalName()};
}

void StreamControl::endIfStalled(Clock::time_point since, const char* what) const {
    if (Clock::now() - since < mTimeout) return;
    throw Ending{StreamEnd::TimedOut,
                 "timed out after " + secondsText(mTimeout) + " waiting for " + what,
                 AUDIO_TIMED_OUT, what};
}

void StreamControl::endIfOverdue(Clock::time_point since, const char* what) const {
    if (Clock::now() - since >= mTimeout) throw overdue(mInterruption, mTimeout, what);
}

void StreamControl::endIfUnanswered(std::int32_t status) const {
    if (status != UNANSWERED) return;
    throw Ending{StreamEnd::Lost,
                 serverListens() ? "the server has closed the connection" : "the server is gone",
                 status};
}

void StreamControl::require(std::int32_t status, const std::string& operation) const {
    endIfUnanswered(status);
    if (status == AUDIO_NO_ERROR) return;
    throw Ending{StreamEnd::Refused, "cannot " + operation + ": " + statusText(status), status};
}

void StreamControl::endByCreation(std::int32_t status, AudioTagType tag,
                                  const std::string& name) const {
    if (!serverListens()) throw Ending{StreamEnd::NoServer, noServerText(), status};
    const std::string refusal = "the server has not accepted the stream: ";
    // Two further requests: the state, or the list of streams.
    const std::string twin =
        mWatchdog.limit("the server's list of streams", 2 * mTimeout + Watchdog::GRACE,
                        [&] { return twinText(tag, name, mTimeout); });
    if (!twin.empty())
        throw Ending{StreamEnd::Refused, refusal + twin + "; choose another --name", status};
    throw Ending{StreamEnd::Refused,
                 refusal + statusText(status) + "; see its log, -v, or 'cabinaudio doctor'",
                 status};
}

void StreamControl::endByRemoval(std::int32_t status) const {
    if (!serverListens()) throw Ending{StreamEnd::Lost, "the server is gone", status};
    // A request on another thread may have found that the server hangs.
    if (!mWatchdog.limit("the server to answer", mTimeout + Watchdog::GRACE, serverAnswers))
        throw overdue(mInterruption, mTimeout, "the server to answer");
    throw Ending{StreamEnd::Removed, "the server has removed the stream", status};
}

Ending StreamControl::overdue(const Interruption& interruption, std::chrono::milliseconds timeout,
                              const std::string& what) {
    if (interruption.hasHappened())
        return {StreamEnd::Interrupted,
                "interrupted by " + interruption.signalName() + " while waiting for " + what};
    // A request that was in flight when the server died is never answered.
    if (!serverListens())
        return {StreamEnd::Lost, "the server is gone; waited for " + what, 0, what};
    return {StreamEnd::TimedOut, "timed out after " + secondsText(timeout) + " waiting for " + what,
            AUDIO_TIMED_OUT, what};
}

}  // namespace cabinaudio::tool
