// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/ClientReplay.h"

#include "devkit/replay/ClientConnection.h"
#include "devkit/replay/Fields.h"
#include "devkit/replay/Message.h"
#include "devkit/replay/Title.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace cabinaudio::replay {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

/// A ring that the server does not empty meanwhile keeps its rest: the recorded server may have
/// left it, too.
constexpr milliseconds DRAIN_PATIENCE{1000};

std::string secondsText(milliseconds time) {
    std::string text = std::to_string(static_cast<double>(time.count()) / 1000);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text + " s";
}

class ClientReplay {
public:
    ClientReplay(const Conversation& conversation, const Options& options)
        : mConversation(conversation),
          mOptions(options),
          mFields(options.ignored),
          mWaker(options.interruption),
          mBegin(Clock::now()) {
        for (std::size_t i = 0; i < conversation.connections.size(); ++i)
            mConnections.push_back(std::make_unique<ClientConnection>(conversation, i, mWaker));
        mLastMatch.resize(mConnections.size());
        mRequests.resize(mConnections.size());
    }

    Result run() {
        noteSilence();
        for (std::size_t i = 0; i < mConversation.steps.size(); ++i) {
            waitForTime(mConversation.steps[i]);
            play(i);
        }
        for (std::size_t i = 0; i < mConnections.size(); ++i)
            finish(i);
        mResult.connections = mConnections.size();
        return std::move(mResult);
    }

private:
    [[nodiscard]] bool isKept() const { return mOptions.timing == Timing::Kept; }
    [[nodiscard]] ClientConnection& connectionOf(const Step& step) {
        return *mConnections[step.connection];
    }

    /// Of connections whose sound was not recorded.
    void noteSilence() {
        for (const auto& connection : mConnections) {
            const RecordedConnection& recorded = connection->recorded();
            if (recorded.isPlayback() && !recorded.hasSound && connection->feed().total() > 0)
                mResult.warnings.push_back(recorded.title() +
                                           " is played as silence: its sound was not recorded");
        }
    }

    // ---- Differences ------------------------------------------------------------------------

    void differ(const Step& step, const std::string& operation, const std::string& field,
                const std::string& recorded, const std::string& got) {
        const RecordedConnection& connection = connectionOf(step).recorded();
        mResult.differences.push_back({step.record, connection.number,
                                       titleOf(connection.type, connection.name), operation, field,
                                       recorded, got});
    }

    void differ(const Step& step, const std::string& operation,
                const std::vector<FieldDifference>& fields) {
        for (const FieldDifference& field : fields)
            differ(step, operation, field.field, field.recorded, field.got);
    }

    [[nodiscard]] std::string operationOf(const Step& request) {
        if (isRegistration(request.bytes)) return "registration";
        const std::optional<std::uint32_t> function = functionOf(request.bytes);
        return function ? operationName(connectionOf(request).recorded().type, *function)
                        : "message";
    }

    /// Once for a connection; its further steps are left out.
    void lose(const Step& step, const std::string& operation) {
        if (mIsGivenUp.insert(step.connection).second)
            differ(step, operation, "", "an answer", "the end of the connection");
    }

    // ---- Time -------------------------------------------------------------------------------

    [[nodiscard]] Clock::time_point timeOf(std::uint64_t timeNs) const {
        return mBegin + std::chrono::duration_cast<Clock::duration>(nanoseconds(timeNs));
    }

    /// Takes what the server has sent and moves sound.
    /// @return whether something has happened
    bool turn() {
        std::size_t moved = 0;
        const auto elapsed = std::chrono::duration_cast<nanoseconds>(Clock::now() - mBegin);
        for (const auto& connection : mConnections) {
            if (!connection->isConnected()) continue;
            connection->receive();
            if (isKept()) connection->feed().setTime(static_cast<std::uint64_t>(elapsed.count()));
            const std::size_t bytes = connection->move();
            (connection->recorded().isPlayback() ? mResult.soundBytes : mResult.heardBytes) +=
                bytes;
            moved += bytes;
        }
        return moved > 0;
    }

    /// Waits until something arrives or sound can move.
    void sleep(Clock::time_point until) {
        std::vector<pollfd> descriptors;
        for (const auto& connection : mConnections) {
            if (!connection->isConnected()) continue;
            if (!connection->isLost()) descriptors.push_back({connection->fd(), POLLIN, 0});
            const std::uint64_t next = connection->feed().nextTime();
            if (isKept() && next != UINT64_MAX) until = std::min(until, timeOf(next));
        }
        mWaker.wait(descriptors, until);
    }

