// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>

#include "client/Setting.h"

#include <cstdint>
#include <type_traits>

/// Operations on an effect's parameter block, which contains its own length. The request is an
/// EffectRequest followed by the block's data. Strings must not be null.
namespace cabinaudio::setting {

/// One request, with the length of the caller's block.
/// @param into  gets the reply's block, including the header, whenever the server has answered;
///              null for an operation without a result
/// @retval AUDIO_NO_MEMORY  another request is in progress, or the size is too large for a request
std::int32_t sendEffect(const Caller& caller, std::uint32_t function, const char* tag,
                        const char* effect, const audio::effect_param_t& from,
                        audio::effect_param_t* into);

namespace {

template <auto FUNCTION>
std::int32_t setEffect(const From& from, const char* tag, const char* effect,
                       const audio::effect_param_t& parameter) {
    static_assert(std::is_same_v<wire::RequestOf<FUNCTION>, wire::EffectRequest> &&
                  std::is_same_v<wire::ReplyOf<FUNCTION>, wire::StatusReply>);
    return sendEffect(from, id(FUNCTION), tag, effect, parameter, nullptr);
}

template <auto FUNCTION>
std::int32_t getEffect(const From& from, const char* tag, const char* effect,
                       audio::effect_param_t& parameter) {
    static_assert(std::is_same_v<wire::RequestOf<FUNCTION>, wire::EffectRequest> &&
                  std::is_same_v<wire::ReplyOf<FUNCTION>, wire::EffectReply>);
    return sendEffect(from, id(FUNCTION), tag, effect, parameter, &parameter);
}

}  // namespace

}  // namespace cabinaudio::setting
