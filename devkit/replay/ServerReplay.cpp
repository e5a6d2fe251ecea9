// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/ServerReplay.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/replay/Alignment.h"
#include "devkit/replay/Error.h"
#include "devkit/replay/Message.h"
#include "devkit/replay/ServerConnection.h"
#include "devkit/replay/Title.h"
#include "devkit/trace/WireFields.h"
#include "wire/Stream.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace cabinaudio::replay {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

/// An ended process, and times that nothing tells of, are looked for so often.
constexpr milliseconds TICK{50};
/// Until the connections of an application that has ended are closed: a child may have them, too.
constexpr milliseconds END_GRACE{1000};

Bytes framed(std::span<const std::uint8_t> body) {
    SocketFrameHeader frame{};
    frame.magic = FRAME_MAGIC;
    frame.headerId = HEADER_REPLY;
    Bytes reply(sizeof frame + body.size());
    putAt(reply, 0, frame);
    std::ranges::copy(body, reply.begin() + sizeof frame);
    return reply;
}

/// Refuses a request in the length that its client expects.
Bytes refusal(std::uint32_t type, std::uint32_t function) {
    const trace::WireOperation* const operation = trace::findOperation(type, function);
    Bytes body(operation != nullptr ? operation->reply->size : sizeof(std::int32_t));
    putAt(body, 0, std::int32_t{AUDIO_INVALID_OPERATION});
    return framed(body);
}

/// The process at the other end of a connection.
class Peer {
public:
    explicit Peer(int socket) {
        ucred credentials{};
        socklen_t length = sizeof credentials;
        if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) == 0)
            mProcess = UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, credentials.pid, 0)));
    }

    /// False where the system does not tell.
    [[nodiscard]] bool hasEnded() const {
        if (!mProcess) return false;
        pollfd process{mProcess.get(), POLLIN, 0};
        return poll(&process, 1, 0) > 0;
    }

private:
    UniqueFd mProcess;
};

class ServerReplay {
public:
    ServerReplay(const Conversation& conversation, const Options& options)
        : mConversation(conversation),
          mOptions(options),
          mFields(options.ignored),
          mWaker(options.interruption),
          mRings(mWaker, options.hasInstance),
          mProgress(conversation),
          mListener(listenAsServer()),
          mIsUsed(conversation.connections.size()) {}

    Result run() {
        if (mOptions.onListening) mOptions.onListening();
        mBegin = Clock::now();
        mProgress.touch();
        while (!hasEnded())
            turn();
        for (const auto& connection : mConnections)
            connection->close();
        judge();
        return std::move(mResult);
    }

private:
    /// A connection that has not registered yet, or that no recorded one is like.
    struct Unmatched {
        Socket socket;
        std::uint32_t type = 0;
        bool isRegistered = false;
    };

    // ---- The loop ---------------------------------------------------------------------------

    void turn() {
        while (UniqueFd accepted = acceptFrom(mListener)) {
            if (!mPeer) mPeer.emplace(accepted.get());
            mProgress.touch();
            mUnmatched.push_back(
                std::make_unique<Unmatched>(Unmatched{Socket(std::move(accepted))}));
        }
        for (const auto& waiting : mUnmatched)
            turn(*waiting);
        std::erase_if(mUnmatched, [](const auto& one) { return !one->socket.isOpen(); });
        for (const auto& connection : mConnections)
            connection->turn();
        sleep();
    }

    void sleep() {
        std::vector<pollfd> descriptors = {{mListener.get(), POLLIN, 0}};
        Clock::time_point until = Clock::now() + TICK;
        for (const auto& waiting : mUnmatched)
            descriptors.push_back({waiting->socket.fd(), POLLIN, 0});
        for (const auto& connection : mConnections) {
            if (!connection->isOpen()) continue;
            descriptors.push_back({connection->fd(), POLLIN, 0});
            until = std::min(until, connection->nextTime());
        }
        if (!hasEnded()) mWaker.wait(descriptors, until);
    }

    [[nodiscard]] bool isAnyOpen() const {
        return !mUnmatched.empty() || std::any_of(mConnections.begin(), mConnections.end(),
                                                  [](const auto& one) { return one->isOpen(); });
    }

    [[nodiscard]] bool isAllPlayed() const {
        for (std::size_t i = 0; i < mIsUsed.size(); ++i)
            if (!mIsUsed[i] && mConversation.connections[i].isRegistered) return false;
        return true;
    }

