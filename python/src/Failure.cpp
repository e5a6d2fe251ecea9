// SPDX-License-Identifier: Apache-2.0
#include "python/src/Failure.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "python/src/Python.h"

#include <chrono>
#include <thread>
#include <utility>

namespace cabinaudio::python {

namespace {

using namespace std::chrono_literals;

/// Whether a lost server is one of the reasons for this status.
bool isDoubtful(int status) {
    constexpr int NOT_SENT = 1;
    return status == NOT_SENT || status == AUDIO_TIMED_OUT || status == AUDIO_INVALID_STATE;
}

/// Looks again a moment later: the sockets of a killed server are closed one after the other.
bool isServerLost() {
    constexpr int LOOKS = 5;
    for (int i = 0; i < LOOKS; ++i) {
        if (!serverListens()) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

const char* className(const Failure& failure) {
    if (failure.isServerGone()) return "ServerGone";
    switch (failure.status()) {
        case AUDIO_NO_MEMORY:
            return "Busy";
        case AUDIO_TIMED_OUT:
            return "AudioTimeout";
        case AUDIO_BAD_VALUE:
            return "BadValue";
        case AUDIO_INVALID_OPERATION:
            return "InvalidOperation";
        case AUDIO_INVALID_STATE:
            return "InvalidState";
        default:
            return "AudioError";
    }
}

/// Runs no code of Python: at the end of the interpreter that would end this thread in the middle
/// of C++ functions. The exception is made from its arguments when Python needs it.
void raise(const Failure& failure, py::handle classes) {
    const py::object type = classes.attr(className(failure));
    const py::tuple arguments = py::make_tuple(failure.status(), failure.call(), failure.done());
    PyErr_SetObject(type.ptr(), arguments.ptr());
}

}  // namespace

Failure::Failure(int status, std::string call, long done)
    : mStatus(status),
      mCall(std::move(call)),
      mDone(done),
      mIsServerGone(status == AUDIO_NOT_CONNECTED || (isDoubtful(status) && isServerLost())) {}

void translateFailures() {
    // Kept: threads may raise exceptions until the process ends.
    static const py::handle classes = py::module_::import("cabinaudio._errors").release();
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(std::move(thrown));
        } catch (const Failure& failure) {
            raise(failure, classes);
        }
    });
}

}  // namespace cabinaudio::python
