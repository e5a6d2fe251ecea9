// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/control/Commands.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/requests/ReplyFaults.h"
#include "devkit/server/streams/CaptureRegistry.h"
#include "devkit/server/streams/StreamRegistry.h"

#include <functional>
#include <string>

namespace cabinaudio::server {

/// The commands that change something: events that streams and the server meet on a board.
class RemoteControl {
public:
    RemoteControl(EventLoop& loop, StreamRegistry& streams, CaptureRegistry& captures,
                  ReplyFaults& replyFaults)
        : mLoop(loop), mStreams(streams), mCaptures(captures), mReplyFaults(replyFaults) {}

    void addTo(Commands& commands);

private:
    std::string removeStream(const std::string& name);
    std::string withSink(const std::string& name,
                         const std::function<void(PlaybackStream& sink)>& act);
    std::string switchUplinkRing(const std::string& argument);
    std::string announceRing(const std::string& name);
    std::string stall(const std::string& argument);
    std::string damageReply(ReplyDamage damage, const std::string& argument);
    std::string crash(const std::string& argument);

    EventLoop& mLoop;
    StreamRegistry& mStreams;
    CaptureRegistry& mCaptures;
    ReplyFaults& mReplyFaults;
};

}  // namespace cabinaudio::server
