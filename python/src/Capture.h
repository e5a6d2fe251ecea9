// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioRecord.h>

#include "python/src/Aside.h"
#include "python/src/Buffer.h"
#include "python/src/Format.h"
#include "python/src/Life.h"
#include "python/src/Python.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

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

    /// One read of the library, at most as long as the ring. A call that ends early, by its timeout
    /// or a signal, leaves a read of a period, whose data the next call returns.
    /// @param timeout  s; none: the library's
    /// @return bytes stored
    long readInto(const py::object& buffer, bool isBlock, std::optional<double> timeout);
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
    using Bytes = std::vector<unsigned char>;
    using Deadline = std::optional<Aside::Clock::time_point>;

    void request(const char* what, int (audio::QVAudioRecord::*operation)());
    [[nodiscard]] int frameCapacity() const;
    [[nodiscard]] int shortest(int bytes) const;
    [[nodiscard]] int readWatched(unsigned char* data, int bytes, SignalCheck& signals,
                                  const Deadline& deadline);
    [[nodiscard]] std::optional<int> takeLeft(unsigned char* data, int bytes, SignalCheck& signals,
                                              const Deadline& deadline);
    [[nodiscard]] std::optional<int> takePiece(unsigned char* data, int bytes);
    void destroy();

    std::string mName;
    SampleLayout mLayout;
    std::unique_ptr<audio::QVAudioRecord> mStream;
    ClientRecordRt* mUplink = nullptr;  // the same stream
    Life mLife;
    std::unique_ptr<Aside> mAside = std::make_unique<Aside>();
    std::shared_ptr<Bytes> mReading;  // by the call aside
    std::mutex mPieceLock;
    Bytes mPiece;  // that was read by a call that was left
};

void bindCapture(py::module_& module);

}  // namespace cabinaudio::python
