// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/AudioSink.h>
#include <cabinaudio/foundation/AudioStatus.h>

int AudioSink::setKeyShift(float /*key*/) {
    return AUDIO_NO_ERROR;
}
