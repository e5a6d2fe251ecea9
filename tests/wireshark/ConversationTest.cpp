// SPDX-License-Identifier: Apache-2.0
//
// How a conversation reads: lines, links between packets, values by name.
#include "devkit/trace/CaptureWriter.h"
#include "tests/settings/Row.h"
#include "tests/support/Files.h"
#include "tests/wireshark/Dissected.h"
#include "tests/wireshark/Talk.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using trace::Kind;

/// A volume that is set and read, a refused mute, and a navigation voice with its ring.
std::vector<trace::Record> evening() {
    Talk talk;
    talk.connect(VOLUME, "unkn");
    talk.call(joined({word(4), byte(12)}), word(0));
    talk.call(word(21), joined({word(0), real(-6.5F)}));
    talk.call(joined({word(8), word(21), number(1)}), number(REFUSED));
    talk.connect(2, "nav");
    talk.call(joined({word(21), word(2), word(0), word(48000), word(0), word(2), word(0), word(16),
                      word(0), number(4242)}),
              joined({word(0), word(0), word(24576), word(3072), word(0), word(0), word(0)}));
    talk.notify(3, 0);
    talk.add(Kind::Ring, joined({word(1), word(12), word(36864), word(0), word(36864), word(0),
                                 word(16000), word(0), word(3072), word(24576)}));
    talk.add(Kind::Sound, joined({word(4096), word(0), word(0), word(0), pattern(256)}));
    talk.disconnect();
    return talk.records;
}

TEST(WiresharkDissector, HasALineForEachMessage) {
    const TemporaryDirectory directory;
    const std::string capture = directory.file("evening.pcapng");
    trace::CaptureWriter writer(capture);
    for (const trace::Record& record : evening())
        writer.write(record);
    writer.flush();
    const std::vector<std::string> all = {
        "#1 server connected",
        "volume_setting#1 server register as AUDIO_CONNECT_VOLUME_SETTING",
        "server volume_setting#1 register as AUDIO_CONNECT_VOLUME_SETTING -> handle 18193 0.15 ms",
        "volume_setting#1 server setMasterVolume(step 12)",
        "server volume_setting#1 setMasterVolume(step 12) -> AUDIO_NO_ERROR 0.15 ms",
        "volume_setting#1 server getMasterVolume()",
        "server volume_setting#1 getMasterVolume() -> AUDIO_NO_ERROR, gain -6.5 dB 0.15 ms",
        "volume_setting#1 server mute(paths AUDIO_OUT_PATH_MAIN | AUDIO_OUT_PATH_SECOND | 0x10, "
        "option 1)",
        "server volume_setting#1 mute(paths AUDIO_OUT_PATH_MAIN | AUDIO_OUT_PATH_SECOND | 0x10, "
        "option 1)"
        " -> AUDIO_BAD_VALUE 0.15 ms",
        "#2 server connected",
    };
    auto shown = lines(capture);
    ASSERT_GT(shown.size(), all.size());
    const std::vector<std::string> end(shown.end() - 4, shown.end());
    shown.resize(all.size());
    EXPECT_EQ(shown, all);
    EXPECT_EQ(end,
              (std::vector<std::string>{
                  "server nav#2 notification RingReady, value 0",
                  "nav#2 server ring: 12 x write, 36864 bytes, fill 3072 of 24576 bytes, longest "
                  "wait 16000 us",
                  "nav#2 server sound: 256 bytes from byte 4096", "nav#2 server disconnected"}));
    EXPECT_EQ(lines(capture,
                    "cabinaudio.operation == \"setMasterVolume\" && cabinaudio.step > 10 "
                    "|| cabinaudio.gain < -6 || cabinaudio.notification == \"RingReady\""),
              (std::vector{all[3], all[6], end[0]}));
}

/// The filters in the table of the page: code in the first column.
std::vector<std::string> documentedFilters() {
    std::vector<std::string> filters;
    std::istringstream page(contentsOf(CABINAUDIO_TEST_PAGE));
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("| `cabinaudio.", 0) != 0) continue;
        const std::string column = line.substr(0, line.rfind(" | "));
        for (std::size_t at = column.find('`'); at != std::string::npos;) {
            const std::size_t end = column.find('`', at + 1);
            filters.push_back(column.substr(at + 1, end - at - 1));
            at = column.find('`', end + 1);
        }
    }
    return filters;
}

TEST(WiresharkDissector, KnowsTheFiltersOfItsPage) {
    const TemporaryDirectory directory;
    const std::string capture = directory.file("evening.pcapng");
    trace::CaptureWriter(capture).flush();
    const auto filters = documentedFilters();
    EXPECT_GE(filters.size(), 10U);
    std::string any;
    for (const std::string& filter : filters)
        any += (any.empty() ? "(" : " || (") + filter + ")";
    EXPECT_TRUE(lines(capture, any).empty()) << "an empty capture";
}

TEST(WiresharkDissector, LinksRepliesAndShowsValuesWithUnits) {
    const auto packets = dissect(evening());
    const ShownPacket& request = packets.at(3);
    const ShownPacket& reply = packets.at(4);
    EXPECT_EQ(request.texts("cabinaudio.response_in"), std::vector<std::string>{"Response in: 5"});
    EXPECT_EQ(reply.texts("cabinaudio.request_in"), std::vector<std::string>{"Request in: 4"});
    EXPECT_EQ(reply.texts("cabinaudio.time"),
              std::vector<std::string>{"Response time: 0.000150000 seconds"});
    EXPECT_EQ(packets.at(2).texts("cabinaudio.request_in"),
              std::vector<std::string>{"Request in: 2"});
    EXPECT_EQ(packets.at(13).texts("cabinaudio.client"), std::vector<std::string>{"Client: nav"});
    EXPECT_EQ(packets.at(6).texts("cabinaudio.gain"), std::vector<std::string>{"gain: -6.5 dB"});
    EXPECT_EQ(packets.at(8).texts("cabinaudio.status"),
              std::vector<std::string>{"status: AUDIO_BAD_VALUE (-3000)"});
    EXPECT_EQ(
        packets.at(7).texts("cabinaudio.paths"),
        std::vector<std::string>{"paths: 21 (AUDIO_OUT_PATH_MAIN | AUDIO_OUT_PATH_SECOND | 0x10)"});
    const ShownPacket& create = packets.at(12);
    EXPECT_EQ(create.texts("cabinaudio.sample_rate"),
              std::vector<std::string>{"sampleRate: 48000 Hz"});
    EXPECT_EQ(create.texts("cabinaudio.tag_number"),
              std::vector<std::string>{"tag: AUDIO_TAG_AUXILIARY (2)"});
    EXPECT_EQ(create.texts("cabinaudio.codec_type"),
              std::vector<std::string>{"codecType: CODEC_PCM (0)"});
    EXPECT_EQ(create.texts("cabinaudio.cmd"),
              std::vector<std::string>{"cmd: AUDIO_CMD_CALL_FLAG (198)"});
    EXPECT_EQ(packets.at(13).texts("cabinaudio.per_loop_size"),
              std::vector<std::string>{"perLoopSize: 3072 bytes"});
    EXPECT_EQ(packets.at(15).texts("cabinaudio.ring.longest_wait"),
              std::vector<std::string>{"longestWait: 16000 us"});
}

}  // namespace
}  // namespace cabinaudio::test
