// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Setting.h"

namespace cabinaudio::tool {

const std::vector<Setting>& settings() {
    static const std::vector<Setting> rows = [] {
        std::vector<Setting> table;
        addVolumeSettings(table);
        addMixerSettings(table);
        addSourceSettings(table);
        addAppSettings(table);
        return table;
    }();
    return rows;
}

}  // namespace cabinaudio::tool
