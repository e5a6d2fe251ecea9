// SPDX-License-Identifier: Apache-2.0
//
// Faulty records: each gets its expert note, and each of its bytes is shown.
#include "tests/settings/Row.h"
#include "tests/wireshark/Dissected.h"
#include "tests/wireshark/Talk.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using trace::Kind;

constexpr std::uint32_t AUXILIARY = 2;
constexpr std::uint32_t SET_MASTER_STEP = 4;
constexpr std::uint32_t GET_MASTER_GAIN = 21;

/// One way to break a conversation; the last record gets the notes.
struct Fault {
    const char* name;
    std::vector<std::string> notes;  // sorted
    std::function<void(Talk&)> talk;
};

Bytes stepRequest() {
    return joined({word(SET_MASTER_STEP), byte(100)});
}

std::vector<Fault> requestFaults() {
    return {
        {"nothing", {}, [](Talk& talk) { talk.request(stepRequest()); }},
        {"an unknown function", {"function"}, [](Talk& talk) { talk.request(word(99)); }},
        {"an unknown function with more",
         {"function"},
         [](Talk& talk) {
             talk.request(joined({word(99), word(7)}));
         }},
        {"a short request",
         {"short_request"},
         [](Talk& talk) { talk.request(word(SET_MASTER_STEP)); }},
        {"a cut field",
         {"short_request"},
         [](Talk& talk) {
             talk.request(joined({word(20), {1, 2}}));
         }},
        {"no function id",
         {"short_request"},
         [](Talk& talk) {
             talk.add(Kind::ToServer, joined({headerOf(198, VOLUME, TALK_HANDLE, 2), {4, 0}}), 4);
         }},
        {"a long request",
         {"surplus"},
         [](Talk& talk) {
             talk.request(joined({stepRequest(), {1}}));
         }},
        {"a wrong length",
         {"length"},
         [](Talk& talk) {
             talk.add(Kind::ToServer,
                      joined({headerOf(198, VOLUME, TALK_HANDLE, 9), stepRequest()}), 4);
         }},
        {"half a header", {"length"}, [](Talk& talk) { talk.add(Kind::ToServer, Bytes(50, 1)); }},
        {"no bytes", {"length"}, [](Talk& talk) { talk.add(Kind::ToServer, {}); }},
        {"a wrong handle",
         {"handle"},
         [](Talk& talk) {
             talk.add(Kind::ToServer, joined({headerOf(198, VOLUME, 1, 8), stepRequest()}), 4);
         }},
        {"a wrong type",
         {"type"},
         [](Talk& talk) {
             talk.add(Kind::ToServer, joined({headerOf(198, APP, TALK_HANDLE, 8), stepRequest()}),
                      4);
         }},
        {"an unknown command",
         {"command", "flag"},
         [](Talk& talk) { talk.request(stepRequest(), 197); }},
        {"the other command", {"flag"}, [](Talk& talk) { talk.request(stepRequest(), 195); }},
        {"bytes in unused places",
         {"unused"},
         [](Talk& talk) {
             talk.request(joined({word(SET_MASTER_STEP), {100, 0, 1, 0}}));
         }},
        {"a second request",
         {"unanswered"},
         [](Talk& talk) {
             talk.request(stepRequest());
             talk.request(stepRequest());
         }},
        {"an end without a reply",
         {"unanswered"},
         [](Talk& talk) {
             talk.request(stepRequest());
             talk.disconnect();
         }},
        {"a long registration",
         {"surplus"},
         [](Talk& talk) {
             talk.connectOnly();
             talk.add(Kind::ToServer, joined({headerOf(196, VOLUME, 0x191802, 64), {1}}));
         }},
    };
}

