// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/StreamRecord.h"
#include "devkit/server/settings/Settings.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// The changes of settings and of ducking since the start, each with the frame of the output at
/// which it took effect, for the report.
class ChangeList {
public:
    explicit ChangeList(const Settings& settings);

    /// @param frame  next frame of the output
    void settingsChanged(std::uint64_t frame);
    /// @param prompt  name of the stream that ducks; empty for none
    void ducked(std::uint64_t frame, float factor, const std::string& prompt);

    /// With the changes of the streams, in the order of the frames.
    [[nodiscard]] nlohmann::json describe(const std::vector<std::shared_ptr<StreamRecord>>& streams,
                                          std::uint32_t rate) const;

private:
    const Settings& mSettings;
    nlohmann::json mBefore;
    std::vector<nlohmann::json> mChanges;
};

}  // namespace cabinaudio::server
