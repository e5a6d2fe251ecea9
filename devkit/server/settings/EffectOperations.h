// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/Operation.h"
#include "wire/SettingRecords.h"
#include "wire/Stream.h"

#include <cstdint>
#include <span>

namespace cabinaudio::server {

// Requests about effects of playback streams, on application-setting connections. An effect is
// identified by its tag and name.
std::int32_t setPlaybackEffectEnabled(Call& call, const wire::EffectSwitchRequest& request,
                                      wire::StatusReply& reply);
std::int32_t getPlaybackEffectEnabled(Call& call, const wire::TwoNamesRequest& request,
                                      wire::SwitchReply& reply);
std::int32_t setPlaybackEffect(Call& call, const wire::EffectRequest& request,
                               std::span<const std::uint8_t> parameter, wire::StatusReply& reply);
std::int32_t getPlaybackEffect(Call& call, const wire::EffectRequest& request,
                               wire::EffectReply& reply, std::span<std::uint8_t> parameter);

}  // namespace cabinaudio::server
