// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>

#include "tests/support/StreamFixture.h"

#include <memory>
#include <ostream>
#include <string>

namespace cabinaudio::test {

/// The two classes that capture.
enum class Kind { RawMic, Uplink };

/// One channel, 16 bits, 16 kHz, linear or coded.
[[nodiscard]] AudioFormatDesc speech(std::uint32_t codec = 0);

/// A capture stream named "rec" against a scripted server.
class RecordFixture : public StreamFixture {
protected:
    static constexpr int CREATE = 2;
    static constexpr int SET_VOLUME = 8;
    static constexpr int GET_VOLUME = 9;
    static constexpr int INIT_CHECK = 10;
    static constexpr int GET_RING = 18;
    static constexpr int REMOVE_RING = 19;
    static constexpr std::uint32_t RING_STATE = 2;

    /// A stream of this kind, usable or not.
    [[nodiscard]] std::unique_ptr<AudioRecord> create(Kind which, const std::string& name = "rec",
                                                      AudioTagType tag = AUDIO_TAG_INPUT0,
                                                      AudioFormatDesc format = speech(),
                                                      int streamParam = 0) const;
    /// A created ClientRecord with its ring, which the test may fill through serverRing.
    void makeRawMic(unsigned size = 4096, int perLoopSize = 1024);
    /// A created ClientRecordRt, without a ring yet.
    void makeUplink(int perLoopSize = 512, AudioFormatDesc format = speech());
    void make(Kind which);

    /// Announces the uplink's ring and waits until the record has it.
    void giveRing(unsigned size = 4096, unsigned address = RING_ADDRESS);
    /// Takes the ring away and waits until the record has acknowledged it.
    void takeRing();
    /// Removes the server's side and waits until the record knows.
    void removeByServer();
    /// Waits until the record has dealt with all notifications so far.
    void settle();

    void start();
    int read(int bytes, bool isBlock) { return record->read(data.data(), bytes, isBlock); }
    /// Starts a read that has to wait, and returns once it does.
    [[nodiscard]] std::future<int> blockedRead(int bytes);

    /// Whether a read returned the length of these bytes, and stored them in `data`.
    [[nodiscard]] ::testing::AssertionResult delivered(int length, const Bytes& expected) const;
    /// The first bytes of the last read.
    [[nodiscard]] Bytes heard(int count) const {
        return {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(count)};
    }

    Kind kind = Kind::RawMic;
    std::unique_ptr<AudioRecord> record;
};

/// For everything that both classes do alike, but for their words.
class EachCapture : public RecordFixture, public ::testing::WithParamInterface<Kind> {
protected:
    EachCapture() { kind = GetParam(); }

    void make() { RecordFixture::make(kind); }
    /// An active stream with its ring.
    void makeCapturing() {
        make();
        start();
        if (kind == Kind::Uplink) giveRing();
    }
    [[nodiscard]] std::unique_ptr<AudioRecord> create() const {
        const AudioTagType tag = kind == Kind::RawMic ? AUDIO_TAG_INPUT0 : AUDIO_TAG_UPLINK;
        return RecordFixture::create(kind, "rec", tag);
    }
    /// The class that writes the log lines.
    [[nodiscard]] const char* file() const {
        return kind == Kind::RawMic ? "ClientRecord" : "ClientRecordRt";
    }
    [[nodiscard]] const char* text(const char* rawMic, const char* uplink) const {
        return kind == Kind::RawMic ? rawMic : uplink;
    }
};

inline const auto CAPTURES = ::testing::Values(Kind::RawMic, Kind::Uplink);

/// For the messages of failing tests.
inline void PrintTo(Kind kind, std::ostream* out) {
    *out << (kind == Kind::RawMic ? "record" : "uplink");
}

[[nodiscard]] inline std::string captureName(const ::testing::TestParamInfo<Kind>& kind) {
    return kind.param == Kind::RawMic ? "Record" : "Uplink";
}

}  // namespace cabinaudio::test
