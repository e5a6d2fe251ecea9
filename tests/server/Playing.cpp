// SPDX-License-Identifier: Apache-2.0
#include "tests/server/Playing.h"

#include "tests/support/JsonSchema.h"
#include "tests/support/ProcessState.h"

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace cabinaudio::test {

void FinishWaiter::finish(bool) {
    const std::lock_guard lock(mLock);
    ++mCount;
    mChanged.notify_all();
}

bool FinishWaiter::wait(int round) {
    std::unique_lock lock(mLock);
    return mChanged.wait_for(lock, std::chrono::minutes(1), [&] { return mCount >= round; });
}

int FinishWaiter::count() {
    const std::lock_guard lock(mLock);
    return mCount;
}

Player::Player(const std::string& name, AudioTagType tag, AudioFormatDesc format)
    : mFormat(format), mTag(tag), mTrack(name.c_str(), tag, mFormat, 0) {
    mTrack.setCallback(&mFinished);
    if (mTrack.initCheck() != AUDIO_NO_ERROR) throw std::runtime_error(name + ": initCheck");
    if (mTrack.start() != AUDIO_NO_ERROR) throw std::runtime_error(name + ": start");
}

bool Player::hasRing() {
    return eventually([this] { return mTrack.getTotalBufferSize() > 0; }, std::chrono::minutes(1));
}

bool Player::writeBytes(unsigned char* bytes, int count) {
    // The track alone waits a second for its ring: too short where fifty clients share two cores.
    return hasRing() && mTrack.write(bytes, count, true) == count;
}

bool Player::end(int round) {
    if (mTag != AUDIO_TAG_ALTERNATIVE)
        return mTrack.writeDone() == AUDIO_NO_ERROR && mFinished.wait(round);
    // The end of an alternative track is not announced.
    return eventually([this] { return mTrack.bytesFree() == mTrack.getTotalBufferSize() - 1; },
                      std::chrono::minutes(1));
}

RecordingServer::RecordingServer(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--output", "wav:" + mDirectory.file("heard.wav"),
                                       "--report", mDirectory.file("report.json")});
    mServer = std::make_unique<RealServer>(std::move(arguments));
}

bool RecordingServer::stop(int signal) {
    mServer->kill(signal);
    const int status = mServer->wait();
    std::ifstream(mDirectory.file("report.json")) >> mReport;
    expectSchema("report", mReport);
    mWav = readWav(mDirectory.file("heard.wav"));
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

testing::AssertionResult RecordingServer::heard(const std::string& name,
                                                const std::vector<std::int32_t>& samples) const {
    const unsigned channels = mWav.channels;
    std::size_t expected = 0;
    for (const auto& segment : stream(name).at("segments")) {
        const std::size_t output = segment.at("output_frame").get<std::size_t>() * channels;
        const std::size_t start = segment.at("stream_frame").get<std::size_t>() * channels;
        const std::size_t length = segment.at("frames").get<std::size_t>() * channels;
        if (start != expected || output + length > mWav.samples.size() ||
            start + length > samples.size()) {
            return testing::AssertionFailure()
                   << "segment " << segment << " of " << samples.size() / channels << " frames";
        }
        const auto heard = mWav.samples.begin() + static_cast<std::ptrdiff_t>(output);
        const auto played = samples.begin() + static_cast<std::ptrdiff_t>(start);
        const auto end = heard + static_cast<std::ptrdiff_t>(length);
        if (const auto difference = std::mismatch(heard, end, played); difference.first != end) {
            return testing::AssertionFailure()
                   << "heard " << *difference.first << " instead of " << *difference.second
                   << " at sample " << difference.first - mWav.samples.begin();
        }
        expected = start + length;
    }
    if (expected != samples.size()) {
        return testing::AssertionFailure()
               << "heard " << expected << " samples of " << samples.size();
    }
    return testing::AssertionSuccess();
}

std::vector<std::int32_t> wide(const std::vector<std::int16_t>& samples) {
    std::vector<std::int32_t> result;
    for (const std::int16_t sample : samples)
        result.push_back(sample * 65536);
    return result;
}

}  // namespace cabinaudio::test