    /// @param patience  may pass without any sound that moves
    /// @return whether the condition came true
    bool waitUntil(const std::function<bool()>& condition, milliseconds patience) {
        Clock::time_point end = Clock::now() + patience;
        while (true) {
            if (turn()) end = Clock::now() + patience;
            if (condition()) return true;
            if (Clock::now() >= end) return false;
            sleep(end);
        }
    }

    void waitForTime(const Step& step) {
        if (!isKept()) return;
        const Clock::time_point time = timeOf(step.timeNs);
        while (Clock::now() < time) {
            (void)turn();
            sleep(time);
        }
    }

    // ---- Steps ------------------------------------------------------------------------------

    void play(std::size_t index) {
        const Step& step = mConversation.steps[index];
        if (mIsGivenUp.contains(step.connection)) return;
        switch (step.kind) {
            case Step::Kind::Connected:
                connectionOf(step).connect();
                break;
            case Step::Kind::Request:
                request(index);
                break;
            case Step::Kind::Reply:
                reply(step);
                break;
            case Step::Kind::Notification:
                notification(step);
                break;
            case Step::Kind::Sound:
                sound(index);
                break;
            case Step::Kind::Disconnected:
                finish(step.connection);
                break;
        }
    }

    /// Index of the connection's next step of this kind; the end of the conversation if none.
    [[nodiscard]] std::size_t following(std::size_t index, Step::Kind kind) const {
        const std::size_t connection = mConversation.steps[index].connection;
        std::size_t next = index + 1;
        while (next < mConversation.steps.size() &&
               (mConversation.steps[next].connection != connection ||
                mConversation.steps[next].kind != kind))
            ++next;
        return next;
    }

    void request(std::size_t index) {
        const Step& step = mConversation.steps[index];
        ClientConnection& connection = connectionOf(step);
        if (!connection.isConnected()) connection.connect();
        prepareSound(index);
        const std::size_t nextRequest = following(index, Step::Kind::Request);
        const std::size_t nextReply = following(index, Step::Kind::Reply);
        const bool isAnswered = nextReply < nextRequest;
        connection.expectReply(isAnswered
                                   ? std::optional(bodySizeOf(mConversation.steps[nextReply].bytes))
                                   : std::nullopt);
        mRequests[step.connection] = &step;
        ++mResult.requests;
        if (!connection.send(step, mOptions.patience)) {
            connection.receive();
            if (!connection.hasReply() && isAnswered) lose(step, operationOf(step));
        }
        connection.feed().allowBefore(nextRequest);
        if (!isAnswered && !step.fault.empty()) awaitEnd(step);
    }

    /// What the application had written before this request. A stop comes when the server has taken
    /// all of it, and the end of the sound is written before it is announced.
    void prepareSound(std::size_t index) {
        const Step& step = mConversation.steps[index];
        ClientConnection& connection = connectionOf(step);
        const StreamAction action =
            actionOf(connection.recorded().type, functionOf(step.bytes).value_or(UINT32_MAX));
        connection.feed().allowBefore(
            action == StreamAction::WriteDone ? following(index, Step::Kind::Request) : index);
        moveSound(step);
        if (action == StreamAction::Stop) drain(connection);
    }

    void moveSound(const Step& step) {
        ClientConnection& connection = connectionOf(step);
        SoundFeed& feed = connection.feed();
        if (connection.ring() != nullptr &&
            waitUntil(
                [&] {
                    return feed.isDone() || connection.ring() == nullptr || connection.isLost();
                },
                mOptions.patience))
            return feed.skip();
        if (connection.ring() != nullptr)
            differ(step, "sound", "",
                   std::to_string(feed.position() + feed.missing()) + " bytes moved",
                   std::to_string(feed.position()) + " bytes within " +
                       secondsText(mOptions.patience));
        feed.skip();
    }

    void drain(ClientConnection& connection) {
        Ring* const ring = connection.ring();
        if (ring == nullptr || !connection.recorded().isPlayback()) return;
        std::size_t before = ring->used();
        while (before > 0 && connection.ring() == ring && !connection.isLost()) {
            ring->awaitReads();
            const bool isLess =
                waitUntil([&] { return connection.ring() != ring || ring->used() < before; },
                          std::min(DRAIN_PATIENCE, mOptions.patience));
            if (!isLess || connection.ring() != ring) return;
            before = ring->used();
        }
    }

