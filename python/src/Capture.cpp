// SPDX-License-Identifier: Apache-2.0
#include "python/src/Capture.h"

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "python/src/Failure.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace cabinaudio::python {

namespace {

/// Always enough for a frame of a coded stream, with getTotalBufferSize().
constexpr int LONGEST_SILENT_FRAME = 456;

void requireUsable(int status, const std::string& name) {
    if (status != AUDIO_NO_ERROR) throw Failure(status, "creation of \"" + name + "\"");
}

}  // namespace

Capture::Capture(const std::string& name, const std::string& tag, unsigned rate, int channels,
                 int bits)
    : mName(name) {
    checkName(name);
    StreamFormat format = pcmFormat(tag, rate, channels, bits);
    if (isPlayback(format.tag))
        throw std::invalid_argument("tag '" + tag + "' plays: use Track or Sink");
    if (format.tag == AUDIO_TAG_UPLINK)
        throw std::invalid_argument("tag 'uplink' is for the class Uplink");
    mLayout = format.layout;
    const py::gil_scoped_release unlocked;
    auto record = std::make_unique<ClientRecord>(name.c_str(), format.tag, format.description, 0);
    requireUsable(record->initCheck(), name);
    mStream = std::move(record);
}

Capture::Capture(const std::string& name, const std::string& codec, unsigned rate, int channels,
                 int bits, bool /*isUplink*/)
    : mName(name) {
    checkName(name);
    StreamFormat format = uplinkFormat(codec, rate, channels, bits);
    mLayout = format.layout;
    const py::gil_scoped_release unlocked;
    auto record = std::make_unique<ClientRecordRt>(name.c_str(), format.tag, format.description);
    requireUsable(record->initCheck(), name);
    mUplink = record.get();
    mStream = std::move(record);
}

// NOLINTNEXTLINE(bugprone-exception-escape): only a mutex that does not exist would throw
Capture::~Capture() {
    if (mLife.isAbandoned()) {
        (void)mStream.release();  // its threads are the parent's
        (void)mAside.release();
    } else if (mLife.close()) {
        const py::gil_scoped_release unlocked;
        destroy();
    }
}

void Capture::request(const char* what, int (audio::QVAudioRecord::*operation)()) {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const int status = (*mStream.*operation)();
    if (status != AUDIO_NO_ERROR) throw Failure(status, std::string(what) + " \"" + mName + "\"");
}

void Capture::start() {
    request("start of", &audio::QVAudioRecord::start);
}

void Capture::stop() {
    request("stop of", &audio::QVAudioRecord::stop);
}

void Capture::clear() {
    request("clear of", &audio::QVAudioRecord::clear);
    const std::scoped_lock lock(mPieceLock);
    mPiece.clear();
}

long Capture::readInto(const py::object& object, bool isBlock, std::optional<double> timeout) {
    const Life::Use use(mLife);
    const Buffer buffer(object, Buffer::Access::Write, mLayout);
    if (mLayout.isCoded)
        throw std::invalid_argument("a coded stream is read frame by frame: use read_frame()");
    if (buffer.bytes() == 0) return 0;
    const py::gil_scoped_release unlocked;
    const int ring = mStream->getTotalBufferSize();
    const int most = ring > 0 ? ring / mLayout.frameBytes() * mLayout.frameBytes() : 1 << 14;
    const int wanted = static_cast<int>(std::min<std::size_t>(buffer.bytes(), std::max(most, 1)));
    SignalCheck signals;
    const auto deadline = isBlock ? deadlineAfter(timeout) : Aside::Clock::now();
    if (const auto left = takeLeft(buffer.data(), wanted, signals, deadline)) return *left;
    const bool isLeft = isBlock && isWatched(timeout);
    int count = 0;
    if (isLeft && mUplink == nullptr)
        count = readWatched(buffer.data(), wanted, signals, deadline);
    else
        count = mStream->read(buffer.data(), isLeft ? shortest(wanted) : wanted, isBlock);
    if (count < 0) throw Failure(count, "read of \"" + mName + "\"");
    return count;
}

/// The silence of an uplink comes at the pace of the clock: a caller that may leave waits for a
/// period of it at a time.
int Capture::shortest(int bytes) const {
    const int frame = mLayout.frameBytes();
    const int period = std::max(mStream->getPerLoopSize() / frame, 1) * frame;
    return std::min(bytes, std::max(mStream->bytesUsed() / frame * frame, period));
}

