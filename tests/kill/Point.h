// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::test {

/// Where in the answer to a message, or in the notification behind it, a server stands still.
enum class Cut {
    Before,              // nothing has been answered
    InHeader,            // 13 bytes of it
    InBody,              // all but two bytes
    Behind,              // answered
    InNotification,      // answered, and 21 bytes of a notification
    BehindNotification,  // the ring is announced, and not asked for
};
constexpr int CUTS = 6;

}  // namespace cabinaudio::test
