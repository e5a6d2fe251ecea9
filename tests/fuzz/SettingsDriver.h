// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/fuzz/Peer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>

namespace cabinaudio::fuzz {

/// Calls operations of the settings with arbitrary arguments against arbitrary answers. What is
/// wrong ends the process: by a sanitizer, by the library, or by a demand that is not met. One
/// driver per process: it stands for the server under the process's instance name.
///
/// The connections live as long as the driver; one that its peer has closed is made anew.
class SettingsDriver {
public:
    SettingsDriver();
    ~SettingsDriver();
    SettingsDriver(const SettingsDriver&) = delete;
    SettingsDriver& operator=(const SettingsDriver&) = delete;

    /// Up to OPERATIONS_MAX operations out of the bytes.
    void run(const std::uint8_t* data, std::size_t size);

    /// For each operation how often it was answered; and how many have no answer, being without
    /// effect.
    [[nodiscard]] std::vector<std::uint64_t> answers() const;
    /// The functions that were answered.
    [[nodiscard]] std::set<Function> functions() const;
    [[nodiscard]] const char* nameOf(std::size_t operation) const;
    [[nodiscard]] bool hasEffect(std::size_t operation) const;

    static constexpr int OPERATIONS_MAX = 8;

private:
    struct Connections;
    std::unique_ptr<Connections> mConnections;
};

}  // namespace cabinaudio::fuzz
