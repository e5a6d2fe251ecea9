// SPDX-License-Identifier: Apache-2.0
#include "tools/Names.h"

#include <cabinaudio/foundation/AudioStatus.h>

namespace cabinaudio::tool {

std::string statusName(std::int32_t status) {
    switch (status) {
        case AUDIO_NO_ERROR:
            return "AUDIO_NO_ERROR";
        case AUDIO_NOT_CONNECTED:
            return "AUDIO_NOT_CONNECTED";
        case AUDIO_NO_MEMORY:
            return "AUDIO_NO_MEMORY";
        case AUDIO_TIMED_OUT:
            return "AUDIO_TIMED_OUT";
        case AUDIO_BAD_SEQUENCE:
            return "AUDIO_BAD_SEQUENCE";
        case AUDIO_BAD_VALUE:
            return "AUDIO_BAD_VALUE";
        case AUDIO_INVALID_OPERATION:
            return "AUDIO_INVALID_OPERATION";
        case AUDIO_INVALID_STATE:
            return "AUDIO_INVALID_STATE";
        default:
            return "";
    }
}

std::string statusText(std::int32_t status) {
    // The library's status when the request did not reach the server, or no answer came back.
    if (status == 1) return "the request did not go through";
    const std::string name = statusName(status);
    const std::string number = std::to_string(status);
    return name.empty() ? "status " + number : name + " (" + number + ")";
}

std::string tagText(AudioTagType tag) {
    const std::string name = AudioTypes::getTag(tag);
    return name.empty() ? std::to_string(tag) : name;
}

const std::vector<std::string>& playbackTagNames() {
    static const std::vector<std::string> names = {
        "alternative", "auxiliary", "main", "output_input0_invocation", "output_uplink_invocation"};
    return names;
}

const std::vector<std::string>& captureTagNames() {
    static const std::vector<std::string> names = {"input0", "input1", "input2",
                                                   "input_front_feedback", "uplink"};
    return names;
}

}  // namespace cabinaudio::tool
