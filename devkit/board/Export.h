// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks a function that the stand-in exports to the program.
#define BOARD_EXPORT __attribute__((visibility("default")))
