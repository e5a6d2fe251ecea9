// SPDX-License-Identifier: Apache-2.0
// Stores encoded packets in an Ogg stream (RFC 7845) without encoding again.
#include "tools/Failure.h"
#include "tools/ProgramVersion.h"
#include "tools/record/OpusPacket.h"
#include "tools/record/OutputFile.h"
#include "tools/record/Target.h"

#include <ogg/ogg.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <vector>

namespace cabinaudio::tool {

namespace {

/// Usual look-ahead of an encoder; decoders drop this much at the beginning.
constexpr std::uint16_t PRE_SKIP = 312;

using Packet = std::vector<std::uint8_t>;

void append(Packet& to, const std::string& text) {
    to.insert(to.end(), text.begin(), text.end());
}

void append(Packet& to, std::uint32_t number, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i)
        to.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
}

Packet headPacket(const RecordFormat& format) {
    Packet head;
    append(head, "OpusHead");
    append(head, 1, 1);  // version
    append(head, static_cast<std::uint32_t>(format.channels), 1);
    append(head, PRE_SKIP, 2);
    append(head, format.rate, 4);
    append(head, 0, 2);  // output gain
    append(head, 0, 1);  // channel mapping family: mono or stereo
    return head;
}

Packet tagsPacket() {
    const std::string writer = "cabinaudio " CABINAUDIO_VERSION;
    Packet tags;
    append(tags, "OpusTags");
    append(tags, static_cast<std::uint32_t>(writer.size()), 4);
    append(tags, writer);
    append(tags, 0, 4);  // no comments
    return tags;
}

/// Streams that are played one after another must have different serial numbers.
int serialNumber() {
    return static_cast<int>(static_cast<unsigned>(getpid()) * 2654435761u ^
                            static_cast<unsigned>(std::time(nullptr)));
}

class OpusTarget : public Target {
public:
    OpusTarget(const std::string& file, const RecordFormat& format) : mFile(file) {
        if (ogg_stream_init(&mStream, serialNumber()) != 0) throw std::bad_alloc();
        put(headPacket(format), false);
        writePages(true);
        put(tagsPacket(), false);
        writePages(true);
    }
    ~OpusTarget() override { ogg_stream_clear(&mStream); }
    OpusTarget(const OpusTarget&) = delete;
    OpusTarget& operator=(const OpusTarget&) = delete;

    /// One packet is held back, because the last one carries an end mark.
    void write(Bytes frame) override {
        const Bytes packet = opusPayload(frame);
        const std::uint32_t samples = opusSamples(packet);
        if (samples == 0)
            throw Failure("the server has sent what is no Opus packet; --raw keeps it as it is");
        if (!mKept.empty()) put(mKept, false);
        mKept.assign(packet.begin(), packet.end());
        mGranule += samples;
        mUnwritten += samples;
        // One page per second limits the loss if the process is killed.
        const bool isSecond = mUnwritten >= OPUS_CLOCK;
        writePages(isSecond);
        if (isSecond) mUnwritten = 0;
    }

    void close() override {
        if (!mKept.empty()) put(mKept, true);
        writePages(true);
        mFile.close();
    }

private:
    /// @param isLast  whether it is the stream's last packet
    void put(Packet& bytes, bool isLast) {
        ogg_packet packet = {};
        packet.packet = bytes.data();
        packet.bytes = static_cast<long>(bytes.size());
        packet.b_o_s = mCount == 0 ? 1 : 0;
        packet.e_o_s = isLast ? 1 : 0;
        packet.granulepos = mGranule;  // samples up to the end of this packet
        packet.packetno = mCount++;
        ogg_stream_packetin(&mStream, &packet);
    }
    void put(Packet&& bytes, bool isLast) { put(bytes, isLast); }

    void writePages(bool all) {
        ogg_page page;
        while ((all ? ogg_stream_flush(&mStream, &page) : ogg_stream_pageout(&mStream, &page)) !=
               0) {
            mFile.write({page.header, static_cast<std::size_t>(page.header_len)});
            mFile.write({page.body, static_cast<std::size_t>(page.body_len)});
        }
    }

    OutputFile mFile;
    ogg_stream_state mStream = {};
    Packet mKept;
    ogg_int64_t mGranule = 0;
    ogg_int64_t mCount = 0;
    std::uint32_t mUnwritten = 0;  // samples since the last forced page
};

}  // namespace

std::unique_ptr<Target> openOpusTarget(const std::string& file, const RecordFormat& format) {
    return std::make_unique<OpusTarget>(file, format);
}

}  // namespace cabinaudio::tool