    /// The recorded server closed the connection instead of an answer.
    void awaitEnd(const Step& step) {
        ClientConnection& connection = connectionOf(step);
        const bool hasAnswered =
            waitUntil([&] { return connection.hasReply() || connection.isLost(); },
                      mOptions.patience) &&
            connection.hasReply();
        if (hasAnswered)
            differ(step, operationOf(step), "", "no answer", "an answer");
        else if (!connection.isLost())
            differ(step, operationOf(step), "", "the end of the connection",
                   "nothing within " + secondsText(mOptions.patience));
    }

    void reply(const Step& step) {
        ClientConnection& connection = connectionOf(step);
        const Step* const request = std::exchange(mRequests[step.connection], nullptr);
        if (request == nullptr) return;  // an answer to nothing
        const bool isThere = waitUntil([&] { return connection.hasReply() || connection.isLost(); },
                                       mOptions.patience);
        const std::string operation = operationOf(*request);
        const std::optional<Bytes> got = connection.takeReply(!isThere || connection.isLost());
        if (!got && connection.isLost()) return lose(step, operation);
        if (!got)
            return differ(step, operation, "", "an answer",
                          "none within " + secondsText(mOptions.patience));
        differ(step, operation, compare(*request, step.bytes, *got));
        connection.actOnReply(*request, *got);
        if (isRegistration(request->bytes) &&
            recordAt<wire::RegistrationReply>(*got, sizeof(SocketFrameHeader)).handle == 0 &&
            connection.recorded().handle != 0)
            mIsGivenUp.insert(step.connection);
    }

    [[nodiscard]] std::vector<FieldDifference> compare(const Step& request, const Bytes& recorded,
                                                       const Bytes& got) {
        if (isRegistration(request.bytes)) return mFields.compareRegistrations(recorded, got);
        return mFields.compareReplies(connectionOf(request).recorded().type,
                                      functionOf(request.bytes).value_or(UINT32_MAX), recorded,
                                      got);
    }

    using Arrivals = std::list<ClientConnection::Arrived>;

    [[nodiscard]] Arrivals::iterator matching(const Step& step) {
        Arrivals& arrived = connectionOf(step).notifications();
        return std::find_if(arrived.begin(), arrived.end(), [&](const auto& one) {
            return mFields.compareNotifications(step.bytes, one.message).empty();
        });
    }

    /// Waits for this notification; others may have come before.
    void notification(const Step& step) {
        ClientConnection& connection = connectionOf(step);
        Arrivals& arrived = connection.notifications();
        (void)waitUntil([&] { return matching(step) != arrived.end() || connection.isLost(); },
                        mOptions.patience);
        const auto found = matching(step);
        if (found == arrived.end())
            return differ(step, "notification", "", notificationText(step.bytes),
                          "none within " + secondsText(mOptions.patience));
        ++mResult.notifications;
        if (found->number < mLastMatch[step.connection])
            differ(step, "notification", "", notificationText(step.bytes) + " here",
                   "the same earlier");
        mLastMatch[step.connection] = std::max(mLastMatch[step.connection], found->number);
        arrived.erase(found);
    }

    [[nodiscard]] static std::string notificationText(const Bytes& message) {
        const SocketFrameHeader frame = frameOf(message);
        return "event " + std::to_string(frame.event) + " with value " +
               std::to_string(frame.param);
    }

    void sound(std::size_t index) {
        const Step& step = mConversation.steps[index];
        connectionOf(step).feed().allowBefore(index + 1);
        moveSound(step);
    }

    /// Closes a connection as the application did; notifications that are left were not recorded.
    void finish(std::size_t index) {
        ClientConnection& connection = *mConnections[index];
        if (!connection.isConnected()) return;
        drain(connection);
        connection.receive();
        if (!mIsGivenUp.contains(index))
            for (const auto& surplus : connection.notifications())
                surplusNotification(connection.recorded(), surplus.message);
        connection.close();
    }

    void surplusNotification(const RecordedConnection& connection, const Bytes& message) {
        mResult.differences.push_back({0, connection.number,
                                       titleOf(connection.type, connection.name), "notification",
                                       "", "none", notificationText(message)});
    }

    const Conversation& mConversation;
    const Options& mOptions;
    const Fields mFields;
    Waker mWaker;
    const Clock::time_point mBegin;
    std::vector<std::unique_ptr<ClientConnection>> mConnections;
    std::vector<std::size_t> mLastMatch;  // by connection: the latest notification as recorded
    std::vector<const Step*> mRequests;   // by connection: without an answer
    std::set<std::size_t> mIsGivenUp;     // connections
    Result mResult;
};

}  // namespace

Result replayAsClient(const Conversation& conversation, const Options& options) {
    return ClientReplay(conversation, options).run();
}

}  // namespace cabinaudio::replay
