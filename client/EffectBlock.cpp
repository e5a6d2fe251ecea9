// SPDX-License-Identifier: Apache-2.0
#include "client/EffectBlock.h"

#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"

#include <limits>

namespace cabinaudio::setting {
namespace {

constexpr std::uint32_t BLOCK_OFFSET = 132;
constexpr std::uint32_t STATUS_SIZE = 4;
constexpr std::uint32_t LARGEST = std::numeric_limits<std::uint32_t>::max() - BLOCK_OFFSET -
                                  static_cast<std::uint32_t>(sizeof(audio::effect_param_t));

/// One request, whose length is the caller's.
/// @param into  gets the reply's block; null for an operation without a result
std::int32_t exchangeEffect(RemoteCall& rc, const LogSite& site, std::uint32_t function,
                            const char* tag, const char* effect, const audio::effect_param_t& from,
                            audio::effect_param_t* into) {
    if (from.size > LARGEST) return AUDIO_NO_MEMORY;
    // As before the call: the reply overwrites it.
    const std::uint32_t blockSize = from.size + static_cast<std::uint32_t>(sizeof from);
    using Fields = Sent<Text, Text, Memory>;
    const Fields fields{BLOCK_OFFSET + blockSize, {Text{tag}, Text{effect}, {&from, blockSize}}};
    const std::uint32_t resultSize = into != nullptr ? blockSize : 0;
    const std::tuple result{MemoryPlace{into, resultSize}};
    return exchange(rc, site, {function, fields.size, Fields::fill, &fields.forms},
                    {STATUS_SIZE + resultSize, takeAll<MemoryPlace>, &result})
        .status;
}

}  // namespace

std::int32_t setEffect(RemoteCall& rc, const LogSite& site, std::uint32_t function, const char* tag,
                       const char* effect, const audio::effect_param_t& parameter) {
    return exchangeEffect(rc, site, function, tag, effect, parameter, nullptr);
}

std::int32_t getEffect(RemoteCall& rc, const LogSite& site, std::uint32_t function, const char* tag,
                       const char* effect, audio::effect_param_t& parameter) {
    return exchangeEffect(rc, site, function, tag, effect, parameter, &parameter);
}

}  // namespace cabinaudio::setting
