// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Refusal.h"

#include <cerrno>
#include <system_error>

namespace cabinaudio::run {

std::string withReason(const std::string& failed) {
    return failed + ": " + std::generic_category().message(errno);
}

}  // namespace cabinaudio::run
