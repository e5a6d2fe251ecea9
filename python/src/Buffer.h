// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "python/src/Python.h"

#include <cstddef>

namespace cabinaudio::python {

/// The samples that a buffer must hold.
struct SampleLayout {
    int bytes = 2;     // of one sample
    int channels = 2;  // of a frame
    bool isCoded = false;

    [[nodiscard]] int frameBytes() const { return isCoded ? 1 : bytes * channels; }
};

/// A Python object's memory, held for as long as this exists: bytes, bytearray, memoryview, array,
/// NumPy arrays. To be made and destroyed with the interpreter lock.
class Buffer {
public:
    enum class Access { Read, Write };

    /// @throws py::error_already_set  TypeError without a buffer, BufferError when it is not
    ///                                contiguous or, to write, read-only
    /// @throws py::type_error         other samples than the stream's
    /// @throws py::value_error        no whole frames, other channels, bytes in foreign order
    Buffer(const py::object& object, Access access, const SampleLayout& layout);
    ~Buffer();
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    [[nodiscard]] unsigned char* data() const { return static_cast<unsigned char*>(mView.buf); }
    [[nodiscard]] std::size_t bytes() const { return static_cast<std::size_t>(mView.len); }

private:
    void check(const SampleLayout& layout) const;

    Py_buffer mView = {};
};

}  // namespace cabinaudio::python
