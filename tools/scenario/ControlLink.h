// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cabinaudio::tool::scenario {

/// A connection to the control socket of a server of any instance, for one command after the
/// other. Does without the board stand-in. Some answers come only when time has passed.
class ControlLink {
public:
    /// @throws Failure when no server listens there
    explicit ControlLink(const std::string& instance);
    ~ControlLink();
    ControlLink(const ControlLink&) = delete;
    ControlLink& operator=(const ControlLink&) = delete;

    /// A server that is gone is no error here: receive() tells it.
    void send(const std::string& line) const;

    /// Waits for the next answer, a line.
    /// @return empty if there is none in time
    /// @throws Failure when the server has closed the connection
    [[nodiscard]] std::optional<std::string> receive(std::chrono::milliseconds bound);

private:
    int mDescriptor;
    std::string mInput;
};

}  // namespace cabinaudio::tool::scenario
