// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/EffectBlock.h"
#include "foundation/Make.h"

using namespace cabinaudio::setting;
using Function = cabinaudio::wire::RecordControlFunction;

ClientAudioRecordControl::ClientAudioRecordControl() noexcept
    : mRc(cabinaudio::make<RemoteCall>(AUDIO_CONNECT_RECORD_CONTROL, nullptr, nullptr, nullptr)) {}

ClientAudioRecordControl::~ClientAudioRecordControl() {
    delete mRc;
}

int ClientAudioRecordControl::set(const char* tag, const char* effect,
                                  const audio::effect_param_t& parameter) {
    if (tag == nullptr || effect == nullptr) return refuse();
    return setEffect<Function::Set>(*mRc, tag, effect, parameter);
}

int ClientAudioRecordControl::get(const char* tag, const char* effect,
                                  audio::effect_param_t& parameter) {
    if (tag == nullptr || effect == nullptr) return refuse();
    return getEffect<Function::Get>(*mRc, tag, effect, parameter);
}
