// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/requests/Operations.h"

namespace cabinaudio::server {

std::span<const Operation> operationsOf(audio_connect_type type) {
    switch (type) {
        case AUDIO_CONNECT_MAIN:
            return sinkOperations();
        case AUDIO_CONNECT_ALTERNATIVE:
        case AUDIO_CONNECT_AUXILIARY:
        case AUDIO_CONNECT_OUTPUT_INVOCATION:
            return trackOperations();
        case AUDIO_CONNECT_INPUT0:
        case AUDIO_CONNECT_INPUT1:
        case AUDIO_CONNECT_INPUT2:
        case AUDIO_CONNECT_INPUT_FRONT_FEEDBACK:
            return captureOperations();
        case AUDIO_CONNECT_UPLINK:
            return uplinkOperations();
        case AUDIO_CONNECT_APP_SETTING:
            return appOperations();
        case AUDIO_CONNECT_MIXER_SETTING:
            return mixerOperations();
        case AUDIO_CONNECT_SOURCE_SETTING:
            return sourceOperations();
        case AUDIO_CONNECT_RECORD_CONTROL:
            return recordControlOperations();
        case AUDIO_CONNECT_VOLUME_SETTING:
            return volumeOperations();
        case AUDIO_CONNECT_VERSION_SETTING:
            return versionOperations();
        default:
            return {};
    }
}

}  // namespace cabinaudio::server
