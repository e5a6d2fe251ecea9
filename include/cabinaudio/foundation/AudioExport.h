// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Exports a name from the shared library; all other names are hidden. CABINAUDIO_LOCAL hides a
/// single member of an exported class.
#define CABINAUDIO_API __attribute__((visibility("default")))
#define CABINAUDIO_LOCAL __attribute__((visibility("hidden")))
