// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <fstream>

/// The standard output file stream, plus its descriptor. Not thread-safe, as the standard stream.
class CABINAUDIO_API AudioOfstream : public std::ofstream {
public:
    /// @return the descriptor of the open file, or -1 when none is open
    [[nodiscard]] int fd();
};
