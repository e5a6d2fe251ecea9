// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/diag/AudioOfstream.h>

namespace {

/// Gives access to the file inside the standard buffer, which is a protected member.
class FileBuffer : public std::filebuf {
public:
    static constexpr __file_type std::filebuf::*file() { return &FileBuffer::_M_file; }
};

}  // namespace

int AudioOfstream::fd() {
    std::filebuf& buffer = *rdbuf();
    return buffer.is_open() ? (buffer.*FileBuffer::file()).fd() : -1;
}
