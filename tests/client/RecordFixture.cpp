// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"

namespace cabinaudio::test {

AudioFormatDesc speech(std::uint32_t codec) {
    return {codec, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
}

std::unique_ptr<AudioRecord> RecordFixture::create(Kind which, const std::string& name,
                                                   AudioTagType tag, AudioFormatDesc format,
                                                   int streamParam) const {
    if (which == Kind::RawMic)
        return std::make_unique<ClientRecord>(name.c_str(), tag, format, streamParam);
    return std::make_unique<ClientRecordRt>(name.c_str(), tag, format);
}

void RecordFixture::makeRawMic(unsigned size, int perLoopSize) {
    ringSize = size;
    kind = Kind::RawMic;
    server.on(CREATE, Answer::words(0, 0, size, perLoopSize, 16, 512, 0));
    record.reset();
    serverRing.reset();  // removes the name
    serverRing = posixRing("rec", size);
    record = create(kind);
    ASSERT_EQ(record->getTotalBufferSize(), static_cast<int>(size)) << log.dump();
}

void RecordFixture::makeUplink(int perLoopSize, AudioFormatDesc format) {
    kind = Kind::Uplink;
    server.on(CREATE, Answer::words(0, 0, 0, perLoopSize, 16, perLoopSize / 2, 0));
    record = create(kind, "rec", AUDIO_TAG_UPLINK, format);
    ASSERT_EQ(log.countMatching(ERROR, ".*\n"), 0U) << log.dump();
}

void RecordFixture::make(Kind which) {
    if (which == Kind::RawMic)
        makeRawMic();
    else
        makeUplink();
}

void RecordFixture::giveRing(unsigned size, unsigned address) {
    ringSize = size;
    server.on(GET_RING, Answer::words(0, address, size));
    serverRing.reset();  // removes the name
    serverRing = physicalRing("rec", size, address);
    ASSERT_TRUE(serverRing->isUsable()) << log.dump();
    const std::string line = "[rec] record initShareMem OK, shm_size = " + std::to_string(size);
    const std::size_t before = log.count(INFO, line + "\n");
    server.notify(RING_STATE, 1, newest());
    ASSERT_TRUE(log.waitFor(INFO, line + "\n", before + 1)) << log.dump();
    settle();
}

void RecordFixture::takeRing() {
    const std::size_t before = server.requests(REMOVE_RING).size();
    server.notify(RING_STATE, 0, newest());
    ASSERT_TRUE(server.waitForRequest(REMOVE_RING, before + 1)) << log.dump();
    settle();
}

void RecordFixture::settle() {
    const char* const line = kind == Kind::RawMic ? "[rec]unknown msg(9999), value=0\n"
                                                  : "[rec] unknown msg(9999), value=0\n";
    const std::size_t before = log.count(DEBUG, line);
    server.notify(9999, 0, newest());
    ASSERT_TRUE(log.waitFor(DEBUG, line, before + 1)) << log.dump();
}

void RecordFixture::removeByServer() {
    server.notify(REMOVED, 0, newest());
    settle();
}

void RecordFixture::start() {
    ASSERT_EQ(record->start(), AUDIO_NO_ERROR) << log.dump();
}

::testing::AssertionResult RecordFixture::delivered(int length, const Bytes& expected) const {
    if (length != static_cast<int>(expected.size()))
        return ::testing::AssertionFailure()
               << "returned " << length << " instead of " << expected.size() << "\n"
               << log.dump();
    if (heard(length) == expected) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "stored " << ::testing::PrintToString(heard(length))
                                         << " instead of " << ::testing::PrintToString(expected);
}

std::future<int> RecordFixture::blockedRead(int bytes) {
    return blocked([this, bytes] { return read(bytes, true); }, AUDIO_INVALID_STATE);
}

}  // namespace cabinaudio::test
