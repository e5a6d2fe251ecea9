// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks the names that leave the shared library; all others stay hidden. CABINAUDIO_LOCAL hides a
/// single member of an exported class.
#define CABINAUDIO_API __attribute__((visibility("default")))
#define CABINAUDIO_LOCAL __attribute__((visibility("hidden")))
