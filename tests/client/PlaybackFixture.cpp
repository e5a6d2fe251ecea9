// SPDX-License-Identifier: Apache-2.0
#include "tests/client/PlaybackFixture.h"

#include <algorithm>
#include <regex>

namespace cabinaudio::test {

namespace {

/// The numbers in the lines that match the expression, of which they are the first group.
std::vector<long long> numbersIn(const LogCapture& log, const std::string& expression) {
    const std::regex pattern(expression);
    std::vector<long long> numbers;
    for (const LogLine& line : log.lines()) {
        std::smatch match;
        if (std::regex_search(line.text, match, pattern)) numbers.push_back(std::stoll(match[1]));
    }
    return numbers;
}

}  // namespace

void PlaybackFixture::acceptStreams(unsigned size, int perLoopSize) {
    ringSize = size;
    const unsigned atOnce = kind == Playing::Track ? size : 0;
    server.on(CREATE, Answer::words(0, 0, atOnce, perLoopSize, 0, 0, 0));
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, size));
}

std::unique_ptr<audio::QVAudioTrack> PlaybackFixture::create(const std::string& streamName,
                                                             AudioTagType streamTag,
                                                             AudioFormatDesc format,
                                                             int streamParam) const {
    if (kind == Playing::Track)
        return std::make_unique<ClientTrack>(streamName.c_str(), streamTag, format, streamParam);
    return std::make_unique<ClientSink>(streamName.c_str(), streamTag, format, streamParam);
}

void PlaybackFixture::makeIdle(unsigned size, int perLoopSize) {
    acceptStreams(size, perLoopSize);
    stream = create(name(), tag());
    ASSERT_EQ(stream->getPerLoopSize(), perLoopSize) << log.dump();
}

void PlaybackFixture::makeWithRing(unsigned size, int perLoopSize) {
    if (kind == Playing::Sink) {
        makeIdle(size, perLoopSize);
        giveRing(size);
        return;
    }
    acceptStreams(size, perLoopSize);
    serverRing.reset();  // removes the name
    serverRing = posixRing("trk", size);
    stream = create(name(), ringsTag());
    ASSERT_GT(stream->getTotalBufferSize(), 0) << log.dump();
}

void PlaybackFixture::makePlaying(unsigned size, int perLoopSize) {
    makeWithRing(size, perLoopSize);
    start();
}

void PlaybackFixture::giveRing(unsigned size, unsigned address) {
    ringSize = size;
    server.on(GET_RING, Answer::words(0, address, size));
    serverRing.reset();  // removes the name
    serverRing = physicalRing(name().c_str(), size, address);
    ASSERT_TRUE(serverRing->isUsable()) << log.dump();
    server.notify(RING_READY, 0, newest());
    settle();
    ASSERT_EQ(stream->getTotalBufferSize(), static_cast<int>(size)) << log.dump();
}

void PlaybackFixture::settle() {
    const int level = kind == Playing::Track ? ERROR : DEBUG;
    const char* const line = "unknown msg(9999), value=0\n";
    const std::size_t before = log.count(level, line);
    server.notify(9999, 0, newest());
    ASSERT_TRUE(log.waitFor(level, line, before + 1)) << log.dump();
}

int PlaybackFixture::initCheck(audio::QVAudioTrack& checked) {
    if (auto* const track = dynamic_cast<AudioTrack*>(&checked)) return track->initCheck();
    return dynamic_cast<AudioSink&>(checked).initCheck();
}

void PlaybackFixture::fillRing() {
    const int free = stream->bytesFree();
    ASSERT_EQ(write(free, false), free) << log.dump();
    ASSERT_EQ(stream->bytesFree(), 0);
}

std::future<int> PlaybackFixture::blockedWrite(int bytes, bool isBlock) {
    return blocked([this, bytes, isBlock] { return write(bytes, isBlock); },
                   AUDIO_INVALID_OPERATION);
}

long long PlaybackFixture::writtenInAll() {
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
    const auto numbers = numbersIn(log, "stop Success, mTotalWritedLen:(-?[0-9]+) Out\n");
    return numbers.empty() ? -1 : numbers.back();
}

long long PlaybackFixture::thrownAwayInAll() const {
    const auto numbers =
        numbersIn(log, "source \\[removed\\], write ineffective, size\\[([0-9]+)\\]");
    return numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end());
}

}  // namespace cabinaudio::test
