// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/ServerConnection.h"

#include <cabinaudio/foundation/AudioTime.h>

#include "devkit/replay/Message.h"
#include "wire/Stream.h"

#include <algorithm>
#include <array>
#include <utility>

namespace cabinaudio::replay {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr std::uint32_t LARGEST_PAYLOAD = 1 << 20;
/// Time in which a reply must reach the application although its sound is not as recorded.
constexpr milliseconds GRACE{1000};
/// Requests that may be missing before one that comes.
constexpr std::size_t MOST_MISSING = 64;

bool isAlike(const Bytes& recorded, const Bytes& message) {
    return functionOf(recorded) == functionOf(message) &&
           isRegistration(recorded) == isRegistration(message);
}

/// Without what differs in every run.
Bytes normalized(Bytes message) {
    putAt(message, offsetof(audio_param, handle), std::uint32_t{0});
    putAt(message, offsetof(audio_param, timestamp), std::uint64_t{0});
    return message;
}

}  // namespace

ServerConnection::ServerConnection(Socket socket, const Conversation& conversation,
                                   std::size_t index, const Options& options, Progress& progress,
                                   RingMaker& rings, Improvise improvise)
    : mSocket(std::move(socket)),
      mConversation(conversation),
      mIndex(index),
      mRecorded(conversation.connections[index]),
      mOptions(options),
      mProgress(progress),
      mRings(rings),
      mImprovise(std::move(improvise)),
      mSince(Clock::now()),
      mFeed(conversation, index) {}

std::size_t ServerConnection::placeOf(Step::Kind kind, std::size_t from) const {
    std::size_t place = from;
    while (place < end() && stepAt(place).kind != kind)
        ++place;
    return place;
}

std::size_t ServerConnection::indexAt(std::size_t place) const {
    return place < end() ? mRecorded.steps[place] : mConversation.steps.size();
}

// ---- Messages -----------------------------------------------------------------------------------

void ServerConnection::turn() {
    if (!isOpen()) return;
    const bool isClosed = mSocket.receive() == Socket::State::Closed;
    moveSound();
    while (const std::optional<Bytes> message = isOpen() ? nextMessage() : std::nullopt)
        answer(*message);
    sendReply();
    sendNotifications();
    moveSound();
    if (isClosed) close();
}

void ServerConnection::close() {
    moveSound();
    mRing.reset();
    mSocket.close();
    mProgress.touch();
}

/// A recorded message that breaks the protocol is taken as it was recorded.
std::optional<Bytes> ServerConnection::nextMessage() {
    const Bytes& received = mSocket.received();
    const std::size_t next = placeOf(Step::Kind::Request, mAt);
    if (next < end() && !stepAt(next).fault.empty()) {
        const Bytes& recorded = stepAt(next).bytes;
        if (received.size() >= recorded.size() && !recorded.empty() &&
            normalized(Bytes(received.begin(),
                             received.begin() + static_cast<std::ptrdiff_t>(recorded.size()))) ==
                normalized(recorded))
            return mSocket.take(recorded.size());
    }
    if (received.size() < sizeof(audio_param)) return std::nullopt;
    const audio_param header = headerOf(received);
    const std::size_t payload = header.cmd == AUDIO_CMD_REGISTER ? 0 : header.length;
    if (payload > LARGEST_PAYLOAD) return mSocket.take(received.size());
    if (received.size() < sizeof header + payload) return std::nullopt;
    return mSocket.take(sizeof header + payload);
}

void ServerConnection::answer(const Bytes& message) {
    mProgress.touch();
    mReceived.push_back(message);
    const std::optional<std::size_t> place = matching(message);
    if (place) return answerAs(*place);
    const Bytes reply = mImprovise(mRecorded.type, message);
    if (reply.empty()) return close();
    send(reply);
}

/// The place of the recorded request that this one is. Requests may be missing before it, or come
/// later: threads of an application take turns.
std::optional<std::size_t> ServerConnection::matching(const Bytes& message) const {
    const std::size_t next = placeOf(Step::Kind::Request, mAt);
    if (next < end() && isAlike(stepAt(next).bytes, message)) return next;
    const Bytes wanted = normalized(message);
    for (const std::size_t place : mSkipped)
        if (normalized(stepAt(place).bytes) == wanted) return place;
    std::size_t place = next;
    for (std::size_t i = 0; i < MOST_MISSING && place < end(); ++i) {
        if (normalized(stepAt(place).bytes) == wanted) return place;
        place = placeOf(Step::Kind::Request, place + 1);
    }
    return std::nullopt;
}

