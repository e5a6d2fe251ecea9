// SPDX-License-Identifier: Apache-2.0
#include "bench/call/PingPong.h"

#include <cabinaudio/foundation/AudioConnectType.h>

#include "bench/support/Errors.h"
#include "bench/support/ServerAddress.h"

#include <sys/socket.h>
#include <unistd.h>

namespace cabinaudio::bench {

PingPong::PingPong() : mSocket(checked(socket(AF_UNIX, SOCK_STREAM, 0), "socket")) {
    const ServerAddress address;
    checked(connect(mSocket, address.get(), address.length()), "connect");
    mMessage.header.cmd = AUDIO_CMD_CALL_FLAG;
    mMessage.header.type = AUDIO_CONNECT_VOLUME_SETTING;
    mMessage.header.length = sizeof mMessage.payload;
}

PingPong::~PingPong() {
    close(mSocket);
}

bool PingPong::roundTrip() {
    return send(mSocket, &mMessage, sizeof mMessage, MSG_NOSIGNAL) == ssize_t{sizeof mMessage} &&
           recv(mSocket, &mAnswer, ANSWER_BYTES, MSG_NOSIGNAL) == ssize_t{ANSWER_BYTES};
}

}  // namespace cabinaudio::bench
