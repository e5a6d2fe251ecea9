// SPDX-License-Identifier: Apache-2.0
#include "python/src/Playback.h"

#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "python/src/Failure.h"
#include "python/src/Format.h"
#include "python/src/Reaper.h"
#include "python/src/Slices.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace cabinaudio::python {

namespace {

/// Of one call of the library while there is no ring yet, in frames.
constexpr int FIRST_FRAMES = 2048;

/// For the end of a blocked call after a stop.
constexpr std::chrono::seconds STOP_BOUND{5};

/// Of a ring, each as long as one call of the library.
constexpr std::size_t PARTS = 4;

/// The stream in whose callback this thread is.
thread_local const Playback* tNotified = nullptr;

template <typename Stream>
int check(const std::string& name, StreamFormat& format, int type,
          std::unique_ptr<audio::QVAudioTrack>& into) {
    auto stream = std::make_unique<Stream>(name.c_str(), format.tag, format.description, type);
    const int status = stream->initCheck();
    into = std::move(stream);
    return status;
}

int make(const std::string& name, StreamFormat& format, int type,
         std::unique_ptr<audio::QVAudioTrack>& into) {
    if (format.tag == AUDIO_TAG_MAIN) return check<ClientSink>(name, format, type, into);
    return check<ClientTrack>(name, format, type, into);
}

std::string inQuotes(const std::string& name) {
    return "\"" + name + "\"";
}

}  // namespace

Playback::Playback(const std::string& name, const std::string& tag, unsigned rate, int channels,
                   int bits, int type)
    : mName(name) {
    checkName(name);
    StreamFormat format = pcmFormat(tag, rate, channels, bits);
    if (!isPlayback(format.tag))
        throw std::invalid_argument("tag '" + tag + "' captures: use Record or Uplink");
    mLayout = format.layout;
    const py::gil_scoped_release unlocked;
    const int status = make(name, format, type, mStream);
    if (status != AUDIO_NO_ERROR) {
        mStream.reset();
        throw Failure(status, "creation of " + inQuotes(name));
    }
    mStream->setCallback(this);
}

// NOLINTNEXTLINE(bugprone-exception-escape): only a mutex that does not exist would throw
Playback::~Playback() {
    if (mLife.isAbandoned()) {
        (void)mStream.release();  // its threads are the parent's
        (void)mAside.release();
    } else if (mLife.close() && tNotified == this) {
        mStream->setCallback(nullptr);
        {
            const py::gil_scoped_release unlocked;
            endCalls();
        }
        std::shared_ptr<audio::QVAudioTrack> stream = std::move(mStream);
        destroyElsewhere([last = std::move(stream)]() mutable { last.reset(); });
    } else if (mStream) {
        const py::gil_scoped_release unlocked;
        destroy();
    }
}

void Playback::request(const char* what, int (audio::QVAudioTrack::*operation)()) {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const int status = (*mStream.*operation)();
    if (status != AUDIO_NO_ERROR) throw Failure(status, std::string(what) + " " + inQuotes(mName));
}

void Playback::start() {
    request("start of", &audio::QVAudioTrack::start);
}

void Playback::stop() {
    request("stop of", &audio::QVAudioTrack::stop);
    discardLeft();
}

/// The stop has ended the call that was left.
void Playback::discardLeft() {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    SignalCheck signals;
    if (mAside->adopt()) (void)mAside->await(signals, Aside::Clock::now() + STOP_BOUND);
}

void Playback::clear() {
    request("clear of", &audio::QVAudioTrack::clear);
}

void Playback::writeDone() {
    {
        const Life::Use use(mLife);
        const py::gil_scoped_release unlocked;
        SignalCheck signals;
        (void)queueLeft(signals, {});
    }
    request("write_done of", &audio::QVAudioTrack::writeDone);
}

void Playback::setKeyShift(float key) {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const int status = mStream->setKeyShift(key);
    if (status != AUDIO_NO_ERROR) throw Failure(status, "key_shift of " + inQuotes(mName));
}

/// The pieces of a long write: short ones, so that signals and the end of the stream are noticed
/// between them, and it is known how much was queued before a refusal.
struct Playback::Slices {
    unsigned char* next;
    std::size_t left;
    std::size_t frame;

    [[nodiscard]] int size(int ring) const {
        const std::size_t most = ring > 0 ? static_cast<std::size_t>(ring) / PARTS / frame * frame
                                          : FIRST_FRAMES * frame;
        return static_cast<int>(std::min(left, std::max(most, frame)));
    }
    void advance(int bytes) {
        next += bytes;
        left -= static_cast<std::size_t>(bytes);
    }
};

long Playback::write(const py::object& object, bool isBlock, std::optional<double> timeout) {
    const Life::Use use(mLife);
    const Buffer buffer(object, Buffer::Access::Read, mLayout);
    if (buffer.bytes() == 0) return 0;
    const Slices slices{buffer.data(), buffer.bytes(),
                        static_cast<std::size_t>(mLayout.frameBytes())};
    const py::gil_scoped_release unlocked;
    return writeSlices(slices, isBlock, timeout);
}

