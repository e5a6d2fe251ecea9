// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Peer.h"

#include <cstdint>
#include <vector>

namespace cabinaudio::fuzz {

/// How many requests an operation makes.
enum class Requests { NONE, ONE, SEVERAL };

/// One operation with arguments out of the input.
template <typename Client>
struct Operation {
    const char* name;
    Requests requests;
    void (*invoke)(Client& client, Input& input, Peer& peer);
};

/// Every operation of each class.
const std::vector<Operation<ClientVolumeSetting>>& operationsOf(const ClientVolumeSetting*);
const std::vector<Operation<ClientSourceSetting>>& operationsOf(const ClientSourceSetting*);
const std::vector<Operation<ClientAppSetting>>& operationsOf(const ClientAppSetting*);
const std::vector<Operation<ClientMixerSetting>>& operationsOf(const ClientMixerSetting*);
const std::vector<Operation<ClientAudioRecordControl>>& operationsOf(
    const ClientAudioRecordControl*);

}  // namespace cabinaudio::fuzz
