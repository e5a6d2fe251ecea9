// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/SettingRecords.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// Text forms of settings requests and replies for trace lines.
namespace cabinaudio::trace {

std::string describe(const wire::NumberRequest& request);
std::string describe(const wire::TwoNumbersRequest& request);
std::string describe(const wire::ChannelRequest& request);
std::string describe(const wire::ChannelNumberRequest& request);
std::string describe(const wire::PathRequest& request);
std::string describe(const wire::MuteRequest& request);
std::string describe(const wire::StepRequest& request);
std::string describe(const wire::GainRequest& request);
std::string describe(const wire::RampRequest& request);
std::string describe(const wire::ChannelStepRequest& request);
std::string describe(const wire::ChannelGainRequest& request);
std::string describe(const wire::InputGainRequest& request);
std::string describe(const wire::NameRequest& request);
std::string describe(const wire::NameStepRequest& request);
std::string describe(const wire::NameGainRequest& request);
std::string describe(const wire::TwoNamesRequest& request);
std::string describe(const wire::TrackStepRequest& request);
std::string describe(const wire::TrackGainRequest& request);
std::string describe(const wire::TrackChannelsRequest& request);
std::string describe(const wire::MixerStepsRequest& request);
std::string describe(const wire::MixerGainsRequest& request);
std::string describe(const wire::DacMappingRequest& request);
std::string describe(const wire::I2sMappingRequest& request);
std::string describe(const wire::PcmInterfaceRequest& request);
std::string describe(const wire::I2sFormatRequest& request);
std::string describe(const wire::EqualizerRequest& request);
std::string describe(const wire::NonLinearRequest& request);
std::string describe(const wire::HandsfreeEqualizerRequest& request);
std::string describe(const wire::EffectSwitchRequest& request);
std::string describe(const wire::EffectRequest& request);

std::string describe(const wire::NumberReply& reply);
std::string describe(const wire::StepReply& reply);
std::string describe(const wire::SwitchReply& reply);
std::string describe(const wire::GainReply& reply);
std::string describe(const wire::DelayReply& reply);
std::string describe(const wire::RampReply& reply);
std::string describe(const wire::ChannelStepReply& reply);
std::string describe(const wire::ChannelGainReply& reply);
std::string describe(const wire::InputGainReply& reply);
std::string describe(const wire::CalibrationReply& reply);
std::string describe(const wire::NameReply& reply);
std::string describe(const wire::NamesReply& reply);
std::string describe(const wire::TracksReply& reply);
std::string describe(const wire::OutputTracksReply& reply);
std::string describe(const wire::LevelsReply& reply);
std::string describe(const wire::LevelReply& reply);
std::string describe(const wire::DacMappingReply& reply);
std::string describe(const wire::I2sMappingReply& reply);
std::string describe(const wire::EqualizerReply& reply);
std::string describe(const wire::NonLinearReply& reply);
std::string describe(const wire::HandsfreeEqualizerReply& reply);
std::string describe(const wire::EffectReply& reply);

}  // namespace cabinaudio::trace