/// What is there, or a period that is waited for. @return as the library's read()
int Capture::readWatched(unsigned char* data, int bytes, SignalCheck& signals,
                         const Deadline& deadline) {
    const int frame = mLayout.frameBytes();
    const int used = mStream->bytesUsed() / frame * frame;
    if (used > 0) return mStream->read(data, std::min(bytes, used), true);
    auto piece = std::make_shared<Bytes>(static_cast<std::size_t>(shortest(bytes)));
    // The call keeps the stream, whoever waits for it.
    auto read = [this, piece, use = std::make_shared<Life::Use>(mLife)] {
        return mStream->read(piece->data(), static_cast<int>(piece->size()), true);
    };
    if (!mAside->begin(std::move(read))) return mStream->read(data, bytes, true);
    mReading = piece;
    const std::optional<int> count = mAside->await(signals, deadline);
    if (count && *count > 0) std::copy_n(piece->begin(), *count, data);
    return count.value_or(0);
}

/// What an earlier call has left. @return empty when there is nothing, 0 when it still waits
std::optional<int> Capture::takeLeft(unsigned char* data, int bytes, SignalCheck& signals,
                                     const Deadline& deadline) {
    if (mAside->adopt()) {
        const std::shared_ptr<Bytes> piece = mReading;
        const std::optional<int> count = mAside->await(signals, deadline);
        if (!count) return 0;
        const std::scoped_lock lock(mPieceLock);
        if (*count > 0) mPiece.insert(mPiece.end(), piece->begin(), piece->begin() + *count);
    }
    return takePiece(data, bytes);
}

std::optional<int> Capture::takePiece(unsigned char* data, int bytes) {
    const std::scoped_lock lock(mPieceLock);
    if (mPiece.empty()) return {};
    const int count = std::min(bytes, static_cast<int>(mPiece.size()));
    std::copy_n(mPiece.begin(), count, data);
    mPiece.erase(mPiece.begin(), mPiece.begin() + count);
    return count;
}

int Capture::frameCapacity() const {
    if (!mLayout.isCoded) return mStream->getPerLoopSize();
    return std::max(mStream->getTotalBufferSize(), LONGEST_SILENT_FRAME);
}

py::bytes Capture::readFrame(bool isBlock) {
    const Life::Use use(mLife);
    if (mUplink == nullptr) throw std::invalid_argument("only an uplink has frames");
    std::vector<unsigned char> frame;
    int count = 0;
    {
        const py::gil_scoped_release unlocked;
        frame.resize(static_cast<std::size_t>(std::max(frameCapacity(), 1)));
        count = mUplink->readFrame(frame.data(), static_cast<int>(frame.size()), isBlock);
    }
    if (count < 0) throw Failure(count, "read_frame of \"" + mName + "\"");
    return {reinterpret_cast<const char*>(frame.data()), static_cast<std::size_t>(count)};
}

int Capture::volume() {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const int volume = mStream->getVolume();
    if (volume < 0) throw Failure(1, "volume of \"" + mName + "\"");
    return volume;
}

void Capture::setVolume(int volume) {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const int status = mStream->setVolume(volume);
    if (status != AUDIO_NO_ERROR) throw Failure(status, "volume of \"" + mName + "\"");
}

int Capture::bytesUsed() {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const std::scoped_lock lock(mPieceLock);
    return mStream->bytesUsed() + static_cast<int>(mPiece.size());
}

int Capture::ringBytes() {
    const Life::Use use(mLife);
    return mStream->getTotalBufferSize();
}

int Capture::periodBytes() {
    const Life::Use use(mLife);
    return mStream->getPerLoopSize();
}

void Capture::close() {
    if (!mLife.close()) return;
    const py::gil_scoped_release unlocked;
    destroy();
}

void Capture::destroy() {
    while (!mLife.isUnused())
        mStream->stop();  // a blocked read ends with its next data, or within a second
    mAside.reset();
    mUplink = nullptr;
    mStream.reset();
}

void bindCapture(py::module_& module) {
    py::class_<Capture>(module, "Capture", "A capture stream; see cabinaudio.Record.")
        .def(py::init<const std::string&, const std::string&, unsigned, int, int>(),
             py::arg("name"), py::arg("tag"), py::arg("rate"), py::arg("channels"), py::arg("bits"))
        .def_static(
            "uplink",
            [](const std::string& name, const std::string& codec, unsigned rate, int channels,
               int bits) {
                return std::make_unique<Capture>(name, codec, rate, channels, bits, true);
            },
            py::arg("name"), py::arg("codec"), py::arg("rate"), py::arg("channels"),
            py::arg("bits"))
        .def("start", &Capture::start)
        .def("stop", &Capture::stop)
        .def("clear", &Capture::clear)
        .def("read_into", &Capture::readInto, py::arg("buffer"), py::arg("block"),
             py::arg("timeout") = py::none())
        .def("read_frame", &Capture::readFrame, py::arg("block"))
        .def("close", &Capture::close)
        .def_property("volume", &Capture::volume, &Capture::setVolume)
        .def_property_readonly("bytes_used", &Capture::bytesUsed)
        .def_property_readonly("ring_bytes", &Capture::ringBytes)
        .def_property_readonly("period_bytes", &Capture::periodBytes)
        .def_property_readonly("closed", &Capture::isClosed);
}

}  // namespace cabinaudio::python
