// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>

#include "python/src/Aside.h"
#include "python/src/Buffer.h"
#include "python/src/Life.h"
#include "python/src/Python.h"

#include <memory>
#include <optional>
#include <string>

namespace cabinaudio::python {

/// A playback stream of the library, a track or a sink, as the Python classes use it.
///
/// All operations release the interpreter lock while they are in the library: another thread may
/// wait for the lock in the callback on the stream's notifier thread.
class Playback : private audio::QVAudioTrackCallback {
public:
    /// @throws Failure  when the stream cannot be used
    Playback(const std::string& name, const std::string& tag, unsigned rate, int channels, int bits,
             int type);
    /// Also on the notifier thread, when the callback has dropped the last reference: another
    /// thread destroys the library's object then.
    ~Playback() override;
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    void start();
    void stop();
    void clear();
    void writeDone();
    void setKeyShift(float key);

    /// A call that ends early, by its timeout or a signal, leaves a piece of the data that waits
    /// for space. The next write, or writeDone(), waits for that piece first.
    /// @param timeout  s for the whole call; none: no bound
    /// @return bytes queued
    /// @throws Failure  with the bytes queued, or left to be queued
    long write(const py::object& buffer, bool isBlock, std::optional<double> timeout);

    [[nodiscard]] int bytesFree();
    [[nodiscard]] int ringBytes();
    [[nodiscard]] int periodBytes();

    void setOnFinish(py::object callback);

    /// Ends calls in progress and destroys the library's object.
    /// @throws std::runtime_error  on the stream's notifier thread, which it would wait for
    void close();
    [[nodiscard]] bool isClosed() { return mLife.isClosed(); }

private:
    struct Slices;
    using Deadline = std::optional<Aside::Clock::time_point>;

    void finish(bool) override;
    void notifyPython();
    void request(const char* what, int (audio::QVAudioTrack::*operation)());
    [[nodiscard]] bool queueLeft(SignalCheck& signals, const Deadline& deadline);
    void discardLeft();
    long writeSlices(Slices slices, bool isBlock, std::optional<double> timeout);
    [[nodiscard]] std::optional<int> writeSlice(unsigned char* data, int bytes,
                                                SignalCheck& signals, const Deadline& deadline);
    void endCalls();
    void destroy();

    std::string mName;
    SampleLayout mLayout;
    std::unique_ptr<audio::QVAudioTrack> mStream;
    Life mLife;
    std::unique_ptr<Aside> mAside = std::make_unique<Aside>();
    py::object mOnFinish;
};

void bindPlayback(py::module_& module);

}  // namespace cabinaudio::python