void ServerConnection::answerAs(std::size_t place) {
    if (mReply) send(*std::exchange(mReply, std::nullopt));
    if (place >= mAt) advanceTo(place);
    std::erase(mSkipped, place);
    const Step& request = stepAt(place);
    mSince = Clock::now();
    const std::size_t nextRequest = placeOf(Step::Kind::Request, place + 1);
    const std::size_t reply = placeOf(Step::Kind::Reply, place + 1);
    if (reply >= nextRequest) {
        // The recorded server did not answer; it may have closed the connection.
        const std::size_t closed = placeOf(Step::Kind::Disconnected, mAt);
        if (closed < nextRequest && !request.fault.empty()) close();
        return;
    }
    Bytes answer = stepAt(reply).bytes;
    act(stepAt(place), reply, answer);
    mReply = std::move(answer);
    const bool isKept = mOptions.timing == Timing::Kept;
    const auto latency = nanoseconds(isKept ? stepAt(reply).timeNs - request.timeNs : 0);
    mReplyTime = mSince + std::chrono::duration_cast<Clock::duration>(latency);
    sendReply();
}

/// What the recorded server did about the request.
void ServerConnection::act(const Step& request, std::size_t reply, Bytes& answer) {
    const Bytes& recorded = stepAt(reply).bytes;
    const unsigned mode = mRecorded.isPlayback() ? SHM_MODE_READER : SHM_MODE_WRITER;
    switch (actionOf(mRecorded.type, functionOf(request.bytes).value_or(UINT32_MAX))) {
        case StreamAction::Create: {
            const auto create = recordAt<wire::CreateRequest>(request.bytes, sizeof(audio_param));
            mIsCoded = create.format.codecType != 0;
            const auto made = recordAt<wire::CreateReply>(recorded, FRAME_SIZE);
            if (made.status == 0 && made.ringSize > 0 && !hasAnnouncedRing(mRecorded.type))
                mRing = mRings.inSharedMemory(streamName(), made.ringSize, mode);
            break;
        }
        case StreamAction::Start:
            mIsWriteDone = false;
            break;
        case StreamAction::WriteDone:
            mIsWriteDone = true;
            break;
        case StreamAction::ShowRing:
            if (mRing)
                putAt(answer, FRAME_SIZE + offsetof(wire::ShareMemoryReply, address),
                      mRing->place().address);
            break;
        case StreamAction::ReleaseRing:
            moveSound();
            mRing.reset();
            break;
        case StreamAction::Stop:
        case StreamAction::None:
            break;
    }
}

/// The request at this place has come: everything before it happens now.
void ServerConnection::advanceTo(std::size_t place) {
    for (; mAt < place; ++mAt) {
        if (stepAt(mAt).kind == Step::Kind::Notification) notify(mAt);
        if (stepAt(mAt).kind != Step::Kind::Request) continue;
        mSkipped.push_back(mAt);
        mProgress.received(indexAt(mAt));
    }
    mProgress.received(indexAt(place));
    mThenNs = stepAt(place).timeNs;
    mAt = place + 1;
    mFeed.allowBefore(indexAt(placeOf(Step::Kind::Request, mAt)));
}

void ServerConnection::sendReply() {
    if (!mReply || Clock::now() < mReplyTime) return;
    Bytes reply = std::move(*mReply);
    mReply.reset();
    send(std::move(reply));
}

void ServerConnection::send(Bytes message) {
    putAt(message, offsetof(SocketFrameHeader, sendTimeUs), std::uint64_t{AudioTime::now()});
    if (!mSocket.send(message, mOptions.patience)) close();
}

// ---- Notifications ------------------------------------------------------------------------------

/// Up to the next request.
void ServerConnection::sendNotifications() {
    for (; isOpen() && mAt < end() && !mReply; ++mAt) {
        const Step& step = stepAt(mAt);
        if (step.kind == Step::Kind::Request) return;
        if (step.kind != Step::Kind::Notification) continue;
        if (!isDue(step) || !isReached(step, indexAt(mAt))) return;
        notify(mAt);
    }
}

void ServerConnection::notify(std::size_t place) {
    announce(place);
    moveSound();  // an uplink's ring may hold sound when the application maps it
    send(stepAt(place).bytes);
    ++mNotifications;
    mProgress.touch();
}

bool ServerConnection::isDue(const Step& step) const {
    if (mOptions.timing != Timing::Kept) return true;
    return Clock::now() - mSince >= nanoseconds(step.timeNs - mThenNs);
}

/// After the same requests, and the same amount of sound.
bool ServerConnection::isReached(const Step& step, std::size_t index) const {
    const bool hasMoved = mRecorded.isCapture() || mFeed.position() >= mFeed.before(index);
    const bool isOver = mIsWriteDone && (!mRing || mRing->used() == 0);
    return (hasMoved || isOver || isStalled(step)) && mProgress.isReached(index);
}

