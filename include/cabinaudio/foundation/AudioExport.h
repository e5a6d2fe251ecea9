// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what leaves the shared library; everything else stays hidden. CABINAUDIO_LOCAL hides a
/// single member of an exported class.
#define CABINAUDIO_API __attribute__((visibility("default")))
#define CABINAUDIO_LOCAL __attribute__((visibility("hidden")))
