// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::test {

/// Where in the answer to a message, or in the notification behind it, a server stands still.
enum class Cut {
    BEFORE,               // nothing has been answered
    IN_HEADER,            // 13 bytes of it
    IN_BODY,              // all but two bytes
    BEHIND,               // answered
    IN_NOTIFICATION,      // answered, and 21 bytes of a notification
    BEHIND_NOTIFICATION,  // the ring is announced, and not asked for
};
constexpr int CUTS = 6;

}  // namespace cabinaudio::test
