// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::replay {

struct FieldDifference {
    std::string field;
    std::string recorded;
    std::string got;
};

/// Compares messages by the names of their fields.
class Fields {
public:
    /// @param ignored  further fields that are not compared: "field" or "operation.field"
    explicit Fields(const std::vector<std::string>& ignored);

    /// Whether there is a field "field" or "operation.field".
    [[nodiscard]] static bool isKnown(const std::string& field);

    /// Messages of a client, in whole: an audio_param and the payload.
    [[nodiscard]] std::vector<FieldDifference> compareRequests(
        std::uint32_t type, std::span<const std::uint8_t> recorded,
        std::span<const std::uint8_t> got) const;

    /// Answers to a registration, in whole: a frame header and the body.
    [[nodiscard]] std::vector<FieldDifference> compareRegistrations(
        std::span<const std::uint8_t> recorded, std::span<const std::uint8_t> got) const;
    /// Answers to a request.
    [[nodiscard]] std::vector<FieldDifference> compareReplies(
        std::uint32_t type, std::uint32_t function, std::span<const std::uint8_t> recorded,
        std::span<const std::uint8_t> got) const;
    [[nodiscard]] std::vector<FieldDifference> compareNotifications(
        std::span<const std::uint8_t> recorded, std::span<const std::uint8_t> got) const;

private:
    [[nodiscard]] bool isIgnored(const std::string& operation, const std::string& field) const;

    std::set<std::string> mIgnored;
};

}  // namespace cabinaudio::replay
