// SPDX-License-Identifier: Apache-2.0
//
// The development server in this process, and clients that keep to no rule: messages cut, mixed and
// made up, rings written to and cut off. After each input a good client must be served.
#include "devkit/server/Options.h"
#include "devkit/server/Server.h"
#include "devkit/server/base/Log.h"
#include "devkit/server/rings/MemoryFault.h"
#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "tests/support/LocalSocket.h"
#include "wire/Frame.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::fuzz {
namespace {

constexpr int PATIENCE_MS = 60000;
constexpr int MOST_STEPS = 32;
constexpr std::uint32_t TYPES[] = {0, 1, 2, 3, 64, 65, 128, 129, 130, 131, 132, 133};

/// Runs to the end of the process.
void startServer() {
    server::log::setLevel(server::log::Level::Error);
    server::memory_fault::install();
    server::Options options;
    options.output = "null";
    options.time.mode = server::TimeMode::Fast;
    auto* const server = new server::Server(options);
    std::thread([server] { server->run(); }).detach();
}

class FuzzedClient {
public:
    /// What is no message: from here on the server may take the rest of one for anything.
    void sendGarbage(const Bytes& bytes) {
        mIsInStep = false;
        (void)send(bytes);
    }

    bool send(const Bytes& bytes) const {
        return ::send(mFd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }

    /// Waits for an answer of at least this length. @return empty when the connection has ended
    Bytes receive(std::size_t least) const {
        Bytes bytes(65536);
        std::size_t count = 0;
        while (count < least) {
            demand(test::isReadable(mFd.get(), PATIENCE_MS), "the server answers or closes");
            const ssize_t got = ::recv(mFd.get(), bytes.data() + count, bytes.size() - count, 0);
            if (got <= 0) return {};
            count += static_cast<std::size_t>(got);
        }
        bytes.resize(count);
        return bytes;
    }

    void registerAs(std::uint32_t type, std::string name) {
        mType = type;
        mName = std::move(name);
        audio_param header = {};
        header.cmd = AUDIO_CMD_REGISTER;
        header.type = type;
        header.handle = AUDIO_REGISTER_WORD;
        header.length = sizeof header.name;
        mName.copy(header.name, sizeof header.name - 1);
        Bytes message;
        append(message, header);
        if (!send(message) || !mIsInStep) return;
        const Bytes answer = receive(sizeof(SocketFrameHeader) + sizeof(wire::RegistrationReply));
        wire::RegistrationReply reply = {};
        if (answer.size() < sizeof(SocketFrameHeader) + sizeof reply) return;
        std::memcpy(&reply, answer.data() + sizeof(SocketFrameHeader), sizeof reply);
        mHandle = reply.handle;
    }

    [[nodiscard]] Bytes request(const Bytes& payload) const {
        audio_param header = {};
        header.cmd = AUDIO_CMD_CALL_FLAG;
        header.type = mType;
        header.handle = mHandle;
        header.length = static_cast<std::uint32_t>(payload.size());
        Bytes message;
        append(message, header);
        message.insert(message.end(), payload.begin(), payload.end());
        return message;
    }

    [[nodiscard]] std::uint32_t type() const { return mType; }
    [[nodiscard]] const std::string& name() const { return mName; }

private:
    server::UniqueFd mFd = test::connectTo(wire::SERVER_SOCKET);
    std::uint32_t mType = 0;
    std::uint32_t mHandle = 0;
    bool mIsInStep = true;
    std::string mName;
};

/// A good client: the server is alive, and has handled all that came before.
void askForVersion() {
    FuzzedClient client;
    client.registerAs(AUDIO_CONNECT_VERSION_SETTING, "good");
    Bytes payload;
    append(payload, wire::FunctionRequest{0});
    demand(client.send(client.request(payload)), "a good client's request is taken");
    demand(!client.receive(sizeof(SocketFrameHeader) + sizeof(wire::VersionReply)).empty(),
           "a good client is served");
}

Bytes createPayload(const FuzzedClient& client, Input& input) {
    const bool isCapture = client.type() >= 64;
    wire::CreateRequest request = {};
    request.function = isCapture ? 2 : 21;
    request.tag = client.type();
    const std::uint32_t rates[] = {8000, 16000, 44100, 48000, 192000, 0, 7, 0xffffffff};
    const std::uint32_t codecs[] = {0, 0, 0, 16, 32, 65, 1, 0xffffffff};
    request.format.codecType = codecs[input.byte() % 8];
    request.format.sampleRate = rates[input.byte() % 8];
    const std::uint8_t choice = input.byte();
    std::uint32_t words[6];
    std::memcpy(words, &request.format, sizeof words);
    words[2] = choice < 250 ? 0 : input.number<std::uint32_t>();
    words[3] = choice % 9;
    words[5] = choice % 5;
    std::memcpy(&request.format, words, sizeof words);
    Bytes payload;
    append(payload, request);
    return payload;
}

/// A function id that may exist and words that may mean something.
Bytes payloadOf(const FuzzedClient& client, Input& input) {
    const std::uint8_t choice = input.byte();
    if (choice < 64 && client.type() < 128) return createPayload(client, input);
    Bytes payload;
    append(payload, std::uint32_t{choice >= 248 ? 4096U + choice % 4 : choice % 48U});
    const std::uint8_t length = input.byte();
    if (length >= 160) {  // texts, as the settings have them
        payload.resize(4 + std::size_t{64} * (length % 4));
        for (std::size_t at = 4; at < payload.size(); at += 64) {
            constexpr const char* TEXTS[] = {"main", "media", "auxiliary", "alternative", "x"};
            const char* const text = TEXTS[input.byte() % 5];
            std::memcpy(&payload[at], text, std::strlen(text));
        }
    }
    for (int left = length % 32; left > 0; --left)
        payload.push_back(input.byte());
    return payload;
}

/// Writes into the object of a ring, or changes its length.
void harm(const FuzzedClient& client, Input& input) {
    const std::uint8_t choice = input.byte();
    char object[96];
    if (client.type() == 1 || (client.type() >= 64 && client.type() != 65))
        std::snprintf(object, sizeof object, "/%s", client.name().c_str());
    else
        std::snprintf(object, sizeof object, "/%s_0x%x", client.name().c_str(),
                      0x40000000U + 0x1000U * (choice % 8));
    const int fd = shm_open(object, O_RDWR, 0);
    if (fd < 0) return;
    const std::uint32_t numbers[] = {0, 1, 63, 400, 4096, 24575, 24576, 0xffffffff};
    const std::uint32_t number = numbers[input.byte() % 8];
    if (choice < 16)
        demand(ftruncate(fd, choice % 2 == 0 ? 0 : 4096) == 0, "an object is shortened");
    else
        (void)!pwrite(fd, &number, sizeof number, choice % 16 * 4);
    close(fd);
}

/// What one of the clients does next.
void step(std::vector<FuzzedClient>& clients, Input& input) {
    const std::uint8_t choice = input.byte();
    FuzzedClient& client = clients[choice % clients.size()];
    if (choice < 24) {
        clients.erase(clients.begin() + static_cast<std::ptrdiff_t>(choice % clients.size()));
        clients.emplace_back();
    } else if (choice < 72) {
        const char* const names[] = {"a", "b", "", "/", "cabinaudio-physmem", "music", "x/y", "."};
        client.registerAs(input.byte() < 250 ? TYPES[input.byte() % std::size(TYPES)] : 77,
                          names[input.byte() % 8]);
    } else if (choice < 88) {
        Bytes bytes(input.byte());
        for (std::uint8_t& byte : bytes)
            byte = input.byte();
        client.sendGarbage(bytes);
    } else if (choice < 112) {
        Bytes message = client.request(payloadOf(client, input));
        message.resize(input.byte() % (message.size() + 1));
        client.sendGarbage(message);
    } else if (choice < 136) {
        harm(client, input);
    } else {
        (void)client.send(client.request(payloadOf(client, input)));
    }
}

}  // namespace
}  // namespace cabinaudio::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cabinaudio::fuzz;
    static const bool isStarted = [] {
        startServer();
        return true;
    }();
    demand(isStarted, "there is a server");
    Input input(data, size);
    {
        std::vector<FuzzedClient> clients;
        clients.emplace_back();
        clients.emplace_back();
        for (int i = 0; i < MOST_STEPS && !input.empty(); ++i)
            step(clients, input);
        askForVersion();
    }
    return 0;
}