    [[nodiscard]] bool hasEnded() {
        if (mOptions.hasApplicationEnded) {
            if (!mApplicationEnd && mOptions.hasApplicationEnded()) mApplicationEnd = Clock::now();
            if (mApplicationEnd && (!isAnyOpen() || Clock::now() - *mApplicationEnd > END_GRACE))
                return true;
        } else if (mPeer && !isAnyOpen() && (isAllPlayed() || mPeer->hasEnded())) {
            return true;
        }
        return isOverdue();
    }

    /// Nothing has happened for longer than ever in the recording.
    [[nodiscard]] bool isOverdue() {
        if (!mPeer && !mOptions.hasApplicationEnded) {
            if (Clock::now() - mBegin < mOptions.startPatience) return false;
            throw Error(Error::Cause::Overdue, "no application has come");
        }
        if (mProgress.idle() < mOptions.patience + longestGap()) return false;
        mIsStalled = true;
        return true;
    }

    [[nodiscard]] nanoseconds longestGap() const {
        std::uint64_t longest = 0;
        for (std::size_t i = 1; i < mConversation.steps.size(); ++i)
            longest = std::max(longest, mConversation.steps[i].timeNs -
                                            std::min(mConversation.steps[i].timeNs,
                                                     mConversation.steps[i - 1].timeNs));
        return nanoseconds(longest);
    }

    // ---- Clients ----------------------------------------------------------------------------

    /// The registration decides which recorded connection this one is.
    void turn(Unmatched& waiting) {
        const bool isClosed = waiting.socket.receive() == Socket::State::Closed;
        const Bytes& received = waiting.socket.received();
        if (!waiting.isRegistered && received.size() >= sizeof(audio_param)) {
            const audio_param header = headerOf(received);
            if (const auto index = recordedOf(header)) return match(waiting, *index);
            registerSurplus(waiting, header);
        }
        while (waiting.isRegistered && answerSurplus(waiting)) {
        }
        if (isClosed && waiting.socket.isOpen()) waiting.socket.close();
    }

    /// The first unused one of this type and name, else of this type.
    [[nodiscard]] std::optional<std::size_t> recordedOf(const audio_param& header) const {
        const std::string name(std::begin(header.name),
                               std::find(std::begin(header.name), std::end(header.name), '\0'));
        std::optional<std::size_t> alike;
        for (std::size_t i = 0; i < mIsUsed.size(); ++i) {
            const RecordedConnection& recorded = mConversation.connections[i];
            if (mIsUsed[i] || !recorded.isRegistered || recorded.type != header.type) continue;
            if (recorded.name == name) return i;
            if (!alike) alike = i;
        }
        return alike;
    }

    void match(Unmatched& waiting, std::size_t index) {
        mIsUsed[index] = true;
        ++mResult.connections;
        mConnections.push_back(std::make_unique<ServerConnection>(
            std::exchange(waiting.socket, Socket(UniqueFd())), mConversation, index, mOptions,
            mProgress, mRings,
            [this](std::uint32_t type, const Bytes& request) { return improvise(type, request); }));
        mConnections.back()->turn();
    }

    void registerSurplus(Unmatched& waiting, const audio_param& header) {
        const Bytes message = waiting.socket.take(sizeof header);
        if (!isRegistration(message)) {
            differ(0, nullptr, "connection", "", "none", "one that does not register");
            waiting.socket.close();
            return;
        }
        ++mResult.connections;
        waiting.isRegistered = true;
        waiting.type = header.type;
        Difference difference;
        difference.client = titleOf(header.type, header.name);
        difference.operation = "connection";
        difference.recorded = "none";
        difference.got = "one";
        mResult.differences.push_back(difference);
        wire::RegistrationReply body{};
        body.handle = ++mSurplusHandle;
        Bytes bytes(sizeof body);
        putAt(bytes, 0, body);
        if (!waiting.socket.send(framed(bytes), mOptions.patience)) waiting.socket.close();
    }

    bool answerSurplus(Unmatched& waiting) {
        const Bytes& received = waiting.socket.received();
        const audio_param header = headerOf(received);
        if (!waiting.socket.isOpen() || received.size() < sizeof header ||
            received.size() - sizeof header < header.length)
            return false;
        mProgress.touch();
        ++mResult.requests;
        const Bytes reply =
            improvise(waiting.type, waiting.socket.take(sizeof header + header.length));
        if (reply.empty() || !waiting.socket.send(reply, mOptions.patience)) waiting.socket.close();
        return waiting.socket.isOpen();
    }

