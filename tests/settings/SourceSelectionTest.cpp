// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientSourceSetting.h>

#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace cabinaudio::test {
namespace {

constexpr const char* VARIABLE = "USE_NEW_MAIN_AUDIO_SOURCE_MANAGEMENT";
constexpr const char* LEFT_TO_OTHERS =
    "USE_NEW_MAIN_AUDIO_SOURCE_MANAGEMENT is defined, plz call setOutPutSource API to change "
    "source\n";

class SelectedSource : public ::testing::Test {
protected:
    SelectedSource() { unsetenv(VARIABLE); }
    ~SelectedSource() override { unsetenv(VARIABLE); }

    int select() { return source.selectSource(audio_seat_id_e{1}, audio_source_id_e{2}); }
    [[nodiscard]] std::size_t sent() const { return server.requests(130, 2).size(); }

    ScriptedServer server;
    ClientSourceSetting source;
    LogCapture log;
};

TEST_F(SelectedSource, IsNotSentWhenTheVariableReadsAsOne) {
    for (const char* const value : {"1", " 1", "01", "1x", "+1", "\t0001 or so", "1.9"}) {
        setenv(VARIABLE, value, 1);
        log.clear();
        EXPECT_EQ(select(), 0) << value;
        EXPECT_TRUE(logged(log, WARN, "ClientSourceSetting", "selectSource", LEFT_TO_OTHERS))
            << value;
    }
    EXPECT_EQ(sent(), 0U);
}

TEST_F(SelectedSource, IsSentWhenTheVariableReadsAsAnotherNumber) {
    std::size_t expected = 0;
    for (const char* const value :
         {"0", "2", "", "x1", "-1", "11", "10", "true", "4294967297", "99999999999999999999"}) {
        setenv(VARIABLE, value, 1);
        EXPECT_EQ(select(), 0) << value;
        EXPECT_EQ(sent(), ++expected) << value;
    }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_F(SelectedSource, FollowsTheVariableFromCallToCall) {
    server.on(130, 2, Answer::status(-42));
    EXPECT_EQ(select(), -42);
    setenv(VARIABLE, "1", 1);
    EXPECT_EQ(select(), 0);
    setenv(VARIABLE, "0", 1);
    EXPECT_EQ(select(), -42);
    setenv(VARIABLE, "1", 1);
    EXPECT_EQ(select(), 0);
    unsetenv(VARIABLE);
    EXPECT_EQ(select(), -42);
    EXPECT_EQ(sent(), 3U);
}

/// A class of the application's own in between.
class Pins : public ClientSourceSetting {
public:
    int setAdcMuxPin(audio::audio_input_mux_id_e input,
                     audio::audio_input_select_pin_e pin) override {
        return static_cast<int>(input) * 10 + pin;
    }
    int getAdcMuxPin(audio::audio_input_mux_id_e input,
                     audio::audio_input_select_pin_e* pin) override {
        *pin = audio::audio_input_select_pin_e{9};
        return static_cast<int>(input);
    }
};

TEST(InputPin, ComesFromTheObjectsOwnOperation) {
    Pins pins;
    audio::QVAudioSetting::Source& source = pins;
    audio::audio_input_select_pin_e pin{};
    EXPECT_EQ(source.setInputMuxPin(audio::AUDIO_INPUT_MUX_1, audio::audio_input_select_pin_e{7}),
              17);
    EXPECT_EQ(source.getInputMuxPin(audio::AUDIO_INPUT_MUX_1, &pin), 1);
    EXPECT_EQ(pin, 9);
}

}  // namespace
}  // namespace cabinaudio::test
