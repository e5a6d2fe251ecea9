// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/Instance.h"

#include "devkit/board/Board.h"
#include "devkit/board/Names.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

namespace cabinaudio::board {
namespace {

constinit std::atomic<bool> gHasEnvironment{false};

void warnOnce(const char* instance, const char* why) noexcept {
    static constinit std::atomic<bool> warned{false};
    if (warned.exchange(true)) return;
    Text<160> line;
    line.append(LIBRARY_NAME).append(": ").append(INSTANCE_VARIABLE).append("=");
    line.append(instance, strnlen(instance, 2 * INSTANCE_LENGTH)).append(why).append("\n");
    const ssize_t written = write(STDERR_FILENO, line.c_str(), line.length());
    static_cast<void>(written);  // nowhere else to report an error
}

/// A program's .preinit_array runs before the C library has the environment. Treating that as "no
/// instance" would use the common instance by mistake.
bool isBeforeEnvironment() noexcept {
    return environ == nullptr && !gHasEnvironment;
}

}  // namespace

void noteEnvironment() noexcept {
    gHasEnvironment = true;
}

const char* instanceOrRefuse() noexcept {
    const char* instance = isBeforeEnvironment() ? nullptr : instanceInEnvironment();
    if (instance != nullptr) return instance;
    const char* refused = getenv(INSTANCE_VARIABLE);
    if (refused == nullptr)
        warnOnce("?", " cannot be read yet");
    else
        warnOnce(refused, " is not an instance name");
    errno = EINVAL;
    return nullptr;
}

}  // namespace cabinaudio::board