    /// The answer to a request that was not recorded here: that to the same one elsewhere.
    [[nodiscard]] Bytes improvise(std::uint32_t type, const Bytes& request) const {
        const std::optional<std::uint32_t> function = functionOf(request);
        if (!function) return {};
        const bool isStream = isPlaybackType(type) || isCaptureType(type);
        const auto payload = [](const Bytes& message) {
            return std::span(message).subspan(std::min(sizeof(audio_param), message.size()));
        };
        for (std::size_t i = 0; i < mConversation.steps.size() && !isStream; ++i) {
            const Step& step = mConversation.steps[i];
            if (step.kind != Step::Kind::Request ||
                mConversation.connections[step.connection].type != type ||
                !std::ranges::equal(payload(step.bytes), payload(request)))
                continue;
            if (const Step* const reply = replyTo(i)) return reply->bytes;
        }
        return refusal(type, *function);
    }

    [[nodiscard]] const Step* replyTo(std::size_t request) const {
        for (std::size_t i = request + 1; i < mConversation.steps.size(); ++i) {
            const Step& step = mConversation.steps[i];
            if (step.connection != mConversation.steps[request].connection) continue;
            if (step.kind == Step::Kind::Reply) return &step;
            if (step.kind == Step::Kind::Request) return nullptr;
        }
        return nullptr;
    }

    // ---- Differences ------------------------------------------------------------------------

    void differ(std::size_t record, const RecordedConnection* connection,
                const std::string& operation, const std::string& field, const std::string& recorded,
                const std::string& got) {
        Difference difference;
        difference.record = record;
        if (connection != nullptr) {
            difference.connection = connection->number;
            difference.client = titleOf(connection->type, connection->name);
        }
        difference.operation = operation;
        difference.field = field;
        difference.recorded = recorded;
        difference.got = got;
        mResult.differences.push_back(difference);
    }

    /// Of connections whose sound was not recorded.
    void noteSilence(const RecordedConnection& recorded) {
        const bool hasAmount = std::ranges::any_of(recorded.steps, [&](std::size_t index) {
            return mConversation.steps[index].sound > 0;
        });
        if (recorded.isCapture() && !recorded.hasSound && hasAmount)
            mResult.warnings.push_back(recorded.title() +
                                       " records silence: its sound was not recorded");
    }

    void judge() {
        if (mIsStalled)
            mResult.warnings.push_back("the application did nothing for " +
                                       std::to_string(mOptions.patience.count()) +
                                       " ms longer than recorded, and was not waited for");
        for (const auto& connection : mConnections) {
            mResult.requests += connection->received().size();
            mResult.notifications += connection->notifications();
            const RecordedConnection& recorded = mConversation.connections[connection->index()];
            (recorded.isPlayback() ? mResult.soundBytes : mResult.heardBytes) +=
                connection->movedBytes();
            judgeRequests(*connection, recorded);
            judgeSound(*connection, recorded);
            noteSilence(recorded);
        }
        for (std::size_t i = 0; i < mIsUsed.size(); ++i)
            if (!mIsUsed[i] && mConversation.connections[i].isRegistered)
                judgeMissing(mConversation.connections[i]);
        std::ranges::stable_sort(mResult.differences, {}, [](const Difference& difference) {
            return difference.record != 0 ? difference.record : SIZE_MAX;
        });
    }

    void judgeMissing(const RecordedConnection& recorded) {
        differ(mConversation.steps[recorded.steps.front()].record, &recorded, "connection", "",
               "one", "none");
    }

    /// Questions about the ring come from a thread of the library: they are in order among
    /// themselves only.
    void judgeRequests(const ServerConnection& connection, const RecordedConnection& recorded) {
        for (const bool isAboutRing : {false, true}) {
            std::vector<const Step*> steps;
            for (const std::size_t index : recorded.steps) {
                const Step& step = mConversation.steps[index];
                if (step.kind == Step::Kind::Request &&
                    isRingRequest(recorded.type, step.bytes) == isAboutRing)
                    steps.push_back(&step);
            }
            std::vector<Bytes> received = connection.received();
            std::erase_if(received, [&](const Bytes& message) {
                return isRingRequest(recorded.type, message) != isAboutRing;
            });
            judgeRequests(recorded, steps, received);
        }
    }

