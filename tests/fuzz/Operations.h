// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/fuzz/Arguments.h"
#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "tests/support/SettingSlots.h"

#include <cstring>
#include <tuple>
#include <vector>

namespace cabinaudio::fuzz {

using test::slots::Requests;

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
};

/// Every operation of each class.
template <typename Client>
const std::vector<Operation<Client>>& operationsOf();

}  // namespace cabinaudio::fuzz