long Playback::writeSlices(Slices slices, bool isBlock, std::optional<double> timeout) {
    SignalCheck signals;
    const Deadline deadline = isBlock ? deadlineAfter(timeout) : Aside::Clock::now();
    const bool isCareful = isBlock && isWatched(timeout);
    const auto late = [&](long done) {
        return Failure(AUDIO_TIMED_OUT, "write to " + inQuotes(mName), done);
    };
    if (!queueLeft(signals, deadline)) {
        if (!isBlock) return 0;
        throw late(0);
    }
    long done = 0;
    while (slices.left > 0) {
        const int wanted = slices.size(mStream->getTotalBufferSize());
        const std::optional<int> written = isCareful
                                               ? writeSlice(slices.next, wanted, signals, deadline)
                                               : mStream->write(slices.next, wanted, isBlock);
        if (!written) throw late(done + wanted);
        if (*written < 0) throw Failure(*written, "write to " + inQuotes(mName), done);
        done += *written;
        // A withdrawn sink takes no more, and a non-blocking write is done.
        if (*written < wanted) break;
        slices.advance(*written);
        signals.look();
        if (isBlock && deadline && slices.left > 0 && Aside::Clock::now() >= *deadline)
            throw late(done);
    }
    return done;
}

/// @return empty when the slice was left
std::optional<int> Playback::writeSlice(unsigned char* data, int bytes, SignalCheck& signals,
                                        const Deadline& deadline) {
    if (mStream->bytesFree() >= bytes) return mStream->write(data, bytes, true);
    std::vector<unsigned char> piece(data, data + bytes);
    // The call keeps the stream, whoever waits for it.
    auto use = std::make_shared<Life::Use>(mLife);
    auto write = [this, use = std::move(use), piece = std::move(piece)]() mutable {
        return mStream->write(piece.data(), static_cast<int>(piece.size()), true);
    };
    if (!mAside->begin(std::move(write))) return mStream->write(data, bytes, true);
    return mAside->await(signals, deadline);
}

/// Queues what an earlier call has left. @return false when it still waits for space
bool Playback::queueLeft(SignalCheck& signals, const Deadline& deadline) {
    if (!mAside->adopt()) return true;
    const std::optional<int> written = mAside->await(signals, deadline);
    if (!written) return false;
    if (*written < 0) throw Failure(*written, "write to " + inQuotes(mName));
    return true;
}

int Playback::bytesFree() {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    return mStream->bytesFree();
}

int Playback::ringBytes() {
    const Life::Use use(mLife);
    return mStream->getTotalBufferSize();
}

int Playback::periodBytes() {
    const Life::Use use(mLife);
    return mStream->getPerLoopSize();
}

void Playback::setOnFinish(py::object callback) {
    const Life::Use use(mLife);
    mOnFinish = std::move(callback);
}

void Playback::finish(bool /*unused*/) {
    // Python waits for all streams before it ends; a thread that took the lock later would be ended
    // in the middle of C++ functions.
    if (_Py_IsFinalizing() != 0) return;
    tNotified = this;
    notifyPython();
    tNotified = nullptr;
}

void Playback::notifyPython() {
    const py::gil_scoped_acquire lock;
    const py::object callback = mOnFinish;
    if (!callback || callback.is_none()) return;
    // By the C interface: no exception may leave this function.
    PyObject* const result = PyObject_CallNoArgs(callback.ptr());
    if (result == nullptr)
        PyErr_WriteUnraisable(callback.ptr());
    else
        Py_DECREF(result);
}

void Playback::close() {
    if (tNotified == this)
        throw std::runtime_error("close() of " + inQuotes(mName) +
                                 " in its own on_finish: close it on another thread");
    if (!mLife.close()) return;
    {
        const py::gil_scoped_release unlocked;
        destroy();
    }
    mOnFinish = py::none();
}

void Playback::endCalls() {
    while (!mLife.isUnused())
        mStream->stop();  // ends a blocked write
    mAside.reset();
}

void Playback::destroy() {
    endCalls();
    mStream.reset();
}

void bindPlayback(py::module_& module) {
    py::class_<Playback>(module, "Playback", "A playback stream; see cabinaudio.Track.")
        .def(py::init<const std::string&, const std::string&, unsigned, int, int, int>(),
             py::arg("name"), py::arg("tag"), py::arg("rate"), py::arg("channels"), py::arg("bits"),
             py::arg("type"))
        .def("start", &Playback::start)
        .def("stop", &Playback::stop)
        .def("clear", &Playback::clear)
        .def("write_done", &Playback::writeDone)
        .def("key_shift", &Playback::setKeyShift, py::arg("factor"))
        .def("write", &Playback::write, py::arg("buffer"), py::arg("block"), py::arg("timeout"))
        .def("set_on_finish", &Playback::setOnFinish, py::arg("callback"))
        .def("close", &Playback::close)
        .def_property_readonly("bytes_free", &Playback::bytesFree)
        .def_property_readonly("ring_bytes", &Playback::ringBytes)
        .def_property_readonly("period_bytes", &Playback::periodBytes)
        .def_property_readonly("closed", &Playback::isClosed);
}

}  // namespace cabinaudio::python
