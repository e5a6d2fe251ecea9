// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Elf.h"

#include <string>

namespace cabinaudio::run {

/// Environment: a board library to try first, for every program and for 32-bit ARM programs. A
/// library that does not fit the program is skipped.
constexpr char LIBRARY_VARIABLE[] = "CABINAUDIO_BOARD_LIB";
constexpr char ARM_LIBRARY_VARIABLE[] = "CABINAUDIO_ARMHF_BOARD_LIB";

/// The absolute path of the board library for a program. Search order:
/// 1. `given`, from the command line; must fit;
/// 2. the two environment variables;
/// 3. the launcher's directory, as in a build tree;
/// 4. ../lib/<triplet>/cabinaudio, ../lib/<triplet>, ../lib/cabinaudio and ../lib relative to
///    the launcher, as in an installed tree;
/// 5. for 32-bit ARM programs: the launcher's place in a neighbouring build tree "armhf".
/// @throws Refusal when none fits
std::string findBoardLibrary(const std::string& given, const ElfFile& program);

/// The absolute path of the recorder for a program: beside the board library, "" for none, or where
/// that is searched from step 3 on.
/// @throws Refusal when none fits
std::string findRecorder(const std::string& boardLibrary, const ElfFile& program);

}  // namespace cabinaudio::run
