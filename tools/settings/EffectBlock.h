// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/settings/Setting.h"

#include <cstring>
#include <vector>

namespace cabinaudio::tool {

/// Maximum size of an effect's parameter, bytes.
constexpr std::size_t LARGEST_EFFECT = 65536;

/// An effect's parameter in the library's form: a header followed by the bytes.
class EffectBlock {
public:
    explicit EffectBlock(const Octets& bytes) : EffectBlock(bytes.size()) {
        std::memcpy(mBlock.data() + sizeof(audio::effect_param_t), bytes.data(), bytes.size());
    }
    /// All zeros.
    explicit EffectBlock(std::size_t size)
        : mBlock(sizeof(audio::effect_param_t) + size), mSize(size) {
        head().size = static_cast<std::uint32_t>(size);
    }

    [[nodiscard]] audio::effect_param_t& head() {
        return *reinterpret_cast<audio::effect_param_t*>(mBlock.data());
    }
    [[nodiscard]] Octets bytes() {
        const std::uint8_t* data = audio::effectData(head());
        return {data, data + mSize};
    }

private:
    Octets mBlock;
    std::size_t mSize;
};

/// Asks for the parameter's size first, then for all of it.
/// @param get  the library's operation; takes the header
template <typename Get>
Reading readEffect(Get get) {
    EffectBlock none(std::size_t{0});
    if (const int status = get(none.head()); status != AUDIO_NO_ERROR) return {status, {}};
    if (none.head().size > LARGEST_EFFECT) return {AUDIO_BAD_VALUE, {}};
    if (none.head().size == 0) return {AUDIO_NO_ERROR, Octets{}};
    EffectBlock block(none.head().size);
    const int status = get(block.head());
    return {status, block.bytes()};
}

}  // namespace cabinaudio::tool
