// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A client of any kind while it talks to a server: what it does one step after the other, each
/// with requests or without. The first step makes the object.
class AnyClient {
public:
    virtual ~AnyClient() = default;
    /// @return the status of this step, 0 or more for good
    virtual int step(int number) = 0;
    /// An operation that a client without its server refuses.
    virtual int operate() = 0;
    /// Whether nothing is being asked that a notification of the server has caused, once it was
    /// started.
    virtual bool isSettled() { return true; }
};

struct ClientKind {
    std::string name;
    bool isStream;
    int messages;  // that each of its servers gets, the registration included
    std::function<std::unique_ptr<AnyClient>()> begin;
};

/// Steps of every client behind which it has sent all its messages.
constexpr int STEPS = 5;

[[nodiscard]] const std::vector<ClientKind>& clientKinds();

}  // namespace cabinaudio::test
