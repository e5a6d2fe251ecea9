// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Metronome.h"

namespace cabinaudio::test {

/// Part of a fixture whose programs have smaller buffers than the rings of a server, and ordinary
/// threads: shorter pauses of the machine are enough to lose sound.
struct SmallBuffers {
    SmallBuffers() { Metronome::setBridged(std::chrono::milliseconds(5)); }
};

}  // namespace cabinaudio::test
