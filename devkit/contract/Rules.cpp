// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Rule.h"

namespace cabinaudio::contract {

const Rules& allRules() {
    static const Rules rules = [] {
        Rules all;
        addRegistrationRules(all);
        addFrameRules(all);
        addRequestRules(all);
        addSettingRules(all);
        addRefusalRules(all);
        addPlaybackRules(all);
        addSinkRules(all);
        addCaptureRules(all);
        addUplinkRules(all);
        addRingRules(all);
        addNotificationRules(all);
        addMalformedRules(all);
        addLimitRules(all);
        return all;
    }();
    return rules;
}

}  // namespace cabinaudio::contract
