// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>

#include "tests/client/StreamFixture.h"

#include <string>

namespace cabinaudio::test {

/// The two classes that capture.
enum class Kind { RAW_MIC, UPLINK };

/// One channel, 16 bits, 16 kHz, linear or coded.
[[nodiscard]] AudioFormatDesc speech(std::uint32_t codec = 0);

/// A capture stream named "rec" against a scripted server.
class ACaptureStream : public AStream {
protected:
    static constexpr int CREATE = 2;
    static constexpr int SET_VOLUME = 8;
    static constexpr int GET_VOLUME = 9;
    static constexpr int INIT_CHECK = 10;
    static constexpr int GET_RING = 18;
    static constexpr int REMOVE_RING = 19;
    static constexpr std::uint32_t RING_STATE = 2;

    /// A created ClientRecord with its ring, which the test may fill through serverRing.
    void makeRawMic(unsigned size = 4096, int perLoopSize = 1024);
    /// A created ClientRecordRt, without a ring yet.
    void makeUplink(int perLoopSize = 512, AudioFormatDesc format = speech());
    void make(Kind which);

    /// Announces the uplink's ring and waits until the record has it.
    void giveRing(unsigned size = 4096);
    /// Withdraws it and waits until the record has let go of it.
    void takeRing();
    /// Removes the server's side and waits until the record knows.
    void removeByServer();
    /// Waits until the record has dealt with all notifications so far.
    void settle();

    void start();
    int read(int bytes, bool isBlock) { return record->read(data.data(), bytes, isBlock); }
    /// Starts a read that has to wait, and returns once it does.
    [[nodiscard]] std::future<int> blockedRead(int bytes);

    /// What was read last.
    [[nodiscard]] Bytes heard(int count) const {
        return {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(count)};
    }
    [[nodiscard]] std::size_t newest() const { return server.clients() - 1; }

    Kind kind = Kind::RAW_MIC;
    std::unique_ptr<AudioRecord> record;
};

/// For what both classes do alike, but for their words.
class ACapture : public ACaptureStream, public ::testing::WithParamInterface<Kind> {
protected:
    ACapture() { kind = GetParam(); }

    void make() { ACaptureStream::make(kind); }
    /// The class that writes the log lines.
    [[nodiscard]] const char* file() const {
        return kind == Kind::RAW_MIC ? "ClientRecord" : "ClientRecordRt";
    }
    [[nodiscard]] const char* text(const char* rawMic, const char* uplink) const {
        return kind == Kind::RAW_MIC ? rawMic : uplink;
    }
};

[[nodiscard]] inline std::string nameOf(const ::testing::TestParamInfo<Kind>& kind) {
    return kind.param == Kind::RAW_MIC ? "ClientRecord" : "ClientRecordRt";
}

}  // namespace cabinaudio::test
