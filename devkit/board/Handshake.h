// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/Board.h"

#include <elf.h>

#include <cstdint>

namespace cabinaudio::board {

/// The machine that this code was compiled for, as ELF headers name it.
constexpr std::uint16_t THIS_MACHINE =
#if defined(__x86_64__)
    EM_X86_64;
#elif defined(__i386__)
    EM_386;
#elif defined(__aarch64__)
    EM_AARCH64;
#elif defined(__arm__)
    EM_ARM;
#else
    EM_NONE;
#endif

/// The message of the preloaded library to the launcher. The machine distinguishes the library in
/// an emulated program from one that was loaded into the emulator itself.
struct HandshakeAnswer {
    char magic[4] = {'C', 'A', 'B', 'O'};  // 0
    std::uint16_t version = VERSION;       // 4
    std::uint16_t machine = THIS_MACHINE;  // 6
};
static_assert(sizeof(HandshakeAnswer) == 8);

/// Answers if the launcher offers it to this process, and removes the offer.
void answerLauncher() noexcept;

}  // namespace cabinaudio::board
