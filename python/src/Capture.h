// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioRecord.h>

#include "python/src/Buffer.h"
#include "python/src/Format.h"
#include "python/src/Life.h"
#include "python/src/Python.h"

#include <memory>
#include <string>

class ClientRecordRt;

namespace cabinaudio::python {

/// A capture stream of the library, an ordinary one or the uplink, as the Python classes use it.
/// All operations release the interpreter lock while they are in the library.
class Capture {
public:
    /// An ordinary capture stream.
    /// @throws Failure  when the stream cannot be used
    Capture(const std::string& name, const std::string& tag, unsigned rate, int channels, int bits);
    /// The uplink of a call.
    Capture(const std::string& name, const std::string& codec, unsigned rate, int channels,
            int bits, bool isUplink);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    void start();
    void stop();
    void clear();

    /// One read of the library, at most as long as the ring. @return bytes stored
    long readInto(const py::object& buffer, bool isBlock);
    /// The next frame of a coded stream, or one period of PCM; empty when none is due.
    py::bytes readFrame(bool isBlock);

    [[nodiscard]] int volume();
    void setVolume(int volume);

    [[nodiscard]] int bytesUsed();
    [[nodiscard]] int ringBytes();
    [[nodiscard]] int periodBytes();

    void close();
    [[nodiscard]] bool isClosed() { return mLife.isClosed(); }

private:
    void request(const char* what, int (audio::QVAudioRecord::*operation)());
    [[nodiscard]] int frameCapacity() const;
    void destroy();

    std::string mName;
    SampleLayout mLayout;
    std::unique_ptr<audio::QVAudioRecord> mStream;
    ClientRecordRt* mUplink = nullptr;  // the same stream
    Life mLife;
};

void bindCapture(py::module_& module);

}  // namespace cabinaudio::python