    void judgeRequests(const RecordedConnection& recorded, const std::vector<const Step*>& steps,
                       const std::vector<Bytes>& received) {
        const auto likeness = [&](std::size_t r, std::size_t g) {
            if (functionOf(steps[r]->bytes) != functionOf(received[g]) ||
                isRegistration(steps[r]->bytes) != isRegistration(received[g]))
                return Likeness::Different;
            return compare(recorded, *steps[r], received[g]).empty() ? Likeness::Equal
                                                                     : Likeness::Similar;
        };
        for (const Pairing& pair : align(steps.size(), received.size(), likeness))
            judgePair(recorded, pair.recorded ? steps[*pair.recorded] : nullptr,
                      pair.got ? &received[*pair.got] : nullptr);
    }

    [[nodiscard]] static bool isRingRequest(std::uint32_t type, const Bytes& message) {
        const StreamAction action = actionOf(type, functionOf(message).value_or(UINT32_MAX));
        return action == StreamAction::ShowRing || action == StreamAction::ReleaseRing;
    }

    [[nodiscard]] std::vector<FieldDifference> compare(const RecordedConnection& recorded,
                                                       const Step& step, const Bytes& got) const {
        return mFields.compareRequests(recorded.type, step.bytes, got);
    }

    [[nodiscard]] static std::string nameOf(const RecordedConnection& connection,
                                            const Bytes& message) {
        if (isRegistration(message)) return "registration";
        const std::optional<std::uint32_t> function = functionOf(message);
        return function ? operationName(connection.type, *function) : "message";
    }

    void judgePair(const RecordedConnection& recorded, const Step* step, const Bytes* got) {
        if (step == nullptr)
            return differ(0, &recorded, nameOf(recorded, *got), "", "none", "a request");
        const std::string name = nameOf(recorded, step->bytes);
        if (got == nullptr) return differ(step->record, &recorded, name, "", "a request", "none");
        if (functionOf(step->bytes) != functionOf(*got))
            return differ(step->record, &recorded, "request", "", describe(recorded, step->bytes),
                          describe(recorded, *got));
        for (const FieldDifference& field : compare(recorded, *step, *got))
            differ(step->record, &recorded, name, field.field, field.recorded, field.got);
    }

    /// Overloads have one name and different numbers.
    [[nodiscard]] static std::string describe(const RecordedConnection& connection,
                                              const Bytes& message) {
        const std::optional<std::uint32_t> function = functionOf(message);
        const std::string name = nameOf(connection, message);
        return function ? name + " (function " + std::to_string(*function) + ")" : name;
    }

    void judgeSound(const ServerConnection& connection, const RecordedConnection& recorded) {
        if (!recorded.isPlayback() || !recorded.hasSound) return;
        const SoundCheck& sound = connection.sound();
        std::uint64_t total = 0;
        std::size_t record = 0;
        for (const std::size_t index : recorded.steps) {
            const Step& step = mConversation.steps[index];
            if (step.kind != Step::Kind::Sound || step.sound == 0) continue;
            if (record == 0) record = step.record;
            total += step.sound;
        }
        if (const auto& first = sound.first())
            differ(record, &recorded, "sound", "byte " + std::to_string(first->position),
                   std::to_string(first->recorded), std::to_string(first->got));
        if (sound.taken() != total || sound.surplus() > 0)
            differ(record, &recorded, "sound", "length", std::to_string(total) + " bytes",
                   std::to_string(sound.taken() + sound.surplus()) + " bytes");
    }

    const Conversation& mConversation;
    const Options& mOptions;
    const Fields mFields;
    Waker mWaker;
    RingMaker mRings;
    Progress mProgress;
    const UniqueFd mListener;
    std::vector<bool> mIsUsed;  // by recorded connection
    std::vector<std::unique_ptr<Unmatched>> mUnmatched;
    std::vector<std::unique_ptr<ServerConnection>> mConnections;
    std::optional<Peer> mPeer;  // of the first connection
    std::optional<Clock::time_point> mApplicationEnd;
    Clock::time_point mBegin = Clock::now();
    std::uint32_t mSurplusHandle = 1000000;
    bool mIsStalled = false;
    Result mResult;
};

}  // namespace

Result replayAsServer(const Conversation& conversation, const Options& options) {
    return ServerReplay(conversation, options).run();
}

}  // namespace cabinaudio::replay
