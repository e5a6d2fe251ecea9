// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Stream.h"
#include "wire/Settings.h"

#include <unistd.h>

namespace cabinaudio::contract {

namespace {

void afterReply(Session& session) {
    Connection connection(session, AUDIO_CONNECT_AUXILIARY, session.rule);
    wire::CreateRequest request = {};
    request.function = idOf(wire::StreamFunction::Create);
    request.tag = AUDIO_CONNECT_AUXILIARY;
    request.format = plainFormat();
    request.pid = getpid();
    connection.sendRequest(join(request));
    const SocketFrameHeader first = connection.frame();
    require(
        first.headerId == HEADER_REPLY, "the reply to the creation first",
        "header id " + std::to_string(first.headerId) + ", event " + std::to_string(first.event));
    (void)connection.receive(sizeof(wire::CreateReply));
    (void)connection.await(idOf(wire::TrackEvent::RingReady), "the ring is ready");
}

void alone(Session& session) {
    PlaybackStream stream(session, AUXILIARY);
    const SocketFrameHeader told =
        stream.connection().await(idOf(wire::TrackEvent::RingReady), "the ring is ready");
    const Bytes unused = join(told.spare12, told.spare28);
    require(unused == Bytes(unused.size()), "zeros in the unused bytes of a notification",
            hexText(unused));
    // The next frame begins right behind the notification.
    stream.call(wire::StreamFunction::InitCheck, "init check after a notification");
}

/// A change of a setting is no event for other clients.
void noneOnSettings(Session& session) {
    Connection listener(session, AUDIO_CONNECT_VOLUME_SETTING, wire::NAME_UNKNOWN);
    Connection reader(session, AUDIO_CONNECT_VOLUME_SETTING, wire::NAME_UNKNOWN);
    using Id = wire::VolumeFunction;
    const Bytes question = join(idOf(Id::GetMasterGain));
    const auto reply = recordAt<wire::GainReply>(reader.request(question, sizeof(wire::GainReply)));
    if (reply.status != 0) throw NotJudged("the server does not tell the volume");
    (void)reader.status(join(idOf(Id::SetMasterGain), reply.gain));
    listener.sendRequest(question);
    const SocketFrameHeader first = listener.frame();
    require(first.headerId == HEADER_REPLY, "no notification on a settings connection",
            "event " + std::to_string(first.event));
}

}  // namespace

void addNotificationRules(Rules& rules) {
    rules.push_back({"notification.after_reply",
                     "A stream's first notification follows the reply to its creation.",
                     CONVERSATION, Effect::Changes, afterReply});
    rules.push_back({"notification.alone", "A notification is a header without a body.", MESSAGES,
                     Effect::Changes, alone});
    rules.push_back({"notification.none_on_settings", "Settings connections get no notifications.",
                     SETTINGS, Effect::Changes, noneOnSettings});
}

}  // namespace cabinaudio::contract
