// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/Operations.h"

namespace cabinaudio::fuzz {

using namespace audio;

namespace {

using V = ClientVolumeSetting;

/// Calls an operation with arguments that follow from its signature.
template <auto MEMBER>
struct Call {
    template <typename Client>
    static void run(Client& client, Input& in) {
        invoke(client, in, MEMBER);
    }
};

/// The table of these gains ends above the range of other gains.
template <>
struct Call<&V::setMicAnalogGain> {
    static void run(V& volume, Input& in) {
        const float left = in.gain(-24, 46);
        volume.setMicAnalogGain(left, in.gain(-24, 46));
    }
};

/// Refuses all but small numbers that fit each other.
template <>
struct Call<&V::setFadeBalance> {
    static void run(V& volume, Input& in) {
        const bool isSmall = in.flag();
        const auto number = [&] {
            return isSmall ? std::int32_t{in.number<std::int8_t>()} : in.number<std::int32_t>();
        };
        const std::int32_t fade = number();
        const std::int32_t balance = number();
        volume.setFadeBalance(fade, balance, in.byte());
    }
};

/// Takes eight gains, and mostly refuses other tags than this one.
template <>
struct Call<&V::setTrackChannelGain> {
    static void run(V& volume, Input& in) {
        const auto gains = std::make_unique<float[]>(8);
        for (std::size_t i = 0; i < 8; ++i)
            gains[i] = in.gain();
        const char* const tag = in.flag() ? "auxiliary" : in.orNull(in.name());
        const char* const name = in.orNull(in.text());
        volume.setTrackChannelGain(tag, name, in.orNull(gains.get()));
    }
};

/// The name is the member's.
template <typename Client, Requests REQUESTS, auto MEMBER>
Operation<Client> operation() {
    return {__PRETTY_FUNCTION__, REQUESTS,
            [](Client& client, Input& input) { Call<MEMBER>::run(client, input); }};
}

template <typename Client, typename... Listed>
std::vector<Operation<Client>> virtualOperations(test::slots::OperationList<Listed...>) {
    return {operation<Client, Listed::REQUESTS, Listed::MEMBER>()...};
}

/// Operations without a slot.
template <typename Client>
std::vector<Operation<Client>> otherOperations() {
    if constexpr (std::is_same_v<Client, V>)
        return {operation<V, Requests::One, static_cast<int (V::*)(unsigned, bool)>(&V::mute)>(),
                operation<V, Requests::One, static_cast<int (V::*)(unsigned, bool)>(&V::demute)>(),
                operation<V, Requests::One,
                          static_cast<int (V::*)(audio_out_path_id_e, bool&)>(&V::getMuteState)>()};
    return {};
}

}  // namespace

template <typename Client>
const std::vector<Operation<Client>>& operationsOf() {
    static const std::vector<Operation<Client>> operations = [] {
        auto all = virtualOperations<Client>(typename test::slots::Operations<Client>::All());
        for (const Operation<Client>& other : otherOperations<Client>())
            all.push_back(other);
        return all;
    }();
    return operations;
}

template const std::vector<Operation<ClientVolumeSetting>>& operationsOf();
template const std::vector<Operation<ClientSourceSetting>>& operationsOf();
template const std::vector<Operation<ClientAppSetting>>& operationsOf();
template const std::vector<Operation<ClientMixerSetting>>& operationsOf();
template const std::vector<Operation<ClientAudioRecordControl>>& operationsOf();

}  // namespace cabinaudio::fuzz
