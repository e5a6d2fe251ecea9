// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "devkit/replay/Fields.h"
#include "devkit/replay/Options.h"
#include "devkit/replay/Progress.h"
#include "devkit/replay/Ring.h"
#include "devkit/replay/RingMaker.h"
#include "devkit/replay/Socket.h"
#include "devkit/replay/SoundCheck.h"
#include "devkit/replay/SoundFeed.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::replay {

/// A connection of the application, answered as the recorded connection was.
class ServerConnection {
public:
    /// A request that the recorded application has not sent at this place.
    using Improvise = std::function<Bytes(std::uint32_t type, const Bytes& request)>;

    ServerConnection(Socket socket, const Conversation& conversation, std::size_t index,
                     const Options& options, Progress& progress, RingMaker& rings,
                     Improvise improvise);

    [[nodiscard]] std::size_t index() const { return mIndex; }
    [[nodiscard]] bool isOpen() const { return mSocket.isOpen(); }
    [[nodiscard]] int fd() const { return mSocket.fd(); }

    /// Takes what the application has sent, sends what is due, and moves sound.
    void turn();
    /// When turn() must be called although nothing arrives.
    [[nodiscard]] Clock::time_point nextTime() const;
    void close();

    /// Messages of the application, the registration first.
    [[nodiscard]] const std::vector<Bytes>& received() const { return mReceived; }
    [[nodiscard]] const SoundCheck& sound() const { return mSound; }
    [[nodiscard]] std::size_t notifications() const { return mNotifications; }
    [[nodiscard]] std::uint64_t movedBytes() const { return mMovedBytes; }

private:
    [[nodiscard]] const Step& stepAt(std::size_t place) const {
        return mConversation.steps[mRecorded.steps[place]];
    }
    [[nodiscard]] std::size_t placeOf(Step::Kind kind, std::size_t from) const;
    [[nodiscard]] std::size_t end() const { return mRecorded.steps.size(); }
    /// Index of the step at this place; that behind the conversation at the end.
    [[nodiscard]] std::size_t indexAt(std::size_t place) const;

    [[nodiscard]] std::optional<Bytes> nextMessage();
    void answer(const Bytes& message);
    [[nodiscard]] std::optional<std::size_t> matching(const Bytes& message) const;
    void answerAs(std::size_t place);
    void advanceTo(std::size_t place);
    void act(const Step& request, std::size_t reply, Bytes& answer);
    void sendReply();

    void sendNotifications();
    void notify(std::size_t place);
    [[nodiscard]] bool isDue(const Step& step) const;
    [[nodiscard]] bool isReached(const Step& step, std::size_t index) const;
    [[nodiscard]] bool isStalled(const Step& step) const;
    [[nodiscard]] std::string streamName() const;
    void announce(std::size_t place);

    void moveSound();
    void takeSound();
    void giveSound();
    void takeSurplus();
    void send(Bytes message);

    Socket mSocket;
    const Conversation& mConversation;
    const std::size_t mIndex;
    const RecordedConnection& mRecorded;
    const Options& mOptions;
    Progress& mProgress;
    RingMaker& mRings;
    Improvise mImprovise;

    std::vector<Bytes> mReceived;
    std::vector<std::size_t> mSkipped;  // places of requests that have not come
    std::size_t mAt = 0;                // place of the next step
    std::uint64_t mThenNs = 0;          // recorded time of the latest request that was matched
    Clock::time_point mSince;           // when it came
    std::optional<Bytes> mReply;        // that waits for its time
    Clock::time_point mReplyTime;
    std::size_t mNotifications = 0;

    SoundFeed mFeed;
    SoundCheck mSound;
    std::unique_ptr<Ring> mRing;
    bool mIsCoded = false;
    bool mIsWriteDone = false;
    bool mTakesSurplus = false;
    std::uint64_t mMovedBytes = 0;
};

}  // namespace cabinaudio::replay
