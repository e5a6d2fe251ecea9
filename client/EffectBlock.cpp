// SPDX-License-Identifier: Apache-2.0
#include "client/EffectBlock.h"

#include <limits>

namespace cabinaudio::setting {
namespace {

constexpr std::uint32_t LARGEST =
    std::numeric_limits<std::uint32_t>::max() - std::uint32_t{sizeof(wire::EffectRequest)};

}  // namespace

std::int32_t sendEffect(const Caller& caller, std::uint32_t function, const char* tag,
                        const char* effect, const audio::effect_param_t& from,
                        audio::effect_param_t* into) {
    if (from.size > LARGEST) return AUDIO_NO_MEMORY;
    const wire::EffectRequest record{function, text(tag), text(effect), from.size};
    const Request request{.record = {&record, sizeof record}, .behind = {&from + 1, from.size}};
    if (into == nullptr) return sendRequest(caller, request, {}).status;
    // The size before the call: the reply overwrites it.
    const Result block{into, record.size + std::uint32_t{sizeof *into}};
    return fetch(caller, request, &block, 1);
}

}  // namespace cabinaudio::setting
