// SPDX-License-Identifier: Apache-2.0
//
// What a server puts into the ring of a live uplink, of each codec: frames whose lengths say
// anything, halves of frames, noise.
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "tests/hostile/HostileServer.h"
#include "tests/support/ServerRing.h"

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::fuzz {
namespace {

using test::HostileServer;

constexpr std::uint32_t LENGTH = HostileServer::RING_BYTES;
/// read() wants room for whatever frame the ring can hold; and what is due must have room for a
/// packet of silence.
constexpr int READ_ROOM = LENGTH;
constexpr int LEAST = 64;

struct Format {
    std::uint32_t codec;
    std::uint32_t rate;
};
constexpr Format FORMATS[] = {{0, 16000}, {16, 16000}, {32, 16000}, {32, 48000}, {65, 16000}};

/// An uplink that has a ring and is started.
class LiveUplink {
public:
    explicit LiveUplink(std::size_t which)
        : mIsCoded(FORMATS[which].codec != 0),
          mName("uplink" + std::to_string(which)),
          mRing(test::physicalRing(mName.c_str(), LENGTH)) {
        AudioFormatDesc format = {
            FORMATS[which].codec, FORMATS[which].rate, 0, AUDIO_CHANNEL_MAP_1, 0,
            AUDIO_BIT_DEPTH_16};
        mUplink = std::make_unique<ClientRecordRt>(mName.c_str(), AUDIO_TAG_UPLINK, format);
        demand(mUplink->initCheck() == AUDIO_NO_ERROR, "an uplink is made");
        demand(mUplink->start() == AUDIO_NO_ERROR, "an uplink starts");
        while (mUplink->getTotalBufferSize() == 0)
            std::this_thread::yield();
    }

    void run(Input& input) {
        mRing->clear();
        for (int i = 0; i < MOST_STEPS && !input.empty(); ++i)
            step(input);
        // Whatever is left, until nothing is taken any more.
        for (int i = 0; i < MOST_STEPS; ++i)
            readFrame(LENGTH);
    }

private:
    static constexpr int MOST_STEPS = 24;

    void step(Input& input) {
        const std::uint8_t choice = input.byte();
        if (choice < 128)
            put(frame(input, choice % 4 == 3));
        else if (choice < 160)
            put(test::Bytes(input.byte(), choice));
        else if (choice < 208)
            read(LEAST + input.number<std::uint16_t>() % (READ_ROOM - LEAST + 1));
        else
            readFrame(1 + input.number<std::uint16_t>() % LENGTH);
    }

    /// A header of the input's bytes, mostly with the length of what follows.
    static test::Bytes frame(Input& input, bool lies) {
        const std::uint8_t length = input.byte();
        test::Bytes bytes = {0, 0, 0, length, 1, 2, 3, 4};
        if (lies)
            for (int i = 0; i < 8; ++i)
                bytes[static_cast<std::size_t>(i)] = input.byte();
        if (length % 16 == 15) bytes = {0x56, 0xe0, length};  // LOAS
        bytes.resize(bytes.size() + length, 0xab);
        return bytes;
    }

    void put(const test::Bytes& bytes) {
        mRing->write(bytes.data(), static_cast<unsigned>(bytes.size()));
    }

    void read(int count) {
        const int due = mUplink->bytesUsed();
        if (mIsCoded && due > 0 && due < LEAST) return;
        const auto room = std::make_unique<unsigned char[]>(READ_ROOM);
        const int got = mUplink->read(room.get(), count, false);
        demand(got <= (mIsCoded ? READ_ROOM : count), "a frame fits the ring");
    }

    void readFrame(int capacity) {
        const auto room = std::make_unique<unsigned char[]>(static_cast<std::size_t>(capacity));
        demand(mUplink->readFrame(room.get(), capacity, false) <= capacity,
               "a frame fits the buffer");
    }

    bool mIsCoded;
    std::string mName;
    std::unique_ptr<ShareMemoryEx> mRing;
    std::unique_ptr<ClientRecordRt> mUplink;
};

}  // namespace
}  // namespace cabinaudio::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cabinaudio::fuzz;
    static const bool isBounded = [] {
        cabinaudio::setLinkPolicy({std::chrono::seconds(60), true, true});
        return true;
    }();
    static HostileServer server;
    static std::vector<std::unique_ptr<LiveUplink>> uplinks = [] {
        std::vector<std::unique_ptr<LiveUplink>> all;
        for (std::size_t i = 0; i < std::size(FORMATS); ++i)
            all.push_back(std::make_unique<LiveUplink>(i));
        return all;
    }();
    demand(isBounded, "a policy is set");
    Input input(data, size);
    uplinks[input.byte() % uplinks.size()]->run(input);
    return 0;
}
