// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/ClientConnection.h"

#include <cabinaudio/foundation/AudioTime.h>

#include "devkit/replay/Message.h"
#include "wire/Stream.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace cabinaudio::replay {

namespace {

bool beginsFrame(const Bytes& bytes) {
    return recordAt<std::uint32_t>(bytes, 0) == FRAME_MAGIC;
}

}  // namespace

ClientConnection::ClientConnection(const Conversation& conversation, std::size_t index,
                                   Waker& waker)
    : mRecorded(conversation.connections[index]), mWaker(waker), mFeed(conversation, index) {}

void ClientConnection::connect() {
    mSocket.emplace(connectToServer());
}

void ClientConnection::close() {
    mRing.reset();
    if (mSocket) mSocket->close();
}

bool ClientConnection::send(const Step& step, std::chrono::milliseconds bound) {
    Bytes message = step.bytes;
    audio_param header = headerOf(message);
    const std::optional<std::uint32_t> function = functionOf(message);
    if (header.cmd != AUDIO_CMD_REGISTER && header.handle == mRecorded.handle) {
        header.handle = mHandle;
        putAt(message, offsetof(audio_param, handle), header.handle);
    }
    if (step.fault.empty())
        putAt(message, offsetof(audio_param, timestamp), std::uint64_t{AudioTime::now()});
    if (function && actionOf(mRecorded.type, *function) == StreamAction::Create)
        putAt(message, sizeof header + offsetof(wire::CreateRequest, pid),
              static_cast<std::int32_t>(getpid()));
    if (function && actionOf(mRecorded.type, *function) == StreamAction::ReleaseRing) mRing.reset();
    mIsLost |= !mSocket->send(message, bound);
    return !mIsLost;
}

void ClientConnection::receive() {
    if (!isConnected()) return;
    if (mSocket->receive() == Socket::State::Closed) mIsLost = true;
    parse();
}

void ClientConnection::parse() {
    Bytes& received = mSocket->received();
    while (received.size() >= FRAME_SIZE) {
        const SocketFrameHeader frame = frameOf(received);
        if (frame.magic == FRAME_MAGIC && frame.headerId == HEADER_NOTIFY) {
            mNotifications.push_back({mArrivals++, mSocket->take(FRAME_SIZE)});
            actOnNotification(mNotifications.back().message);
            continue;
        }
        const std::size_t size = FRAME_SIZE + mExpectedBody.value_or(0);
        if (received.size() < size) return;
        Bytes reply = mSocket->take(mExpectedBody ? size : received.size());
        // The next frame begins with its magic word; anything else belongs to this reply.
        if (!received.empty() && !beginsFrame(received)) {
            const Bytes surplus = mSocket->take(received.size());
            reply.insert(reply.end(), surplus.begin(), surplus.end());
        }
        mReplies.push_back(std::move(reply));
    }
}

std::optional<Bytes> ClientConnection::takeReply(bool isOver) {
    if (mReplies.empty()) {
        if (!isOver || !mSocket || mSocket->received().empty()) return std::nullopt;
        return mSocket->take(mSocket->received().size());
    }
    Bytes reply = std::move(mReplies.front());
    mReplies.pop_front();
    return reply;
}

void ClientConnection::actOnReply(const Step& request, const Bytes& reply) {
    if (isRegistration(request.bytes)) {
        mHandle = recordAt<wire::RegistrationReply>(reply, FRAME_SIZE).handle;
        return;
    }
    const StreamAction action =
        actionOf(mRecorded.type, functionOf(request.bytes).value_or(UINT32_MAX));
    if (action == StreamAction::Create && !hasAnnouncedRing(mRecorded.type)) {
        const auto made = recordAt<wire::CreateReply>(reply, FRAME_SIZE);
        if (made.status == 0 && made.ringSize > 0)
            mapRing({mRecorded.name, made.ringSize, false, 0});
    }
    if (action == StreamAction::ShowRing) {
        const auto shown = recordAt<wire::ShareMemoryReply>(reply, FRAME_SIZE);
        if (shown.status == 0 && shown.size > 0)
            mapRing({mRecorded.name, shown.size, true, shown.address});
    }
}

void ClientConnection::mapRing(const Ring::Place& place) {
    if (mRing && mRing->isAt(place)) return;
    mRing.reset();
    auto made = std::make_unique<Ring>(mWaker, place,
                                       mRecorded.isPlayback() ? SHM_MODE_WRITER : SHM_MODE_READER);
    if (made->isUsable()) mRing = std::move(made);
}

/// A withdrawn ring is released with the recorded acknowledgement. Until then an application
/// discards its sound.
void ClientConnection::actOnNotification(const Bytes& notification) {
    if (newsOf(mRecorded.type, frameOf(notification)) == RingNews::Withdrawn) mRing.reset();
}

std::size_t ClientConnection::move() {
    std::size_t moved = 0;
    while (mRing) {
        const std::size_t wanted = std::min(mFeed.due(), mFeed.piece());
        if (wanted == 0) break;
        std::size_t count = 0;
        if (mRecorded.isPlayback()) {
            const std::span<const std::uint8_t> bytes = mFeed.next(wanted);
            count = bytes.empty() ? mRing->writeSilence(wanted) : mRing->write(bytes);
        } else {
            std::array<std::uint8_t, 16384> heard;
            count = mRing->read(std::span(heard).first(std::min(wanted, heard.size())));
        }
        mFeed.moved(count);
        moved += count;
        if (count == 0) break;
    }
    return moved;
}

}  // namespace cabinaudio::replay
