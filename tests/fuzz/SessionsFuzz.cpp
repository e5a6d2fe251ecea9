// SPDX-License-Identifier: Apache-2.0
//
// Whole lives of streams: a list of operations on one side, and on the other a server that answers
// well or badly, announces and withdraws rings, and writes into their headers.
#include <cabinaudio/link/LinkPolicy.h>

#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "tests/hostile/HostileServer.h"
#include "tests/support/kinds/StreamKinds.h"
#include "wire/Frame.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <memory>

namespace cabinaudio::fuzz {
namespace {

using test::Bytes;
using test::HostileServer;
using test::Move;

constexpr int MOST_OPERATIONS = 32;
constexpr std::size_t KINDS = 5;

/// The server's part of the input. It may still be looking at it when the client has gone.
struct Answers {
    Answers(const std::uint8_t* data, std::size_t size)
        : bytes(data, data + size), input(bytes.data(), bytes.size()) {}

    Bytes bytes;
    Input input;
};

void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

/// What the server does about a message, by the next bytes of its own part of the input.
Move moveOf(Input& input, const Bytes& good) {
    const std::uint8_t choice = input.byte();
    Bytes bytes;
    if (choice % 8 == 1 || choice % 8 == 2)
        for (int left = choice / 64; left >= 0; --left)
            append(bytes,
                   test::ScriptedServer::frame(HEADER_NOTIFY, input.byte() % 6, input.byte() % 2));
    append(bytes, good);
    if (choice % 16 == 7 && bytes.size() >= 4) {  // a wrong number somewhere
        const std::size_t at = input.byte() % (bytes.size() / 4) * 4;
        const std::uint32_t numbers[] = {0, 1, 64, 4095, 4096, 4097, 0x10000, 0xffffffff};
        const std::uint32_t number = numbers[input.byte() % 8];
        std::memcpy(&bytes[at], &number, sizeof number);
    }
    if (choice == 240) bytes.resize(input.byte() % bytes.size());
    if (choice == 241) return {bytes, Move::End::Closes};
    if (choice == 242) return {{}, Move::End::Closes};
    if (choice == 243) bytes.resize(bytes.size() + input.byte());
    return {bytes};
}

/// A word into the header of the stream's ring.
void scribble(const test::StreamKind& kind, Input& input) {
    const int fd = shm_open(("/" + kind.ringObject("fuzz")).c_str(), O_RDWR, 0);
    if (fd < 0) return;
    const std::uint32_t numbers[] = {0, 1, 63, 64, 2000, 4095, 4096, 0xffffffff};
    const std::uint32_t number = numbers[input.byte() % 8];
    const off_t at = input.byte() % 3 * 4;
    demand(pwrite(fd, &number, sizeof number, at) == sizeof number, "a header can be written");
    close(fd);
}

void move(test::AnyStream& stream, Input& input) {
    if (stream.getTotalBufferSize() == 0) return;  // a track would wait for its ring
    const int count = 1 + input.number<std::uint16_t>() % 5000;
    const auto bytes = std::make_unique<unsigned char[]>(static_cast<std::size_t>(count));
    demand(stream.move(bytes.get(), count, false) <= count, "no more is moved than was asked for");
}

void operate(test::AnyStream& stream, const test::StreamKind& kind, Input& input) {
    switch (input.byte() % 10) {
        case 0:
            (void)stream.initCheck();
            break;
        case 1:
        case 2:
            (void)stream.start();
            break;
        case 3:
            (void)stream.stop();
            break;
        case 4:
            (void)stream.clear();
            break;
        case 5:
            (void)stream.available();
            break;
        case 6:
            (void)stream.ask();
            break;
        case 7:
            scribble(kind, input);
            break;
        default:
            move(stream, input);
    }
}

}  // namespace
}  // namespace cabinaudio::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cabinaudio::fuzz;
    static HostileServer server;
    cabinaudio::setLinkPolicy({std::chrono::milliseconds(20), true, true});
    if (size < 2) return 0;
    const auto& kind = cabinaudio::test::streamKinds()[data[0] % KINDS];
    const std::size_t ours = 1 + (size - 1) / 2;
    Input operations(data + 1, ours - 1);
    server.plan("fuzz", [answers = std::make_shared<Answers>(data + ours, size - ours)](
                            std::size_t, const Bytes& good) {
        return answers->input.empty() ? Move{good} : moveOf(answers->input, good);
    });
    const auto stream = kind.create("fuzz");
    for (int i = 0; i < MOST_OPERATIONS && !operations.empty(); ++i)
        operate(*stream, kind, operations);
    return 0;
}
