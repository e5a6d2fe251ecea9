// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/contract/Session.h"

#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::contract {

/// Sections of docs/protocol.md.
inline constexpr char MESSAGES[] = "2. Messages";
inline constexpr char CONVERSATION[] = "3. The conversation";
inline constexpr char VERSION[] = "4. Version connections";
inline constexpr char PLAYBACK[] = "5. Playback connections";
inline constexpr char CAPTURE[] = "6. Capture connections";
inline constexpr char SETTINGS[] = "7. Settings connections";
inline constexpr char RINGS[] = "9. Rings";

/// Effect of a rule's check on the server.
enum class Effect {
    Reads,    // a production server is not changed: no settings, no streams, no malformed input
    Changes,  // what it changes is set back, or ends with its connection
    Lasts,    // sets something that cannot be read, and so not be set back
};

/// A promise of docs/protocol.md that is checked against a running server.
struct Rule {
    std::string name;      // subject first: "registration.reply"
    std::string sentence;  // of --list
    const char* section;
    Effect effect;
    /// @throws Broken, NotJudged or Interrupted
    std::function<void(Session&)> check;
};

using Rules = std::vector<Rule>;

// One function for each subject; each appends its rules in the order of their checks.
void addRegistrationRules(Rules& rules);
void addFrameRules(Rules& rules);
void addRequestRules(Rules& rules);
void addSettingRules(Rules& rules);
void addRefusalRules(Rules& rules);
void addPlaybackRules(Rules& rules);
void addSinkRules(Rules& rules);
void addCaptureRules(Rules& rules);
void addUplinkRules(Rules& rules);
void addRingRules(Rules& rules);
void addNotificationRules(Rules& rules);
void addMalformedRules(Rules& rules);
void addLimitRules(Rules& rules);

/// All rules, in the order in which they are checked.
[[nodiscard]] const Rules& allRules();

}  // namespace cabinaudio::contract
