// SPDX-License-Identifier: Apache-2.0
//
// What a server sends to one connection, of any type: bytes behind a good answer to the
// registration, or instead of it. The client asks twice, and is told what comes.
#include <cabinaudio/link/LinkPolicy.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Peer.h"
#include "wire/Frame.h"

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace cabinaudio::fuzz {
namespace {

constexpr std::size_t MOST = 4096;

void sendAll(int connection, const Bytes& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) return;
        sent += static_cast<std::size_t>(count);
    }
}

/// Serves one connection: sends all it has, and is silent until the client has gone.
void serve(const Listener& listener, const Bytes& bytes) {
    const int connection = listener.accept();
    sendAll(connection, bytes);
    ::shutdown(connection, SHUT_WR);
    std::uint8_t chunk[4096];
    while (::recv(connection, chunk, sizeof chunk, 0) > 0) {
    }
    ::close(connection);
}

/// Frames with the numbers of the input, most of them well formed; plain bytes in between.
Bytes bytesOf(Input& input) {
    Bytes bytes;
    if (input.byte() % 8 != 7) {
        append(bytes, SocketFrameHeader{FRAME_MAGIC, HEADER_REPLY, 0, 0, 0, 0, 0});
        append(bytes, wire::RegistrationReply{0, 1});
    }
    while (!input.empty() && bytes.size() < MOST) {
        const std::uint8_t choice = input.byte();
        if (choice < 160) {
            SocketFrameHeader header = {FRAME_MAGIC, choice % 4U / 2, 0, 0, 0, 0, 0};
            header.event = input.byte() % 8 == 7 ? input.number<std::uint32_t>() : choice / 4U;
            header.param = input.byte();
            if (choice % 32 == 31) header.magic = input.number<std::uint32_t>();
            if (choice % 32 == 30) header.headerId = input.number<std::uint32_t>();
            append(bytes, header);
        } else {
            for (int left = choice % 16; left > 0; --left)
                bytes.push_back(input.byte());
        }
    }
    return bytes;
}

}  // namespace
}  // namespace cabinaudio::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cabinaudio::fuzz;
    static const Listener listener;
    cabinaudio::setLinkPolicy({std::chrono::seconds(2), true, true});
    Input input(data, size);
    constexpr audio_connect_type TYPES[] = {
        AUDIO_CONNECT_MAIN,          AUDIO_CONNECT_ALTERNATIVE,     AUDIO_CONNECT_AUXILIARY,
        AUDIO_CONNECT_INPUT0,        AUDIO_CONNECT_UPLINK,          AUDIO_CONNECT_APP_SETTING,
        AUDIO_CONNECT_MIXER_SETTING, AUDIO_CONNECT_VERSION_SETTING, AUDIO_CONNECT_UNKNOWN};
    const audio_connect_type type = TYPES[input.byte() % std::size(TYPES)];
    const std::size_t frames = 1 + size / 2 + MOST / sizeof(SocketFrameHeader);
    const Bytes bytes = bytesOf(input);
    std::thread peer([&] { serve(listener, bytes); });

    std::atomic<std::size_t> told{0};
    {
        RemoteCall call(
            type,
            [](void* opaque, unsigned, unsigned) {
                ++*static_cast<std::atomic<std::size_t>*>(opaque);
            },
            &told, "fuzz");
        std::int32_t value = 0;
        (void)call.callFuncId(6, true);
        (void)call.callFuncId(7, &value, false);
        (void)call.initCheck();
    }
    peer.join();
    demand(told <= frames, "no more notifications than frames, and one for the end");
    return 0;
}
