// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/fuzz/Arguments.h"
#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"

#include <cstring>
#include <tuple>
#include <vector>

namespace cabinaudio::fuzz {

/// How many requests an operation makes.
enum class Requests { None, One, Several };

/// Calls the member with arguments out of the input, first to last, and checks its results.
template <typename Client, typename Result, typename Owner, typename... Parameter>
void invoke(Client& client, Input& input, Result (Owner::*member)(Parameter...)) {
    std::tuple<Argument<Parameter>...> arguments{Argument<Parameter>(input)...};
    std::apply(
        [&](auto&... argument) {
            if constexpr (std::is_same_v<Result, const char*>) {
                const char* const name = (client.*member)(argument.get()...);
                if (name != nullptr) demand(strnlen(name, 64) < 64, "a name ends in its field");
            } else {
                (client.*member)(argument.get()...);
            }
            (argument.check(), ...);
        },
        arguments);
}

/// One operation with arguments out of the input.
template <typename Client>
struct Operation {
    const char* name;
    Requests requests;
    void (*invoke)(Client& client, Input& input);

    /// An operation whose arguments follow from its signature. The name is the member's.
    template <Requests REQUESTS, auto MEMBER>
    static Operation of() {
        return {__PRETTY_FUNCTION__, REQUESTS,
                [](Client& client, Input& input) { fuzz::invoke(client, input, MEMBER); }};
    }
    template <auto MEMBER>
    static Operation none() {
        return of<Requests::None, MEMBER>();
    }
    template <auto MEMBER>
    static Operation one() {
        return of<Requests::One, MEMBER>();
    }
    template <auto MEMBER>
    static Operation several() {
        return of<Requests::Several, MEMBER>();
    }
    /// The same for overloads, which the member's type tells apart.
    template <typename Member, Member MEMBER>
    static Operation none() {
        return of<Requests::None, MEMBER>();
    }
    template <typename Member, Member MEMBER>
    static Operation one() {
        return of<Requests::One, MEMBER>();
    }
};

/// Every operation of each class.
const std::vector<Operation<ClientVolumeSetting>>& operationsOf(const ClientVolumeSetting*);
const std::vector<Operation<ClientSourceSetting>>& operationsOf(const ClientSourceSetting*);
const std::vector<Operation<ClientAppSetting>>& operationsOf(const ClientAppSetting*);
const std::vector<Operation<ClientMixerSetting>>& operationsOf(const ClientMixerSetting*);
const std::vector<Operation<ClientAudioRecordControl>>& operationsOf(
    const ClientAudioRecordControl*);

}  // namespace cabinaudio::fuzz
