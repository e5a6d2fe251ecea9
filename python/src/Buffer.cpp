// SPDX-License-Identifier: Apache-2.0
#include "python/src/Buffer.h"

#include <bit>
#include <string>
#include <string_view>

namespace cabinaudio::python {

namespace {

constexpr int FLAGS = PyBUF_C_CONTIGUOUS | PyBUF_FORMAT;

std::string_view formatOf(const Py_buffer& view) {
    return view.format != nullptr ? view.format : "B";
}

bool isInteger(std::string_view format) {
    return format.size() == 1 &&
           std::string_view("bBhHiIlLqQ").find(format) != std::string_view::npos;
}

/// The format without a mark for the order of bytes that this machine has anyway.
std::string_view nativeFormat(std::string_view format) {
    constexpr bool IS_LITTLE = std::endian::native == std::endian::little;
    constexpr std::string_view NATIVE = IS_LITTLE ? "@=<" : "@=>!";
    if (format.size() > 1 && NATIVE.find(format.front()) != std::string_view::npos)
        format.remove_prefix(1);
    return format;
}

void checkSamples(const Py_buffer& view, const SampleLayout& layout) {
    const std::string_view format = nativeFormat(formatOf(view));
    if (format == "c" || format == "B" || format == "b") return;  // raw bytes
    const std::string wanted =
        layout.isCoded ? "bytes" : std::to_string(8 * layout.bytes) + "-bit integers, or bytes";
    if (format.size() == 2 && isInteger(format.substr(1)))
        throw py::value_error("the buffer's numbers are in the byte order of other machines");
    if (layout.isCoded || !isInteger(format) || view.itemsize != layout.bytes)
        throw py::type_error("the buffer has items of format '" + std::string(formatOf(view)) +
                             "'; the stream takes " + wanted);
}

}  // namespace

Buffer::Buffer(const py::object& object, Access access, const SampleLayout& layout) {
    const int flags = access == Access::Write ? FLAGS | PyBUF_WRITABLE : FLAGS;
    if (PyObject_GetBuffer(object.ptr(), &mView, flags) != 0) throw py::error_already_set();
    try {
        check(layout);
    } catch (...) {
        PyBuffer_Release(&mView);
        throw;
    }
}

Buffer::~Buffer() {
    PyBuffer_Release(&mView);
}

void Buffer::check(const SampleLayout& layout) const {
    checkSamples(mView, layout);
    if (!layout.isCoded && mView.ndim == 2 && mView.itemsize == layout.bytes &&
        mView.itemsize > 1 && mView.shape[1] != layout.channels)
        throw py::value_error("the buffer has " + std::to_string(mView.shape[1]) +
                              " columns; the stream has " + std::to_string(layout.channels) +
                              " channels");
    if (mView.len % layout.frameBytes() != 0)
        throw py::value_error("no whole frames: " + std::to_string(mView.len) +
                              " bytes; a frame has " + std::to_string(layout.frameBytes()));
}

}  // namespace cabinaudio::python
