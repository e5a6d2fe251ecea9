// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SinkFixture.h"

#include <algorithm>
#include <regex>
#include <string>

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

void ASink::make(int perLoopSize, AudioFormatDesc format, int streamParam) {
    server.on(CREATE, Answer::words(0, 0, 0, perLoopSize, 0, 0, 0));
    sink = std::make_unique<ClientSink>("snk", AUDIO_TAG_MAIN, format, streamParam);
    ASSERT_EQ(sink->getPerLoopSize(), perLoopSize) << log.dump();
}

void ASink::activate(unsigned size) {
    ringSize = size;
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, size));
    serverRing.reset();  // removes the name
    serverRing = physicalRing("snk", size);
    ASSERT_TRUE(serverRing->isUsable()) << log.dump();
    server.notify(ACTIVATED, 0, server.clients() - 1);
    settle();
    ASSERT_EQ(sink->getTotalBufferSize(), static_cast<int>(size)) << log.dump();
}

void ASink::withdraw() {
    server.notify(WITHDRAWN, 0, server.clients() - 1);
    settle();
    ASSERT_EQ(sink->getTotalBufferSize(), 0) << log.dump();
}

void ASink::settle() {
    const char* const line = "unknown msg(9999), value=0\n";
    const std::size_t before = log.count(DEBUG, line);
    server.notify(9999, 0, server.clients() - 1);
    ASSERT_TRUE(log.waitFor(DEBUG, line, before + 1)) << log.dump();
}

void ASink::fillRing() {
    const int free = sink->bytesFree();
    ASSERT_EQ(write(free, false), free) << log.dump();
    ASSERT_EQ(sink->bytesFree(), 0);
}

std::future<int> ASink::blockedWrite(int bytes, bool isBlock) {
    return blocked([this, bytes, isBlock] { return write(bytes, isBlock); },
                   AUDIO_INVALID_OPERATION);
}

long long ASink::writtenInAll() {
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    const auto numbers = numbersIn(log, "stop Success, mTotalWritedLen:(-?[0-9]+) Out\n");
    return numbers.empty() ? -1 : numbers.back();
}

long long ASink::thrownAwayInAll() const {
    const auto numbers =
        numbersIn(log, "source \\[removed\\], write ineffective, size\\[([0-9]+)\\]");
    return numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end());
}

}  // namespace cabinaudio::test
