// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <fstream>

/// A standard output file stream with access to its descriptor. Not thread-safe, like the standard
/// stream.
class CABINAUDIO_API AudioOfstream : public std::ofstream {
public:
    /// @return the descriptor of the open file, or -1 when none is open
    [[nodiscard]] int fd();
};