std::vector<Fault> replyFaults() {
    return {
        {"an error", {"status"}, [](Talk& talk) { talk.call(stepRequest(), number(REFUSED)); }},
        {"an unknown error",
         {"status"},
         [](Talk& talk) { talk.call(stepRequest(), number(-4711)); }},
        {"a refusal of an unknown function",
         {"status"},
         [](Talk& talk) { talk.call(word(99), number(-8000)); }},
        {"a short reply",
         {"short_reply"},
         [](Talk& talk) { talk.call(word(GET_MASTER_GAIN), word(0)); }},
        {"a cut result",
         {"short_reply"},
         [](Talk& talk) {
             talk.call(word(GET_MASTER_GAIN), joined({word(0), {1, 2, 3}}));
         }},
        {"no body", {"short_reply"}, [](Talk& talk) { talk.call(stepRequest(), {}); }},
        {"a long reply",
         {"surplus"},
         [](Talk& talk) {
             talk.call(stepRequest(), joined({word(0), word(0)}));
         }},
        {"a reply to nothing",
         {"unasked"},
         [](Talk& talk) {
             talk.call(stepRequest(), word(0));
             talk.reply(word(0));
         }},
        {"a slow reply",
         {"slow"},
         [](Talk& talk) {
             talk.request(stepRequest());
             talk.reply(word(0), 100'001);
         }},
        {"a reply at the limit",
         {},
         [](Talk& talk) {
             talk.request(stepRequest());
             talk.reply(word(0), 100'000);
         }},
        {"a refused registration",
         {"refused"},
         [](Talk& talk) {
             talk.connectOnly();
             talk.add(Kind::ToServer, headerOf(196, 255, 0x191802, 64, "x"));
             talk.add(Kind::ToClient, joined({frameOf(1), word(0), word(0)}));
         }},
        {"a long registration's reply",
         {"surplus"},
         [](Talk& talk) {
             talk.connectOnly();
             talk.add(Kind::ToServer, headerOf(196, VOLUME, 0x191802, 64));
             talk.add(Kind::ToClient, joined({frameOf(1), word(0), word(7), word(0)}));
         }},
        {"half a registration's reply",
         {"refused", "short_reply"},
         [](Talk& talk) {
             talk.connectOnly();
             talk.add(Kind::ToServer, headerOf(196, VOLUME, 0x191802, 64));
             talk.add(Kind::ToClient, joined({frameOf(1), word(0)}));
         }},
        {"a wrong magic",
         {"magic"},
         [](Talk& talk) {
             talk.request(stepRequest());
             Bytes bytes = joined({frameOf(1), word(0)});
             bytes[0] = 0;
             talk.add(Kind::ToClient, bytes, SET_MASTER_STEP);
         }},
        {"an unknown header id",
         {"header_id"},
         [](Talk& talk) {
             talk.add(Kind::ToClient, joined({frameOf(2), word(7)}));
         }},
        {"half a frame header",
         {"length"},
         [](Talk& talk) { talk.add(Kind::ToClient, Bytes(31, 0)); }},
        {"a count beyond the slots",
         {"count"},
         [](Talk& talk) {
             Bytes reply = joined({word(0), word(33)});
             reply.resize(2056);
             talk.call(word(36), reply);
         }},
        {"another block",
         {"block"},
         [](Talk& talk) {
             talk.connect(RECORD_CONTROL);
             talk.call(joined({word(1), text("uplink"), text("nr"), word(4), word(0)}),
                       joined({word(0), word(8), word(1), word(2)}));
         }},
    };
}

std::vector<Fault> otherFaults() {
    return {
        {"an unknown notification",
         {"event"},
         [](Talk& talk) {
             talk.connect(AUXILIARY, "nav");
             talk.notify(77, 0);
         }},
        {"a notification of settings", {"event"}, [](Talk& talk) { talk.notify(3, 0); }},
        {"a notification with a body",
         {"surplus"},
         [](Talk& talk) {
             talk.connect(AUXILIARY, "nav");
             talk.add(Kind::ToClient, joined({frameOf(0, 3, 0), word(1)}));
         }},
        {"lost records",
         {"lost"},
         [](Talk& talk) {
             talk.add(Kind::Lost, joined({word(3), word(0)}));
         }},
        {"half a summary", {"record"}, [](Talk& talk) { talk.add(Kind::Ring, Bytes(20, 1)); }},
        {"a long summary", {"surplus"}, [](Talk& talk) { talk.add(Kind::Ring, Bytes(41, 0)); }},
        {"an unknown kind",
         {"record"},
         [](Talk& talk) {
             talk.add(static_cast<Kind>(9), {1, 2, 3});
         }},
        {"bytes of a connection",
         {"surplus"},
         [](Talk& talk) {
             talk.add(Kind::Connected, {1, 2, 3});
         }},
        {"bytes behind a text",
         {"unused"},
         [](Talk& talk) {
             Bytes name = text("nav");
             name[10] = 'x';
             talk.request(joined({word(35), name}));
         }},
    };
}

TEST(WiresharkDissector, NotesWhatIsWrong) {
    Talk talk;
    std::vector<std::size_t> ends;
    std::vector<Fault> faults;
    for (const auto& some : {requestFaults(), replyFaults(), otherFaults()})
        faults.insert(faults.end(), some.begin(), some.end());
    for (const Fault& fault : faults) {
        talk.connect(VOLUME);
        fault.talk(talk);
        ends.push_back(talk.records.size());
    }
    const auto packets = dissect(talk.records);
    ASSERT_EQ(packets.size(), talk.records.size());
    for (std::size_t i = 0; i < faults.size(); ++i)
        EXPECT_EQ(packets[ends[i] - 1].notes(), faults[i].notes)
            << faults[i].name << ", packet " << ends[i];
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const std::size_t size = 32 + talk.records[i].bytes.size();
        EXPECT_EQ(packets[i].firstUncovered(size), size) << "packet " << i + 1;
    }
}

}  // namespace
}  // namespace cabinaudio::test
