// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/ChannelMaps.h"

#include <array>
#include <cstring>
#include <string>

namespace cabinaudio::alsa {

namespace {

constexpr std::array<const char*, MOST_CHANNELS + 1> MAPS = {
    "", "MONO", "FL,FR", "FL,FR,RL", "FL,FR,RL,RR", "FL,FR,RL,RR,FC", "FL,FR,RL,RR,FC,LFE"};

/// Zeroed memory from the allocator of alsa-lib, which frees the maps: a module that is bound
/// deeply to its own libraries may have another allocator than the program.
void* allocate(std::size_t bytes) noexcept {
    snd_pcm_hw_params_t* memory = nullptr;
    if (bytes > snd_pcm_hw_params_sizeof() || snd_pcm_hw_params_malloc(&memory) < 0) return nullptr;
    std::memset(static_cast<void*>(memory), 0, bytes);
    return memory;
}

void fill(snd_pcm_chmap_t& map, const snd_pcm_chmap_t& from) noexcept {
    map.channels = from.channels;
    std::memcpy(map.pos, from.pos, from.channels * sizeof *from.pos);
}

snd_pcm_chmap_query_t* query(unsigned channels) noexcept {
    snd_pcm_chmap_t* const map = channelMap(channels);
    if (map == nullptr) return nullptr;
    auto* const result = static_cast<snd_pcm_chmap_query_t*>(
        allocate(sizeof(snd_pcm_chmap_query_t) + channels * sizeof *map->pos));
    if (result != nullptr) {
        result->type = SND_CHMAP_TYPE_FIXED;
        fill(result->map, *map);
    }
    snd_pcm_hw_params_free(reinterpret_cast<snd_pcm_hw_params_t*>(map));
    return result;
}

}  // namespace

snd_pcm_chmap_t* channelMap(unsigned channels) noexcept {
    return channels >= 1 && channels <= MOST_CHANNELS ? snd_pcm_chmap_parse_string(MAPS[channels])
                                                      : nullptr;
}

snd_pcm_chmap_query_t** allChannelMaps() noexcept {
    auto** const maps = static_cast<snd_pcm_chmap_query_t**>(
        allocate((MOST_CHANNELS + 1) * sizeof(snd_pcm_chmap_query_t*)));
    if (maps == nullptr) return nullptr;
    for (unsigned channels = 1; channels <= MOST_CHANNELS; ++channels)
        maps[channels - 1] = query(channels);
    return maps;
}

}  // namespace cabinaudio::alsa
