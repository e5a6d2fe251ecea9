// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/DescribeSettings.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <cstdint>
#include <string>

/// Text forms of requests, replies and notifications for trace lines. Requests without arguments
/// and replies without results give empty texts.
namespace cabinaudio::trace {

std::string describe(const wire::FunctionRequest& request);
std::string describe(const wire::CreateRequest& request);
std::string describe(const wire::KeyShiftRequest& request);
std::string describe(const wire::VolumeRequest& request);

std::string describe(const wire::StatusReply& reply);
std::string describe(const wire::CreateReply& reply);
std::string describe(const wire::ShareMemoryReply& reply);
std::string describe(const wire::VolumeReply& reply);
std::string describe(const wire::VersionReply& reply);

std::string describe(const AudioFormatDesc& format);

/// A notification to a client of this type.
std::string describeEvent(audio_connect_type type, std::uint32_t event, std::uint32_t param);

/// The status's name, or its number when it has no name.
std::string statusName(std::int32_t status);

}  // namespace cabinaudio::trace