/// The application does no more before this step comes, for longer than the recorded one.
bool ServerConnection::isStalled(const Step& step) const {
    return mProgress.idle() > nanoseconds(step.timeNs - mThenNs) + GRACE;
}

/// Both sides find the ring by the name that the application has given now.
std::string ServerConnection::streamName() const {
    const audio_param header = headerOf(mReceived.front());
    return {std::begin(header.name),
            std::find(std::begin(header.name), std::end(header.name), '\0')};
}

/// Makes the ring that a notification tells of, in the size that the recorded server gave it.
void ServerConnection::announce(std::size_t place) {
    if (newsOf(mRecorded.type, frameOf(stepAt(place).bytes)) != RingNews::Ready || mRing) return;
    const auto asksForRing = [&](std::size_t at) {
        return stepAt(at).kind == Step::Kind::Request &&
               actionOf(mRecorded.type, functionOf(stepAt(at).bytes).value_or(UINT32_MAX)) ==
                   StreamAction::ShowRing;
    };
    std::size_t query = place + 1;
    while (query < end() && !asksForRing(query))
        ++query;
    const std::size_t reply = placeOf(Step::Kind::Reply, query);
    if (reply >= end()) return;
    const auto shown = recordAt<wire::ShareMemoryReply>(stepAt(reply).bytes, FRAME_SIZE);
    if (shown.status != 0 || shown.size == 0) return;
    mRing = mRings.inPhysicalMemory(streamName(), shown.size,
                                    mRecorded.isPlayback() ? SHM_MODE_READER : SHM_MODE_WRITER);
}

// ---- Sound --------------------------------------------------------------------------------------

void ServerConnection::moveSound() {
    if (!mRing) return;
    if (mOptions.timing == Timing::Kept) {
        const auto elapsed = std::chrono::duration_cast<nanoseconds>(Clock::now() - mSince);
        mFeed.setTime(mThenNs + static_cast<std::uint64_t>(elapsed.count()));
    }
    if (mRecorded.isPlayback()) {
        takeSound();
        takeSurplus();
    } else {
        giveSound();
    }
}

void ServerConnection::takeSound() {
    std::array<std::uint8_t, 16384> piece;
    while (true) {
        const std::size_t wanted = std::min({mFeed.due(), mFeed.piece(), piece.size()});
        const std::size_t count = wanted > 0 ? mRing->read(std::span(piece).first(wanted)) : 0;
        if (count == 0) return;
        mSound.compare(mFeed.position(), mFeed.next(count), std::span(piece).first(count));
        mSound.addTaken(count);
        mFeed.moved(count);
        mMovedBytes += count;
        mProgress.touch();
    }
}

/// An application that has written as much as recorded sends its next request. If it waits for
/// space instead, it writes more than was recorded.
void ServerConnection::takeSurplus() {
    if (!mFeed.isDone()) return;
    const std::size_t next = placeOf(Step::Kind::Request, mAt);
    const bool isExpected = next < end() && !isStalled(stepAt(next));
    const bool isOver = next >= end() && mProgress.idle() > GRACE;
    mTakesSurplus |= mRing->isWriterWaiting() && ((next < end() && !isExpected) || isOver);
    std::array<std::uint8_t, 16384> piece;
    while (mTakesSurplus) {
        const std::size_t count = mRing->read(piece);
        if (count == 0) return;
        mSound.addSurplus(count);
        mMovedBytes += count;
        mProgress.touch();
    }
}

void ServerConnection::giveSound() {
    while (true) {
        const std::size_t wanted = std::min(mFeed.due(), mFeed.piece());
        if (wanted == 0) return;
        const std::span<const std::uint8_t> bytes = mFeed.next(wanted);
        // Zeros are no frames. Without any frame the library gives silence.
        if (bytes.empty() && mIsCoded) return mFeed.skip();
        const std::size_t count = bytes.empty() ? mRing->writeSilence(wanted) : mRing->write(bytes);
        if (count == 0) return;
        mFeed.moved(count);
        mMovedBytes += count;
        mProgress.touch();
    }
}

Clock::time_point ServerConnection::nextTime() const {
    auto next = Clock::time_point::max();
    const auto at = [&](std::uint64_t timeNs) {
        return mSince + std::chrono::duration_cast<Clock::duration>(
                            nanoseconds(timeNs > mThenNs ? timeNs - mThenNs : 0));
    };
    if (mReply) next = std::min(next, mReplyTime);
    if (mOptions.timing != Timing::Kept) return next;
    if (mRing && mFeed.nextTime() != UINT64_MAX) next = std::min(next, at(mFeed.nextTime()));
    if (mAt < end() && stepAt(mAt).kind == Step::Kind::Notification && !isDue(stepAt(mAt)))
        next = std::min(next, at(stepAt(mAt).timeNs));
    return next;
}

}  // namespace cabinaudio::replay
