// SPDX-License-Identifier: Apache-2.0
// Mixers of ALSA. alsamixer_test.py looks at the screen of one.
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/plugins/alsa/Programs.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <future>
#include <string>
#include <thread>

namespace cabinaudio::test {

using namespace std::chrono_literals;

namespace {

/// Processor time of a process so far, in clock ticks of the kernel.
long processorTicks(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string word;
    for (int field = 1; field < 14; ++field)
        file >> word;
    long user = 0;
    long system = 0;
    file >> user >> system;
    return user + system;
}

class AmixerEvents : public Programs {
protected:
    /// Its lines come at once.
    AmixerEvents() : mAmixer(start({"stdbuf", "-oL", "amixer", "-D", "cabinaudio", "events"})) {}

    void waitUntilItListens() {
        std::string line;
        while ((line = mAmixer.readLine()) != "Ready to listen...")
            ASSERT_NE(line, "") << mAmixer.finish(1s).text();
    }
    std::string nextEvent() {
        std::string line = "-";
        while (!line.empty() && line.find("event value") != 0)
            line = mAmixer.readLine();
        return line;
    }
    /// Changes a volume until a change is told of: the first look at a server tells of none.
    std::string eventOfAChange() {
        ClientVolumeSetting setting;
        auto event = std::async(std::launch::async, [this] { return nextEvent(); });
        for (int step = 80; event.wait_for(100ms) != std::future_status::ready && step < 140;
             ++step)
            EXPECT_EQ(setting.setVolumeByStreamType("media", step), 0);
        return event.get();
    }

    RealServer mServer;
    Process mAmixer;
};

}  // namespace

TEST_F(Programs, AmixerSetsTheVolume) {
    const RealServer server;
    EXPECT_EQ(run({"amixer", "-q", "-D", "cabinaudio", "sset", "Master", "94"}).exitCode, 0);
    const Outcome outcome = run({"amixer", "-D", "cabinaudio", "sset", "Master", "6dB-", "mute"});
    EXPECT_THAT(outcome.out, testing::HasSubstr("[-9.00dB] [off]")) << outcome.text();
}

TEST_F(AmixerEvents, TellOfAChangeByAnotherClient) {
    waitUntilItListens();
    EXPECT_THAT(eventOfAChange(), testing::HasSubstr("name='Media Playback Volume'"));
    mAmixer.send(SIGINT);
    mAmixer.finish(10s);
}

TEST_F(AmixerEvents, GoOnWithTheNextServerAndUseNoProcessorBetween) {
    waitUntilItListens();
    EXPECT_THAT(eventOfAChange(), testing::HasSubstr("name='Media Playback Volume'"));
    mServer.kill(SIGKILL);
    mServer.wait();
    const long before = processorTicks(mAmixer.pid());
    std::this_thread::sleep_for(600ms);
    EXPECT_LE(processorTicks(mAmixer.pid()) - before, 2);
    const RealServer next;
    EXPECT_THAT(eventOfAChange(), testing::HasSubstr("event value"));
    mAmixer.send(SIGINT);
    mAmixer.finish(10s);
}

}  // namespace cabinaudio::test
