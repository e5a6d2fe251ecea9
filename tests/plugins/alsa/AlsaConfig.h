// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <alsa/asoundlib.h>

#include <stdexcept>
#include <string>

namespace cabinaudio::test {

/// A configuration of ALSA that is this test's own: none of the machine's files is read.
class AlsaConfig {
public:
    /// @param text  definitions besides those of the modules' places
    explicit AlsaConfig(const std::string& text) {
        const std::string all =
            std::string("pcm_type.cabinaudio.lib \"" CABINAUDIO_TEST_PCM "\"\n") +
            "ctl_type.cabinaudio.lib \"" CABINAUDIO_TEST_CTL "\"\n" + text;
        snd_input_t* input = nullptr;
        if (snd_config_top(&mTop) < 0 ||
            snd_input_buffer_open(&input, all.c_str(), static_cast<ssize_t>(all.size())) < 0 ||
            snd_config_load(mTop, input) < 0)
            throw std::runtime_error("bad configuration: " + text);
        snd_input_close(input);
    }
    ~AlsaConfig() { snd_config_delete(mTop); }
    AlsaConfig(const AlsaConfig&) = delete;
    AlsaConfig& operator=(const AlsaConfig&) = delete;

    [[nodiscard]] snd_config_t* top() const { return mTop; }

private:
    snd_config_t* mTop = nullptr;
};

/// The definition of a PCM "cab" with these keys besides its type.
inline std::string pcmDefinition(const std::string& keys) {
    return "pcm.cab { type cabinaudio " + keys + " }\n";
}

}  // namespace cabinaudio::test
