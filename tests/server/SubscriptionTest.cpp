// SPDX-License-Identifier: Apache-2.0
// Changes of settings and streams as the control socket's subscribers get them.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/support/LocalSocket.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

/// A subscriber, and the document as its patches make it.
class Subscriber {
public:
    Subscriber() : mFd(connectTo(CONTROL_SOCKET)) {
        constexpr char COMMAND[] = "subscribe settings\n";
        EXPECT_EQ(send(mFd.get(), COMMAND, sizeof COMMAND - 1, 0), ssize_t{sizeof COMMAND - 1});
    }

    /// Discarded JSON at the end of the connection.
    json next() {
        json message = json::parse(line(), nullptr, false);
        if (message.contains("document")) mDocument = message["document"];
        if (message.contains("patch")) mDocument = mDocument.patch(message["patch"]);
        return message;
    }

    [[nodiscard]] double master() const { return mDocument["settings"]["volume"]["master_db"]; }

private:
    std::string line() {
        std::size_t end;
        while ((end = mReceived.find('\n')) == std::string::npos) {
            std::array<char, 65536> part;
            const ssize_t got = recv(mFd.get(), part.data(), part.size(), 0);
            if (got <= 0) return "";
            mReceived.append(part.data(), static_cast<std::size_t>(got));
        }
        const std::string line = mReceived.substr(0, end);
        mReceived.erase(0, end + 1);
        return line;
    }

    server::UniqueFd mFd;
    std::string mReceived;
    json mDocument;
};

std::ptrdiff_t descriptorsOf(pid_t process) {
    const std::filesystem::directory_iterator all("/proc/" + std::to_string(process) + "/fd");
    return std::distance(begin(all), end(all));
}

/// Sets a parameter of the largest size, 65536 digits.
void setLargeEffect(ClientAppSetting& setting, unsigned char content) {
    constexpr std::uint32_t SIZE = 32768;
    std::vector<std::uint8_t> block(sizeof(audio::effect_param_t) + SIZE, content);
    auto& head = *reinterpret_cast<audio::effect_param_t*>(block.data());
    head = {};
    head.size = SIZE;
    ASSERT_EQ(setting.setEffectParameter("main", "hall", head), AUDIO_NO_ERROR);
}

TEST(Subscription, BeginsWithTheSettingsAndTheStreams) {
    const RealServer server;
    Subscriber subscriber;
    const json first = subscriber.next();
    EXPECT_THAT(first["time"].get<std::string>(),
                MatchesRegex("[0-9-]+T[0-9]+:[0-9]+:[0-9]+\\.[0-9]+[+-][0-9]+:[0-9]+"));
    EXPECT_EQ(first["document"]["settings"], json::parse(server.command("state"))["settings"]);
    EXPECT_EQ(first["document"]["streams"], json::array());
}

TEST(Subscription, HasEveryChangeInOrder) {
    const RealServer server;
    Subscriber one;
    Subscriber other;
    one.next();
    other.next();
    ClientVolumeSetting volume;
    const std::vector<float> gains = {-1, -2, -1, -2, 0};
    for (const float gain : gains)
        ASSERT_EQ(volume.setMasterVolume(gain), AUDIO_NO_ERROR);
    for (Subscriber* subscriber : {&one, &other})
        for (const float gain : gains) {
            EXPECT_EQ(subscriber->next()["patch"].size(), 1u);
            EXPECT_EQ(subscriber->master(), gain);
        }
}

TEST(Subscription, IsSilentAboutARequestThatChangesNothing) {
    const RealServer server;
    Subscriber subscriber;
    subscriber.next();
    ClientVolumeSetting volume;
    ASSERT_EQ(volume.setMasterVolume(0.0F), AUDIO_NO_ERROR);
    ASSERT_EQ(volume.setMasterVolume(-1.0F), AUDIO_NO_ERROR);
    subscriber.next();
    EXPECT_EQ(subscriber.master(), -1);
}

TEST(Subscription, OfASubscriberThatDoesNotReadIsEndedWithAReason) {
    const RealServer server;
    Subscriber lazy;
    Subscriber eager;
    EXPECT_TRUE(eager.next().contains("document"));
    ClientAppSetting setting;
    for (unsigned char i = 1; i <= 26; ++i) {
        setLargeEffect(setting, i);
        EXPECT_TRUE(eager.next().contains("patch"));
    }
    EXPECT_THAT(server.output(), HasSubstr("a subscriber to changes does not read them, and is "
                                           "dropped\n"));
    json last = lazy.next();
    EXPECT_TRUE(last.contains("document"));
    while (last.contains("document") || last.contains("patch"))
        last = lazy.next();
    EXPECT_EQ(last["error"], "this subscriber has not read the changes, and is dropped");
    EXPECT_TRUE(lazy.next().is_discarded());
    // The server and the other subscriber are not held up.
    setLargeEffect(setting, 99);
    EXPECT_TRUE(eager.next().contains("patch"));
}

TEST(Subscription, EndsWithItsConnection) {
    const RealServer server;
    auto during = descriptorsOf(server.pid());
    {
        Subscriber subscriber;
        subscriber.next();  // the server has closed what it needed for its start
        during = descriptorsOf(server.pid());
    }
    EXPECT_TRUE(eventually([&] { return descriptorsOf(server.pid()) == during - 1; }));
}

}  // namespace
}  // namespace cabinaudio::test
